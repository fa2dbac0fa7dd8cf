#include "panelsettings.h"

#include "identity.h"
#include "settingsfile.h"

#include <QFileInfo>

namespace {

/// Without opening it: QSettings tells a file's name only after reading the file.
QString panelSettingsFile()
{
    const QSettings neighbour(QSettings::IniFormat, QSettings::UserScope, identity::organizationName);
    return QFileInfo(neighbour.fileName()).path() + u'/' + identity::organizationName + u'/' + identity::applicationName
        + QStringLiteral(".ini");
}

} // namespace

QSettings openPanelSettings()
{
    // By its name: opened by organisation and application, QSettings would also look in files of the whole machine,
    // which others may write.
    const QString file = panelSettingsFile();
    settingsfile::prepare(file);
    return QSettings(file, QSettings::IniFormat);
}
