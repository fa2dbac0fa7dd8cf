#include "driversettings.h"
#include "identity.h"

QSettings openDriverSettings()
{
    return QSettings(identity::driverSettingsPath, QSettings::NativeFormat);
}
