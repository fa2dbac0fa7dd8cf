// The real program on Windows: what it leaves in the registry, as the system's own tool sees it, and where it may lie.

#include "panelprocess.h"
#include "realinput.h"
#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <windows.h>

#include <shlobj.h>

namespace {

const QString reminderTitle = QStringLiteral("VELMAR KD-MX Series Information");
const QString key = QStringLiteral("HKCU\\Software\\VELMAR\\KD-MX_Series\\ASIODRIVER");

/// Type and data of a value as "reg query" prints them ("REG_DWORD 0x100"); null if there is no such value.
QString query(const QString &name)
{
    QProcess reg;
    reg.start(QStringLiteral("reg"), {QStringLiteral("query"), key, QStringLiteral("/v"), name});
    reg.waitForFinished();
    const QStringList lines = QString::fromLocal8Bit(reg.readAllStandardOutput()).split(u'\n');
    for (const QString &line : lines) {
        const QString words = line.simplified();
        if (words.startsWith(name + u' '))
            return words.mid(name.size() + 1);
    }
    return {};
}

void add(const QString &name, const QString &type, const QString &data)
{
    QCOMPARE(QProcess::execute(QStringLiteral("reg"),
                               {QStringLiteral("add"), key, QStringLiteral("/v"), name, QStringLiteral("/t"), type,
                                QStringLiteral("/d"), data, QStringLiteral("/f")}),
             0);
}

QString roamingFolder()
{
    PWSTR path = nullptr;
    SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_DEFAULT, nullptr, &path);
    const QString folder = QDir::fromNativeSeparators(QString::fromWCharArray(path));
    CoTaskMemFree(path);
    return folder;
}

/// Nothing but what lies beside the program is found.
void useNoOtherLibraries(PanelProcess &panel)
{
    panel.removeVariable(QStringLiteral("QT_PLUGIN_PATH"));
    panel.setVariable(QStringLiteral("PATH"), QStringLiteral("C:\\windows\\system32;C:\\windows"));
}

} // namespace

class StartupWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        stored::writeReminder(false);
    }

    void cleanupTestCase() { stored::clear(); }

    void userHasTheNameThatWasAskedFor()
    {
        const QString wanted = qEnvironmentVariable("USER");
        QCOMPARE(qEnvironmentVariable("USERNAME"), wanted);
        QVERIFY2(roamingFolder().contains(wanted), qPrintable(roamingFolder()));
    }

    void missingValuesAreThereAfterTheStart()
    {
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD 0x100"));
        QCOMPARE(query(QStringLiteral("sampleType")), QStringLiteral("REG_DWORD 0x12"));
        QCOMPARE(query(QStringLiteral("WakeUp")), QString());
    }

    void eachChangeIsThereAtOnce()
    {
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        realinput::key(QStringLiteral("Tab"));
        for (const char *const data : {"0x200", "0x400", "0x800"}) {
            realinput::key(QStringLiteral("Down"));
            QTRY_COMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD ") + QLatin1String(data));
        }
        realinput::key(QStringLiteral("Home"));
        QTRY_COMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD 0x40"));

        for (const char *const name : {"shift+Tab", "ctrl+Tab", "Tab", "Left"})
            realinput::key(QString::fromLatin1(name));
        QTRY_COMPARE(query(QStringLiteral("sampleType")), QStringLiteral("REG_DWORD 0x13"));
        realinput::key(QStringLiteral("Right"));
        QTRY_COMPARE(query(QStringLiteral("sampleType")), QStringLiteral("REG_DWORD 0x12"));
        QCOMPARE(panel.close(), 0);
        QCOMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD 0x40"));
    }

    void storedValuesAreKeptOrRepaired_data()
    {
        // Both values as "reg add" takes them, and as they are after the start.
        QTest::addColumn<QStringList>("frames");
        QTest::addColumn<QStringList>("format");
        QTest::addColumn<QString>("framesAfter");
        QTest::addColumn<QString>("formatAfter");
        const auto row = [](const char *name, const QString &frames, const QString &format, const char *framesAfter,
                            const char *formatAfter) {
            QTest::newRow(name) << frames.split(u' ') << format.split(u' ')
                                << QStringLiteral("REG_DWORD ") + QLatin1String(framesAfter)
                                << QStringLiteral("REG_DWORD ") + QLatin1String(formatAfter);
        };
        const QString on = QStringLiteral("REG_DWORD 19");
        row("smallest, on", QStringLiteral("REG_DWORD 64"), on, "0x40", "0x13");
        row("largest, off", QStringLiteral("REG_DWORD 2048"), QStringLiteral("REG_DWORD 18"), "0x800", "0x12");
        row("96, 17", QStringLiteral("REG_DWORD 96"), QStringLiteral("REG_DWORD 17"), "0x100", "0x12");
        row("4096, 0", QStringLiteral("REG_DWORD 4096"), QStringLiteral("REG_DWORD 0"), "0x100", "0x12");
        row("-1, text", QStringLiteral("REG_DWORD 0xffffffff"), QStringLiteral("REG_SZ float"), "0x100", "0x12");
        row("text, empty text", QStringLiteral("REG_SZ many"), QStringLiteral("REG_SZ "), "0x100", "0x12");
        row("64 but for a bit above 32", QStringLiteral("REG_QWORD 0x100000040"), on, "0x100", "0x13");
        row("bytes", QStringLiteral("REG_BINARY 40000000"), QStringLiteral("REG_BINARY 13"), "0x100", "0x12");
        row("512 as a text", QStringLiteral("REG_SZ 512"), on, "0x200", "0x13");
    }

    void storedValuesAreKeptOrRepaired()
    {
        QFETCH(QStringList, frames);
        QFETCH(QStringList, format);
        QFETCH(QString, framesAfter);
        QFETCH(QString, formatAfter);
        add(QStringLiteral("blockFrames"), frames.at(0), frames.at(1));
        add(QStringLiteral("sampleType"), format.at(0), format.at(1));
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        QCOMPARE(query(QStringLiteral("blockFrames")), framesAfter);
        QCOMPARE(query(QStringLiteral("sampleType")), formatAfter);
    }

    void reminderThatIsTurnedOffIsWrittenTwice()
    {
        stored::clear();
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow(reminderTitle, 20000));
        realinput::key(QStringLiteral("Tab"));
        realinput::key(QStringLiteral("space"));
        realinput::key(QStringLiteral("Escape"));
        QVERIFY(panel.waitForWindow());
        QCOMPARE(query(QStringLiteral("WakeUp")), QStringLiteral("REG_SZ false"));
        const QString file = roamingFolder() + QStringLiteral("/VELMAR/KD-MXSeries.ini");
        QCOMPARE(stored::value(file, QStringLiteral("PopupMessage"), QStringLiteral("WakeUp")),
                 QStringLiteral("false"));
        QCOMPARE(panel.close(), 0);

        PanelProcess next;
        QVERIFY(next.start());
        QVERIFY(next.waitForWindow());
    }

    void keyThatCannotBeWritten()
    {
        stored::addDriverValue(QStringLiteral("blockFrames"), QStringLiteral("300"));
        stored::makeDriverUnwritable();
        PanelProcess panel;
        QVERIFY(panel.start());
        QVERIFY(panel.waitForWindow());
        realinput::key(QStringLiteral("Tab"));
        realinput::key(QStringLiteral("Down"));
        QTRY_VERIFY(panel.errorOutput().contains(QStringLiteral("Change Buffer Size:512")));
        QCOMPARE(panel.close(), 0);
        QCOMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD 0x12c"));
    }

    void samePathInOtherLettersIsTheSameInstance()
    {
        const QString path = QFileInfo(qEnvironmentVariable("KDMX_PANEL")).absoluteFilePath();
        PanelProcess first(path);
        QVERIFY(first.start());
        QVERIFY(first.waitForWindow());
        for (const QString &spelling : {path.toUpper(), path.toLower(), QDir::toNativeSeparators(path)}) {
            first.minimise();
            QTRY_VERIFY(first.windows(QStringLiteral("VELMAR KD-MX Series")).isEmpty());
            PanelProcess second(spelling);
            QVERIFY(second.start());
            QCOMPARE(second.waitForExit(), 0);
            QVERIFY(first.waitForWindow());
        }
    }

    void worksWhereTheUserPutsIt()
    {
        const QString installed = qEnvironmentVariable("KDMX_INSTALLED");
        QVERIFY2(QFile::exists(installed), qPrintable(installed));
        PanelProcess elsewhere;
        QVERIFY(elsewhere.start());
        QVERIFY(elsewhere.waitForWindow());

        PanelProcess first(installed);
        useNoOtherLibraries(first);
        QVERIFY(first.start());
        QVERIFY2(first.waitForWindow(), qPrintable(first.errorOutput()));
        realinput::key(QStringLiteral("Tab"));
        realinput::key(QStringLiteral("Down"));
        QTRY_COMPARE(query(QStringLiteral("blockFrames")), QStringLiteral("REG_DWORD 0x200"));

        PanelProcess second(installed.toUpper());
        useNoOtherLibraries(second);
        QVERIFY(second.start());
        QCOMPARE(second.waitForExit(), 0);
        QCOMPARE(first.close(), 0);
        QCOMPARE(elsewhere.close(), 0);
    }
};

QTEST_GUILESS_MAIN(StartupWindowsTest)
#include "startup_windows_test.moc"
