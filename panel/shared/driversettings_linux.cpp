#include "driversettings.h"
#include "identity.h"
#include "settingsfile.h"
#include "settingsfolder.h"

namespace {

/// The registry path below "HKEY_CURRENT_USER\Software\", as a file below the user's configuration folder.
QString driverSettingsFile()
{
    const QString key = identity::driverSettingsPath.section(u'\\', 2).replace(u'\\', u'/');
    return settingsFolder() + u'/' + key + QStringLiteral(".conf");
}

} // namespace

QSettings openDriverSettings()
{
    const QString fileName = driverSettingsFile();
    settingsfile::prepare(fileName);
    return QSettings(fileName, QSettings::IniFormat);
}
