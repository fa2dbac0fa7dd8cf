#pragma once

#include <QString>

/**
 * Names the logon session of this process, so that users and remote desktops of one computer stay apart.
 *
 * @return on Windows the number of the terminal-services session, elsewhere the effective user id, as decimal text;
 *         empty when Windows does not tell
 *
 * Does not block. May be called from any thread. Rests on ProcessIdToSessionId or geteuid(2).
 */
QString logonSession();
