#pragma once

#include <QStringList>

/// The identity constants as another translation unit sees them.
QStringList identityOfSecondUnit();
const QString *addressOfSecondUnitsVersion();
