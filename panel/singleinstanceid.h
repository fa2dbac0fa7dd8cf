#pragma once

#include <QString>

/**
 * Names the group of processes of which only one may run: the same program in the same logon session.
 *
 * The path is compared in lower case on every system, even where file names are case-sensitive: two spellings of one
 * path are then one program everywhere.
 *
 * @param executablePath  full path of the program, or any other text that stands for it
 * @param session  what logonSession() gives; taken as it is
 * @return "kdmx-" and 20 hexadecimal digits: the same for the same arguments in every run, fit for file, pipe and
 *         mutex names
 *
 * May be called from any thread. Rests on QCryptographicHash.
 */
QString singleInstanceId(const QString &executablePath, const QString &session);
