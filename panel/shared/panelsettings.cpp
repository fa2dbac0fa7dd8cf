#include "panelsettings.h"

#include "identity.h"
#include "settingsfile.h"

#include <QFileInfo>

namespace {

/// Without opening it: whoever asks QSettings for its name has already had it read.
QString panelSettingsFile()
{
    const QSettings neighbour(QSettings::IniFormat, QSettings::UserScope, identity::organizationName);
    return QFileInfo(neighbour.fileName()).path() + u'/' + identity::organizationName + u'/' + identity::applicationName
        + QStringLiteral(".ini");
}

} // namespace

QSettings openPanelSettings()
{
    settingsfile::prepare(panelSettingsFile());
    return QSettings(QSettings::IniFormat, QSettings::UserScope, identity::organizationName, identity::applicationName);
}
