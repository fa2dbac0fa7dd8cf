#pragma once

/// Whether the running application has told the desktop which program it is, as far as that can be asked for.
bool hasDesktopIdentity();
