#include "settingsfixture.h"

#include "settingsfile.h"

#include <QSettings>
#include <QTest>

void SettingsFixture::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_file = m_folder->filePath(QStringLiteral("settings.ini"));
}

void SettingsFixture::save(const QString &fileName, const QString &name, const QString &value)
{
    settingsfile::prepare(fileName);
    QSettings settings(fileName, QSettings::IniFormat);
    settingsfile::saveValue(settings, name, value);
    settings.sync();
    QVERIFY(settings.status() != QSettings::AccessError);
}
