#pragma once

#include <QString>

/**
 * The text that starts an installer as a program.
 *
 * @param path  full path of the installer
 * @return the path in double quotes on Windows, where a command line is one text and paths hold blanks; elsewhere the
 * bare path, where quotes would be part of the name
 *
 * May be called from any thread. Rests on nothing but QString.
 */
QString installerProgram(const QString &path);
