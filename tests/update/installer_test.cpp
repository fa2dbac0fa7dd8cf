#include "installer.h"

#include <QTest>

// The text that starts an installer: a test of its own, for every start rests on it.
class InstallerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void program_data();
    void program();
};

void InstallerTest::program_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("archive") << QStringLiteral("/tmp/update-abc/setup.exe");
    QTest::newRow("backslashes") << QStringLiteral("\\tmp\\update-abc\\temp.exe");
    QTest::newRow("drive") << QStringLiteral("C:/Users/a/AppData/Local/Temp/update-abc/setup.exe");
    QTest::newRow("blanks") << QStringLiteral("/tmp/a b/KD-MX setup 1.10.exe");
    QTest::newRow("letters") << QStringLiteral("/tmp/一時/セットアップ.exe");
}

void InstallerTest::program()
{
    QFETCH(const QString, path);
    const QString quote = QStringLiteral(KDMX_QUOTE);
    QCOMPARE(installerProgram(path), quote + path + quote);
}

QTEST_APPLESS_MAIN(InstallerTest)
#include "installer_test.moc"
