#pragma once

#include <QString>

/// Full path of the file that stands for the driver's registry key, in $XDG_CONFIG_HOME unless another folder is given.
QString driverFile(const QString &configFolder = QString());
