// Locks and files that only a Unix system has.

#include "settingsfile.h"

#include "filecontent.h"
#include "settingsfixture.h"
#include "storedsettings.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

class SettingsFilePosixTest : public SettingsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void lockThatNobodyCouldTakeDelaysNothing_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("folder") << "mkdir $0";
        QTest::newRow("folder with content") << "mkdir $0 && touch $0/content";
        QTest::newRow("pipe") << "mkfifo $0";
        QTest::newRow("link that leads nowhere") << "ln -s /nowhere/at/all $0";
        QTest::newRow("read-only") << "touch $0 && chmod 0444 $0";
    }

    void lockThatNobodyCouldTakeDelaysNothing()
    {
        QFETCH(QString, command);
        const QString lock = m_file + QStringLiteral(".lock");
        // What was moved out of the way once is still there the next time.
        for (const QString &value : {QStringLiteral("first"), QStringLiteral("second")}) {
            QCOMPARE(QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), command, lock}), 0);
            save(m_file, QStringLiteral("name"), value);
            QVERIFY(contentOf(m_file).contains("name=" + value.toLatin1()));
        }
    }

    void lockOfAProcessThatHangsIsTakenAway()
    {
        const QString lock = m_file + QStringLiteral(".lock");
        stored::write(lock, "");
        const int owner = ::open(QFile::encodeName(lock).constData(), O_RDWR | O_CLOEXEC);
        QVERIFY(owner >= 0);
        QCOMPARE(::flock(owner, LOCK_EX | LOCK_NB), 0);
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        QVERIFY(contentOf(m_file).contains("name=value"));
        ::close(owner);
    }

    void lockInAFolderThatCannotBeWrittenLeavesTheValueOut()
    {
        if (::geteuid() != 0
            || QProcess::execute(
                   QStringLiteral("mount"),
                   {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("tmpfs"), m_folder->path()})
                != 0)
            QSKIP("Mounting a file system is refused here");
        stored::write(m_file, "[General]\nname=old\n");
        stored::write(m_file + QStringLiteral(".lock"), "");
        QCOMPARE(QProcess::execute(QStringLiteral("mount"),
                                   {QStringLiteral("-o"), QStringLiteral("remount,ro"), m_folder->path()}),
                 0);
        {
            QSettings settings(m_file, QSettings::IniFormat);
            settingsfile::saveValue(settings, QStringLiteral("name"), QStringLiteral("new"));
            QCOMPARE(settings.value(QStringLiteral("name")).toString(), QStringLiteral("old"));
        }
        QCOMPARE(QProcess::execute(QStringLiteral("umount"), {m_folder->path()}), 0);
    }

    void whatIsNoSettingsFileIsSetAside()
    {
        QCOMPARE(QProcess::execute(QStringLiteral("mkfifo"), {m_file}), 0);
        settingsfile::prepare(m_file);
        QVERIFY(!QFileInfo::exists(m_file));
        QVERIFY(QFileInfo::exists(m_file + QStringLiteral(".bad")));
    }
};

QTEST_GUILESS_MAIN(SettingsFilePosixTest)
#include "settingsfile_posix_test.moc"
