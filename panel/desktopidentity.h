#pragma once

/**
 * Tells the desktop which program this is, so that windows, tasks and pinned icons belong together: on Windows the
 * application user-model id, elsewhere the application's icon and its desktop file. On Windows the icon is that of the
 * executable.
 *
 * Call it in the GUI thread after the application object and before the first window. Rests on QGuiApplication, or on
 * SetCurrentProcessExplicitAppUserModelID().
 */
void setDesktopIdentity();
