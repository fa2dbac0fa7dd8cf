#include "driversettings.h"

#include "driverfile_linux.h"
#include "identity.h"
#include "settingsfile.h"
#include "storedsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

namespace {

const QString writeForever = QStringLiteral("--write-forever");

void writeDriver(const QString &name, const QVariant &value)
{
    QSettings settings = openDriverSettings();
    settingsfile::saveValue(settings, name, value);
}

/// A program to be killed: stores both values, always equal to each other, and says once that it has begun.
[[noreturn]] void writeEqualPairs()
{
    for (int number = 1;; ++number) {
        {
            QSettings settings = openDriverSettings();
            settingsfile::saveValue(settings, identity::bufferSizeValueName, number);
            settingsfile::saveValue(settings, identity::sampleFormatValueName, number);
        }
        if (number == 1) {
            std::puts("begun");
            std::fflush(stdout);
        }
    }
}

} // namespace

class DriverSettingsLinuxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", m_folder->path().toUtf8());
    }

    void lieInTheUsersConfigurationFolder()
    {
        QCOMPARE(openDriverSettings().fileName(),
                 m_folder->path() + QStringLiteral("/VELMAR/KD-MX_Series/ASIODRIVER.conf"));
    }

    void lieBelowDotConfigWithoutTheVariable()
    {
        qunsetenv("XDG_CONFIG_HOME");
        qputenv("HOME", m_folder->path().toUtf8());
        QCOMPARE(openDriverSettings().fileName(),
                 m_folder->path() + QStringLiteral("/.config/VELMAR/KD-MX_Series/ASIODRIVER.conf"));
    }

    void storeNumbersAtTopLevel()
    {
        writeDriver(identity::bufferSizeValueName, 512U);
        writeDriver(identity::sampleFormatValueName, 19);
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("512"));
        QCOMPARE(stored::driverValue(QStringLiteral("sampleType")), QStringLiteral("19"));
    }

    void areEmptyWhenMissingAndReadingMakesNoFile()
    {
        QCOMPARE(openDriverSettings().value(identity::bufferSizeValueName, 0).toInt(), 0);
        QVERIFY(!QFile::exists(driverFile()));
    }

    void keepWhatOthersStored()
    {
        stored::write(driverFile(), "[General]\nblockFrames=64\nother=kept\n\n[Group]\nvalue=1\n");
        writeDriver(identity::bufferSizeValueName, 128U);
        QCOMPARE(stored::driverValue(QStringLiteral("other")), QStringLiteral("kept"));
        QCOMPARE(stored::value(driverFile(), QStringLiteral("Group"), QStringLiteral("value")), QStringLiteral("1"));
    }

    void surviveAFolderThatIsAFile()
    {
        stored::write(m_folder->filePath(QStringLiteral("VELMAR")), "not a folder");
        writeDriver(identity::bufferSizeValueName, 128U);
        QCOMPARE(openDriverSettings().value(identity::bufferSizeValueName, 0).toInt(), 0);
    }

    void killAtAnyMomentLeavesTheOldOrTheNewValues()
    {
        constexpr int kills = 40;
        stored::writeDriver(QStringLiteral("0"), QStringLiteral("0"));
        for (int kill = 0; kill < kills; ++kill) {
            QProcess writer;
            writer.start(QCoreApplication::applicationFilePath(), {writeForever});
            QVERIFY(writer.waitForReadyRead());
            QTest::qSleep(kill % 7);
            writer.kill();
            QVERIFY(writer.waitForFinished());
            const QString frames = stored::driverValue(QStringLiteral("blockFrames"));
            QVERIFY(!frames.isEmpty());
            QCOMPARE(stored::driverValue(QStringLiteral("sampleType")), frames);
        }
    }

    void nextProcessWritesAtOnceAfterAKill()
    {
        QProcess writer;
        writer.start(QCoreApplication::applicationFilePath(), {writeForever});
        QVERIFY(writer.waitForReadyRead());
        writer.kill();
        QVERIFY(writer.waitForFinished());
        writeDriver(identity::bufferSizeValueName, 64U);
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("64"));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (application.arguments().contains(writeForever))
        writeEqualPairs();
    DriverSettingsLinuxTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "driversettings_linux_test.moc"
