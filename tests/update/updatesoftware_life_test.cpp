#include "updatesoftware.h"

#include "localserver.h"
#include "realinput.h"
#include "servicelog.h"
#include "storedsettings.h"
#include "updatesoftwareprobe.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>

namespace {

constexpr int often = 20;

// What the worker does may take a moment, also on a machine that stands still now and then; hanging takes longer.
constexpr int soonMs = 10'000;

constexpr int patienceMs = 30'000;

const QString feed = QStringLiteral("/feed.json");
const QString package = QStringLiteral("/package.exe");

/// A document with news, software and firmware, all of which lead to the package of a server.
QString document(const LocalServer &server)
{
    return QStringLiteral(R"({"Corvo9_version1": {
        "windows_software_version_major": 1, "windows_software_version_minor": 11,
        "firmware_version_major": 1, "firmware_version_minor": 5,
        "windows_software_url_en": "%1", "windows_firmware_url_en": "%1",
        "messages": {"English": "News"}}})")
        .arg(server.url(package));
}

void storeFeed(const QString &url)
{
    stored::write(stored::panelFile(), "[Update]\nJsonUrl=" + url.toUtf8() + '\n');
}

} // namespace

/// Owners that end their service when they like. The sanitizers see what is left behind or used too late.
class UpdateSoftwareLifeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        m_server = std::make_unique<LocalServer>();
        m_server->serveHead(package, 1'000'000);
        storeFeed(m_server->url(feed));
        m_log = std::make_unique<ServiceLog>();
    }

    void cleanup()
    {
        m_log.reset();
        m_server.reset();
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void atOnce()
    {
        for (int i = 0; i < 5 * often; ++i)
            const UpdateSoftware service;
    }

    void afterEveryDelay()
    {
        m_server->serve(feed, document(*m_server).toUtf8());
        for (int events = 0; events < often; ++events) {
            auto service = std::make_unique<UpdateSoftware>();
            for (int i = 0; i < events; ++i)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 2);
            end(service);
        }
    }

    void duringTheFetch()
    {
        for (int i = 1; i <= often; ++i) {
            auto service = std::make_unique<UpdateSoftware>();
            QTRY_COMPARE(m_server->requests(), i);
            end(service);
        }
    }

    void inMidDownload()
    {
        for (int i = 0; i < often; ++i) {
            auto service = startedDownload();
            QVERIFY(service != nullptr);
            QVERIFY(UpdateSoftwareProbe(*service).downloadWindow()->isVisible());
            end(service);
        }
    }

    void whileAPackageIsSaved()
    {
        const QByteArray body(4'000'000, 'x');
        m_server->serve(package, body);
        for (int i = 0; i < often; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            // By queued signal: the package is saved, or about to be, when it comes.
            bool over = false;
            connect(&UpdateSoftwareProbe(*service).information(), &UpdateInformation::finishedDownloadFile,
                    service.get(), [&] { over = true; });
            Q_EMIT service->readiedDownloadFile(m_server->url(package));
            QTRY_VERIFY(over);
            end(service);
        }
    }

    void whileALongSaveIsAboutToBegin()
    {
        m_server->serve(package, QByteArray(4'000'000, 'x'));
        auto service = fetched();
        QVERIFY(service != nullptr);
        std::atomic<bool> begins = false;
        std::atomic<bool> calledOff = false;
        // In the worker's thread, before it saves: holds it there until it is told to end.
        connect(&UpdateSoftwareProbe(*service).information(), &UpdateInformation::finishedDownloadFile, [&] {
            begins = true;
            for (const QDeadlineTimer limit(soonMs); !calledOff && !limit.hasExpired(); QThread::yieldCurrentThread())
                calledOff = QThread::currentThread()->isInterruptionRequested();
        });
        Q_EMIT service->readiedDownloadFile(m_server->url(package));
        QTRY_VERIFY(begins);
        end(service);
        QVERIFY(calledOff);
    }

    void withTheCompletionWindow()
    {
        for (int i = 0; i < often; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            service->openExecWindow();
            end(service);
        }
    }

    void underEveryBox()
    {
        for (int i = 0; i < often; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            service->saveInformation(document(*m_server));
            UpdateSoftwareProbe(*service).setUpdateStage(2);
            service->checkFirm(QStringLiteral("KD-MX4"), QStringLiteral("1.02"));
            const UpdateSoftwareProbe probe(*service);
            QVERIFY(QTest::qWaitForWindowExposed(&probe.newsBox()));
            QVERIFY(QTest::qWaitForWindowExposed(&probe.softwareBox()));
            QVERIFY(QTest::qWaitForWindowExposed(&probe.firmwareBox()));
            end(service);
            QVERIFY(QApplication::topLevelWidgets().isEmpty());
            QCOMPARE(QApplication::activeModalWidget(), nullptr);
        }
    }

    void underTheErrorBox()
    {
        for (int i = 0; i < often; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            UpdateSoftware &open = *service;
            QTimer::singleShot(0, this, [&] { end(service); });
            open.showMsgBoxError();
            QVERIFY(service == nullptr);
            QCOMPARE(QApplication::activeModalWidget(), nullptr);
        }
    }

    void underTheErrorBoxOfAFailedDownload()
    {
        for (int i = 0; i < 5; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            const UpdateSoftwareProbe probe(*service);
            Q_EMIT service->readiedDownloadFile(QStringLiteral("http://127.0.0.1:1/package.exe"));
            // The box runs its event loop inside the queued call; this is called from in there.
            QTimer poll;
            connect(&poll, &QTimer::timeout, this, [&] {
                if (service != nullptr && probe.errorBox().isVisible())
                    end(service);
            });
            poll.start(1);
            QTRY_VERIFY(service == nullptr);
        }
    }

    void underTheErrorBoxWithTheProgressWindow()
    {
        for (int i = 0; i < 5; ++i) {
            auto service = startedDownload();
            QVERIFY(service != nullptr);
            UpdateSoftware &open = *service;
            QTimer::singleShot(0, this, [&] { end(service); });
            open.showMsgBoxError();
            QVERIFY(service == nullptr);
        }
    }

    // The owner is told by a signal and destroys the service in its slot, inside the click.
    void inTheSlotOfAnAnswer_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::newRow("click") << false;
        QTest::newRow("key") << true;
    }

    void inTheSlotOfAnAnswer()
    {
        QFETCH(bool, byKey);
        for (int i = 0; i < 5; ++i) {
            auto service = fetched();
            QVERIFY(service != nullptr);
            connect(service.get(), &UpdateSoftware::readiedDownloadFile, this, [&] { end(service); });
            service->saveInformation(document(*m_server));
            const UpdateSoftwareProbe probe(*service);
            probe.newsBox().close();
            QVERIFY(QTest::qWaitForWindowActive(&probe.softwareBox()));
            if (byKey) {
                probe.softwareBox().ui.okButton->setFocus();
                realinput::key(QStringLiteral("space"));
            } else {
                realinput::click(probe.softwareBox().ui.okButton);
            }
            QTRY_VERIFY(service == nullptr);
        }
    }

    void inTheSlotOfClosing()
    {
        auto service = startedDownload();
        QVERIFY(service != nullptr);
        connect(service.get(), &UpdateSoftware::stopDownload, this, [&] { end(service); });
        service->closeDialogs();
        QVERIFY(service == nullptr);
    }

    void afterItsWindowsWereClosed()
    {
        auto service = startedDownload();
        QVERIFY(service != nullptr);
        service->closeDownloadFileInfo();
        service->openExecWindow();
        service->closeExecWindow();
        // Windows that are only to be deleted go all the same.
        end(service);
    }

    void byItsParent()
    {
        auto parent = std::make_unique<QObject>();
        auto *const service = new UpdateSoftware(parent.get());
        QCOMPARE(service->parent(), parent.get());
        QTRY_COMPARE(m_server->requests(), 1);
        parent.reset();
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("end")});
    }

    void severalAtATime()
    {
        auto first = startedDownload();
        auto second = startedDownload();
        QVERIFY(first != nullptr && second != nullptr);
        end(first);
        QVERIFY(UpdateSoftwareProbe(*second).downloadWindow()->isVisible());
        end(second);
    }

private:
    /// Destroys the service and sees that it takes no time.
    static void end(std::unique_ptr<UpdateSoftware> &service)
    {
        ServiceLog::forget();
        QElapsedTimer time;
        time.start();
        service.reset();
        QVERIFY2(time.elapsed() < soonMs, "the service does not end");
        QVERIFY(ServiceLog::contains(QStringLiteral("UpdateSoftware: end")));
    }

    /// A service whose fetch is over.
    std::unique_ptr<UpdateSoftware> fetched()
    {
        storeFeed(QStringLiteral("http://127.0.0.1:1/"));
        ServiceLog::forget();
        auto service = std::make_unique<UpdateSoftware>();
        const bool over = QTest::qWaitFor(
            [] { return ServiceLog::contains(QStringLiteral("UpdateInformation: end of replyFinished")); }, patienceMs);
        return over ? std::move(service) : nullptr;
    }

    /// A service in the middle of a download, with its progress window; null if it does not come so far.
    std::unique_ptr<UpdateSoftware> startedDownload()
    {
        auto service = fetched();
        if (service == nullptr)
            return nullptr;
        const UpdateSoftwareProbe probe(*service);
        const int before = m_server->requests();
        Q_EMIT service->readiedDownloadFile(m_server->url(package));
        const bool asked = QTest::qWaitFor([&] { return m_server->requests() == before + 1; }, patienceMs);
        // Progress is reported now and then only, so bytes go on coming.
        const bool shown = QTest::qWaitFor(
            [&] {
                m_server->send("x");
                return probe.downloadButton() != nullptr && probe.downloadButton()->isEnabled();
            },
            patienceMs);
        return asked && shown ? std::move(service) : nullptr;
    }

    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<ServiceLog> m_log;
};

QTEST_MAIN(UpdateSoftwareLifeTest)
#include "updatesoftware_life_test.moc"
