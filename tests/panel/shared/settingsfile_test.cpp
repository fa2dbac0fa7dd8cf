#include "settingsfile.h"

#include "filecontent.h"
#include "settingsfixture.h"
#include "storedsettings.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QTest>
#include <QThread>

class SettingsFileTest : public SettingsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void deadLockDelaysNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("garbage") << QByteArray("\x00\xff garbage \n\n\n", 14);
        QTest::newRow("dead process") << QByteArray("4194000\nsome-program\n") + QSysInfo::machineHostName().toUtf8()
                + QByteArray("\n");
        QTest::newRow("another machine") << QByteArray("1\nsome-program\nfar-away\n");
        QTest::newRow("living process that does not hold it")
            << QByteArray::number(QCoreApplication::applicationPid()) + QByteArray("\nsome-program\n");
    }

    void deadLockDelaysNothing()
    {
        QFETCH(QByteArray, content);
        stored::write(m_file + QStringLiteral(".lock"), content);
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        QVERIFY(contentOf(m_file).contains("name=value"));
        QVERIFY(!QFile::exists(m_file + QStringLiteral(".lock")));
    }

    void savingWaitsForAnotherProcessThatSaves()
    {
        QLockFile other(m_file + QStringLiteral(".lock"));
        QVERIFY(other.lock());
        const std::unique_ptr<QThread> release(QThread::create([&other] {
            QThread::msleep(50);
            other.unlock();
        }));
        release->start();
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        QVERIFY(contentOf(m_file).contains("name=value"));
        release->wait();
    }

    void whatIsTooLargeIsSetAside()
    {
        stored::write(m_file, QByteArray(1024 * 1024 + 1, 'x'));
        settingsfile::prepare(m_file);
        QVERIFY(!QFileInfo::exists(m_file));
        QVERIFY(QFileInfo::exists(m_file + QStringLiteral(".bad")));
    }

    void ordinaryFilesAndFoldersStay()
    {
        stored::write(m_file, "[General]\nname=value\n");
        settingsfile::prepare(m_file);
        settingsfile::prepare(m_folder->path());
        settingsfile::prepare(m_folder->filePath(QStringLiteral("missing")));
        QVERIFY(QFileInfo::exists(m_file));
    }

    void unparsableFileIsKept()
    {
        const QByteArray broken = "[General]\nblockFrames=512\nthis line has no meaning\n";
        stored::write(m_file, broken);
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        QCOMPARE(contentOf(m_file + QStringLiteral(".bad")), broken);
        QVERIFY(!contentOf(m_file).contains("no meaning"));
        QVERIFY(contentOf(m_file).contains("blockFrames=512"));
    }

    void firstKeptCopyStays()
    {
        stored::write(m_file, "first broken file\n");
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        stored::write(m_file, "second broken file\n");
        save(m_file, QStringLiteral("name"), QStringLiteral("value"));
        QCOMPARE(contentOf(m_file + QStringLiteral(".bad")), QByteArray("first broken file\n"));
    }

    void goodFileIsNotCopied()
    {
        stored::write(m_file, "[General]\nname=old\n");
        save(m_file, QStringLiteral("name"), QStringLiteral("new"));
        QVERIFY(!QFile::exists(m_file + QStringLiteral(".bad")));
    }

    void missingFolderIsMade()
    {
        const QString file = m_folder->filePath(QStringLiteral("new/folder/settings.ini"));
        save(file, QStringLiteral("name"), QStringLiteral("value"));
        QVERIFY(contentOf(file).contains("name=value"));
    }
};

QTEST_GUILESS_MAIN(SettingsFileTest)
#include "settingsfile_test.moc"
