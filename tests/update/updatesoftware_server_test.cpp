#include "environment.h"
#include "nextdialog.h"
#include "realinput.h"
#include "servicelog.h"
#include "storedsettings.h"
#include "updateinformationprobe.h"
#include "updateserver.h"
#include "updatesoftwareprobe.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>
#include <optional>

namespace {

/// The titles of what the user sees.
QStringList shownWindows()
{
    QStringList titles;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *const window : windows) {
        if (window->isVisible())
            titles.append(window->windowTitle());
    }
    return titles;
}

} // namespace

/// What the user gets to see of servers that answer badly.
class UpdateSoftwareServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_server.isRunning());
        QLocale::setDefault(QLocale(QLocale::English));
        stored::clear();
        m_folder.emplace();
        environment::set(environment::temporaryFolder(), m_folder->path());
        m_log = std::make_unique<ServiceLog>();
    }

    void cleanup()
    {
        m_probe.reset();
        m_service.reset();
        m_log.reset();
        QDir::setCurrent(QStringLiteral("/"));
        qunsetenv(environment::temporaryFolder());
        m_folder.reset();
    }

    void aBadDocumentShowsNothing_data()
    {
        addBadAnswers();
        const auto add = [](const char *path) { QTest::newRow(path) << path << "http"; };
        add("/empty");
        add("/body?size=67108864");
        add("/document/not-json");
        add("/document/nested?depth=100000");
        add("/document/html");
        add("/document/invalid-utf8");
        add("/document/array");
        add("/document/wrong-types");
        add("/document/other-key");
        add("/length/too-short");
    }

    void aBadDocumentShowsNothing()
    {
        QFETCH(QString, path);
        QFETCH(QString, port);
        if (path.startsWith(QStringLiteral("/reset/")) && environment::isWine())
            QSKIP("Wine tells nobody of a connection that was reset");
        start(path, port);
        QTRY_VERIFY_WITH_TIMEOUT(ServiceLog::contains(QStringLiteral("UpdateInformation: end of replyFinished")),
                                 30'000);
        // After what the worker has announced.
        QMetaObject::invokeMethod(
            &m_probe->information(), [] {}, Qt::BlockingQueuedConnection);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(shownWindows(), QStringList());
        QVERIFY(!m_service->updateOffered());
        QCOMPARE(savedFiles(), QStringList());
    }

    void aPackageThatFailsShowsTheError_data()
    {
        addBadAnswers();
        QTest::newRow("/empty") << "/empty"
                                << "http";
        QTest::newRow("too large") << "/body?size=2000000"
                                   << "http";
        QTest::newRow("silence") << "/silent/in-body"
                                 << "http";
    }

    void aPackageThatFailsShowsTheError()
    {
        QFETCH(QString, path);
        QFETCH(QString, port);
        if (path.startsWith(QStringLiteral("/reset/")) && environment::isWine())
            QSKIP("Wine tells nobody of a connection that was reset");
        start(QStringLiteral("/document/other-key"), QStringLiteral("http"));
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateSoftware: Software update none")));
        const Limits limits;
        bool isOnlyWindow = false;
        const NextDialog error([&](QDialog &dialog) {
            isOnlyWindow = shownWindows() == QStringList{dialog.windowTitle()};
            realinput::key(QStringLiteral("Return"));
        });
        Q_EMIT m_service->readiedDownloadFile(m_server.address(path, port));
        QTRY_VERIFY_WITH_TIMEOUT(error.seen() && shownWindows().isEmpty(), 30'000);
        QVERIFY(isOnlyWindow);
        QCOMPARE(m_probe->updateStage(), 3);
        QCOMPARE(savedFiles(), QStringList());
    }

    void aGoodPackageShowsTheCompletion_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("port");
        QTest::addColumn<qint64>("size");
        const auto add = [](const char *name, const QString &path, qint64 size, const char *port = "http") {
            QTest::newRow(name) << path + QStringLiteral("&as=package.exe") << QString::fromLatin1(port) << size;
        };
        add("https", QStringLiteral("/body?size=1000"), 1000, "https");
        add("redirected", QStringLiteral("/redirect?to=/body"), 1000);
        const QString secure = m_server.address(QStringLiteral("/body"), QStringLiteral("https"));
        add("redirected to https", QStringLiteral("/redirect?to=") + secure, 1000);
        add("chunked", QStringLiteral("/chunked?size=3000000"), 3'000'000);
        add("no length", QStringLiteral("/unsized?size=3000000"), 3'000'000);
        add("drop by drop", QStringLiteral("/drip?size=100&piece=9&pause=5"), 100);
        add("more than told", QStringLiteral("/length/too-short?"), 1000);
        add("64 MiB", QStringLiteral("/body?size=67108864"), 67'108'864);
    }

    void aGoodPackageShowsTheCompletion()
    {
        QFETCH(QString, path);
        QFETCH(QString, port);
        QFETCH(qint64, size);
        start(QStringLiteral("/document/other-key"), QStringLiteral("https"));
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateSoftware: Software update none")));
        Q_EMIT m_service->readiedDownloadFile(m_server.address(path, port));
        QTRY_VERIFY_WITH_TIMEOUT(isComplete(), 30'000);
        QCOMPARE(shownWindows(), QStringList{m_probe->downloadWindow()->windowTitle()});
        QCOMPARE(savedFiles().size(), 1);
        const QFileInfo package(m_folder->filePath(savedFiles().constFirst()) + QStringLiteral("/temp.exe"));
        QCOMPARE(package.size(), size);
    }

    /// Its progress is a negative number, which a bar does not show.
    void ofAPackageWithoutALengthTheBarStaysEmpty()
    {
        start(QStringLiteral("/document/other-key"), QStringLiteral("http"));
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateSoftware: Software update none")));
        int progress = 0;
        const QObject listener;
        connect(&m_probe->information(), &UpdateInformation::progressValueChanged, &listener,
                [&](int percent) { progress = percent; });
        constexpr int pieces = 200;
        Q_EMIT m_service->readiedDownloadFile(
            m_server.address(QStringLiteral("/stepped-chunked?size=1000&pieces=%1&as=package.exe").arg(pieces)));
        QTRY_VERIFY(m_probe->downloadBar() != nullptr);
        QVERIFY(stepUntil([&] { return progress < 0; }));
        QCoreApplication::sendPostedEvents();
        QVERIFY(m_probe->downloadButton()->isEnabled());
        QCOMPARE(m_probe->downloadBar()->value(), 0);
        QCOMPARE(shownWindows(), QStringList{m_probe->downloadWindow()->windowTitle()});
        // The header is a step too.
        for (int step = 0; step <= pieces; ++step)
            m_server.step();
        QTRY_VERIFY(isComplete());
    }

private:
    /// Limits that a test can wait for, until the end of the scope.
    class Limits
    {
    public:
        Limits()
        {
            UpdateInformationProbe::setSilenceLimit(3000);
            UpdateInformationProbe::setLargestPackage(1'000'000);
        }
        ~Limits()
        {
            UpdateInformationProbe::setSilenceLimit(m_silence);
            UpdateInformationProbe::setLargestPackage(m_largest);
        }
        Q_DISABLE_COPY_MOVE(Limits)

    private:
        const int m_silence = UpdateInformationProbe::silenceLimit();
        const qint64 m_largest = UpdateInformationProbe::largestPackage();
    };

    /// Answers that are as bad for a document as for a package.
    void addBadAnswers()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("port");
        for (const char *const path :
             {"/status/404", "/status/500", "/loop", "/reset/before", "/reset/in-header", "/reset/after-header",
              "/reset/in-body", "/close/before", "/close/in-header", "/close/in-body", "/length/too-long"})
            QTest::newRow(path) << path << "http";
        QTest::newRow("refused") << "/"
                                 << "refused";
        for (const char *const certificate : {"wrong-host", "self-signed", "expired", "untrusted"})
            QTest::newRow(certificate) << "/body?size=10" << certificate;
        const QByteArray insecure = QUrl::toPercentEncoding(m_server.address(QStringLiteral("/body?size=10")));
        QTest::newRow("https to http") << QStringLiteral("/redirect?to=") + QString::fromLatin1(insecure) << "https";
    }

    /// The completion window is there, and no other.
    bool isComplete() const
    {
        return ServiceLog::contains(QStringLiteral("UpdateSoftware: End of downloading"))
            && m_probe->downloadWindow() != nullptr && m_probe->downloadBar() == nullptr;
    }

    /// Qt reports progress ten times a second at most: a piece that comes too soon after another goes unreported.
    bool stepUntil(const std::function<bool()> &condition) const
    {
        constexpr int attempts = 200;
        constexpr int untoldMs = 110;
        for (int i = 0; i < attempts; ++i) {
            m_server.step();
            if (QTest::qWaitFor(condition, untoldMs))
                return true;
        }
        return false;
    }

    /// What is left in the folder for temporary files.
    QStringList savedFiles() const { return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }

    void start(const QString &path, const QString &port)
    {
        stored::write(stored::panelFile(), "[Update]\nJsonUrl=\"" + m_server.address(path, port).toUtf8() + "\"\n");
        m_service = std::make_unique<UpdateSoftware>();
        m_probe.emplace(*m_service);
    }

    UpdateServer m_server;
    std::optional<QTemporaryDir> m_folder;
    std::unique_ptr<ServiceLog> m_log;
    std::unique_ptr<UpdateSoftware> m_service;
    std::optional<UpdateSoftwareProbe> m_probe;
};

QTEST_MAIN(UpdateSoftwareServerTest)
#include "updatesoftware_server_test.moc"
