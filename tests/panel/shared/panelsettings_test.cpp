#include "panelsettings.h"

#include "identity.h"
#include "settingsfile.h"
#include "storedsettings.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

void writePanel(const QString &key, const QVariant &value)
{
    QSettings settings = openPanelSettings();
    settingsfile::saveValue(settings, key, value);
}

} // namespace

class PanelSettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lieInTheUsersIniFile()
    {
        QCOMPARE(openPanelSettings().format(), QSettings::IniFormat);
        QCOMPARE(openPanelSettings().scope(), QSettings::UserScope);
        QCOMPARE(openPanelSettings().fileName(), stored::panelFile());
    }

    void areLookedUpInNoOtherFile()
    {
        const QTemporaryDir machine;
        QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, machine.path());
        const QString user = QFileInfo(stored::panelFile()).path() + QStringLiteral(".ini");
        for (const QString &file : {user, machine.filePath(QStringLiteral("VELMAR.ini")),
                                    machine.filePath(QStringLiteral("VELMAR/KD-MXSeries.ini"))})
            stored::write(file, "[Update]\nJsonUrl=\"https://other.example/\"\n");
        const QSettings byNames(QSettings::IniFormat, QSettings::UserScope, identity::organizationName,
                                identity::applicationName);
        QVERIFY(byNames.contains(QStringLiteral("Update/JsonUrl")));
        QVERIFY(!openPanelSettings().contains(QStringLiteral("Update/JsonUrl")));
    }

    void writingMakesTheFile()
    {
        stored::clear();
        writePanel(QStringLiteral("PopupMessage/WakeUp"), false);
        QCOMPARE(stored::value(stored::panelFile(), QStringLiteral("PopupMessage"), QStringLiteral("WakeUp")),
                 QStringLiteral("false"));
    }

    void brokenFileIsKeptOnce()
    {
        stored::write(stored::panelFile(), "garbage\n[Update]\nkey=1\n");
        writePanel(QStringLiteral("PopupMessage/WakeUp"), true);
        QFile kept(stored::panelFile() + QStringLiteral(".bad"));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("garbage\n[Update]\nkey=1\n"));
        QCOMPARE(openPanelSettings().value(QStringLiteral("Update/key")).toInt(), 1);
    }

    void brokenSectionIsKept()
    {
        stored::clear();
        stored::write(stored::panelFile(), "[Popup\nWakeUp=false\n");
        writePanel(QStringLiteral("PopupMessage/WakeUp"), true);
        QFile kept(stored::panelFile() + QStringLiteral(".bad"));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("[Popup\nWakeUp=false\n"));
    }
};

int main(int argc, char **argv)
{
    // Qt looks for its settings folder once per process.
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
    PanelSettingsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "panelsettings_test.moc"
