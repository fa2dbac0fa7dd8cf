#pragma once

/**
 * Tells the desktop which program this is: the application's icon, its desktop file (Linux) and its application
 * user-model id (Windows), so that windows, tasks and pinned icons belong together.
 *
 * Call it in the GUI thread after the application object and before the first window. Rests on QGuiApplication and,
 * on Windows, SetCurrentProcessExplicitAppUserModelID().
 */
void setDesktopIdentity();
