#include "panelsettings.h"

#include "identity.h"
#include "settingsfile.h"
#include "settingsfolder.h"

namespace {

/// Where the file is looked for instead of the user's folder; empty: nowhere else.
QString &otherFolder()
{
    static QString folder;
    return folder;
}

QString panelSettingsFile()
{
    const QString folder = otherFolder().isEmpty() ? settingsFolder() : otherFolder();
    return folder + u'/' + identity::organizationName + u'/' + identity::applicationName + QStringLiteral(".ini");
}

} // namespace

void setPanelSettingsFolder(const QString &folder)
{
    otherFolder() = folder;
}

QSettings openPanelSettings()
{
    // By its name: opened by organisation and application, QSettings would also look in files of the whole machine,
    // which others may write.
    const QString file = panelSettingsFile();
    settingsfile::prepare(file);
    return QSettings(file, QSettings::IniFormat);
}
