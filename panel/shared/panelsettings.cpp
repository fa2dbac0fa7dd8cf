#include "panelsettings.h"

#include "identity.h"
#include "settingsfile.h"

namespace {

QString panelSettingsFile()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, identity::organizationName, identity::applicationName)
        .fileName();
}

} // namespace

QSettings openPanelSettings()
{
    settingsfile::prepare(panelSettingsFile());
    return QSettings(QSettings::IniFormat, QSettings::UserScope, identity::organizationName, identity::applicationName);
}
