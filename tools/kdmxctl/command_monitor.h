#pragma once

#include "command.h"

namespace kdmxctl {

/// The live view. It stands apart from the other commands because it needs Qt.
void add_monitor_command(Commands *commands);

} // namespace kdmxctl
