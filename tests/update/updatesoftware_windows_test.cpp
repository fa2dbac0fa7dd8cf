#include "updatesoftware.h"

#include "localserver.h"
#include "mousereleases.h"
#include "nextdialog.h"
#include "realinput.h"
#include "servicelog.h"
#include "storedsettings.h"
#include "updatesoftwareprobe.h"
#include "updatetexts.h"
#include "webbrowser.h"

#include <QCheckBox>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>
#include <optional>

namespace {

const QString document = QStringLiteral(R"({"Corvo9_version1": {
    "windows_software_version_major": 1, "windows_software_version_minor": 11,
    "firmware_version_major": 1, "firmware_version_minor": 5,
    "messages": {"English": "News"}}})");

const QString refusedUrl = QStringLiteral("http://127.0.0.1:1/package.exe");

/// Windows on the screen that are neither boxes nor hidden.
QList<QWidget *> smallWindows()
{
    QList<QWidget *> windows;
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *const window : all)
        if (window->isVisible() && window->size() == QSize(250, 100))
            windows.append(window);
    return windows;
}

/// Sends a few bytes of a body after the other, since progress is reported only at times; how many were sent in all.
template <typename Condition>
int drip(LocalServer &server, int bodySize, Condition condition)
{
    int left = bodySize;
    const bool reached = QTest::qWaitFor([&] {
        if (condition())
            return true;
        // Less and less, and never the last: the download goes on however late its progress is reported.
        const int piece = left > bodySize / 4 ? qMax(1, left / 40) : qMin(1, left - 1);
        server.send(QByteArray(piece, 'x'));
        left -= piece;
        return false;
    });
    return reached ? bodySize - left : -1;
}

} // namespace

/// The windows beside a download and the error box: when they come and go, and what is left if the order is not kept.
class UpdateSoftwareWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QLocale::setDefault(QLocale(QLocale::English));
        stored::clear();
        stored::write(stored::panelFile(), "[Update]\nJsonUrl=http://127.0.0.1:1/\n");
        m_log = std::make_unique<ServiceLog>();
        m_service = std::make_unique<UpdateSoftware>();
        m_probe.emplace(*m_service);
        // Packages are asked for once the document has come or failed.
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: end of replyFinished")));
        ServiceLog::forget();
    }

    void cleanup()
    {
        m_probe.reset();
        m_service.reset();
        m_log.reset();
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    // ---- The progress window ----------------------------------------------------------------------------------------

    void progressWindowLastsAsLongAsTheDownload()
    {
        LocalServer server;
        server.serveHead(QStringLiteral("/package.exe"), 1000);
        Q_EMIT m_service->readiedDownloadFile(server.url(QStringLiteral("/package.exe")));
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr);
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("Now downloading...")});
        const QPointer<QWidget> window(m_probe->downloadWindow());
        QVERIFY(QTest::qWaitForWindowActive(window));
        QVERIFY(window->isWindow());
        QCOMPARE(window->parent(), nullptr);
        QCOMPARE(m_probe->downloadButton()->text(), QStringLiteral("Cancel"));
        QVERIFY(!m_probe->downloadButton()->isEnabled());
        QCOMPARE(m_probe->downloadBar()->value(), 0);

        QTRY_COMPARE(server.requests(), 1);
        const int sent = drip(server, 1000, [&] { return m_probe->downloadBar()->value() >= 25; });
        QVERIFY(m_probe->downloadBar()->value() <= sent / 10);
        QVERIFY(m_probe->downloadButton()->isEnabled());
        server.send(QByteArray(1000 - sent, 'x'));
        QTRY_VERIFY(window.isNull());
        QTRY_VERIFY(m_probe->downloadBar() == nullptr);
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("End of downloading")});
    }

    void cancelIsUsableFromTheFirstProgressOn()
    {
        LocalServer server;
        server.serveHead(QStringLiteral("/package.exe"), 1000);
        Q_EMIT m_service->readiedDownloadFile(server.url(QStringLiteral("/package.exe")));
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr);
        QVERIFY(QTest::qWaitForWindowActive(m_probe->downloadWindow()));
        Releases releases;
        m_probe->downloadButton()->installEventFilter(&releases);
        realinput::click(m_probe->downloadButton());
        // Not before the click has arrived: it would count for the enabled button.
        QTRY_COMPARE(releases.count, 1);
        QCOMPARE(m_probe->updateStage(), 0);

        QTRY_COMPARE(server.requests(), 1);
        drip(server, 1000, [&] { return m_probe->downloadButton()->isEnabled(); });
        QVERIFY(m_probe->downloadButton()->isEnabled());
        realinput::click(m_probe->downloadButton());
        QTRY_VERIFY(m_probe->downloadWindow() == nullptr);
        QCOMPARE(m_probe->updateStage(), 3);
        QVERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: cancel download")));
        // Silently.
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: file download error")));
        letPass();
        QVERIFY(!m_probe->errorBox().isVisible());
        QVERIFY(smallWindows().isEmpty());
    }

    void progressIsUndoneWithItsWindow()
    {
        UpdateInformation &information = m_probe->information();
        m_service->openDownloadFileInfo();
        const QPointer<QPushButton> button(m_probe->downloadButton());
        const QPointer<QProgressBar> bar(m_probe->downloadBar());
        const QSignalSpy clicked(button, &QPushButton::clicked);
        m_service->closeDownloadFileInfo();

        // Both are still there until the event loop deletes them, but nothing leads from or to them.
        QVERIFY(!button.isNull());
        button->setEnabled(true);
        button->click();
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(m_probe->updateStage(), 0);
        button->setEnabled(false);
        Q_EMIT information.progressValueChanged(50);
        QCOMPARE(bar->value(), 0);
        QVERIFY(!disconnect(&information, &UpdateInformation::progressValueChanged, m_service.get(),
                            &UpdateSoftware::enableCanselButton));
        letPass();
        QVERIFY(button.isNull());
        QVERIFY(!ServiceLog::contains(QStringLiteral("UpdateInformation: cancel download")));
    }

    void lateProgressIsHarmless()
    {
        m_service->enableCanselButton(50);
        m_service->openDownloadFileInfo();
        Q_EMIT m_probe->information().progressValueChanged(-300);
        QTRY_VERIFY(m_probe->downloadButton()->isEnabled());
        QCOMPARE(m_probe->downloadBar()->value(), 0);
        Q_EMIT m_probe->information().progressValueChanged(60);
        m_service->closeDownloadFileInfo();
        letPass();
        m_service->openExecWindow();
        Q_EMIT m_probe->information().progressValueChanged(70);
        letPass();
        QVERIFY(m_probe->downloadButton()->isEnabled());
    }

    void windowsDoNotStack()
    {
        for (int i = 0; i < 3; ++i)
            m_service->openDownloadFileInfo();
        letPass();
        QCOMPARE(smallWindows(), QList<QWidget *>{m_probe->downloadWindow()});
        QVERIFY(m_probe->downloadBar() != nullptr);
        // A window that replaced another gets the worker's signals.
        Q_EMIT m_probe->information().progressValueChanged(40);
        QTRY_COMPARE(m_probe->downloadBar()->value(), 40);

        for (int i = 0; i < 3; ++i)
            m_service->openExecWindow();
        letPass();
        QCOMPARE(smallWindows(), QList<QWidget *>{m_probe->downloadWindow()});
        QCOMPARE(m_probe->downloadBar(), nullptr);

        m_service->openDownloadFileInfo();
        letPass();
        QCOMPARE(smallWindows(), QList<QWidget *>{m_probe->downloadWindow()});
        m_service->closeDownloadFileInfo();
        letPass();
        QVERIFY(smallWindows().isEmpty());
    }

    void eachWindowIsClosedByItsOwnSlot()
    {
        m_service->openDownloadFileInfo();
        m_service->closeExecWindow();
        QVERIFY(m_probe->downloadWindow() != nullptr);
        m_service->closeDownloadFileInfo();
        QCOMPARE(m_probe->downloadWindow(), nullptr);
        m_service->openExecWindow();
        m_service->closeDownloadFileInfo();
        QVERIFY(m_probe->downloadWindow() != nullptr);
        m_service->closeExecWindow();
        QCOMPARE(m_probe->downloadWindow(), nullptr);
    }

    void slotsWithoutAWindowAreHarmless()
    {
        m_service->closeDownloadFileInfo();
        m_service->closeExecWindow();
        m_service->enableCanselButton(1);
        m_service->cancelDownload();
        QCOMPARE(m_probe->updateStage(), 3);
        m_service->decideClickedInformation();
        m_service->cancelSoftware();
        QCOMPARE(m_probe->updateStage(), 2);
        m_service->cancelFirmware();
        QCOMPARE(m_probe->updateStage(), 3);
        m_service->closeDialogs();
        QCOMPARE(ServiceLog::take(),
                 QStringList({QStringLiteral("End of downloading"), QStringLiteral("Software update cancel"),
                              QStringLiteral("Firmware update cancel")}));
        QVERIFY(smallWindows().isEmpty());
    }

    void acceptingWithoutADocumentEndsInTheErrorBox()
    {
        for (void (UpdateSoftware::*const accept)() :
             {&UpdateSoftware::decideClickedSoftware, &UpdateSoftware::decideClickedFirmware}) {
            const NextDialog error([](QDialog &) { realinput::key(QStringLiteral("Escape")); });
            ((*m_service).*accept)();
            QTRY_VERIFY(error.seen() && !m_probe->errorBox().isVisible());
            QCOMPARE(m_probe->updateStage(), 3);
        }
    }

    // ---- The completion window --------------------------------------------------------------------------------------

    void completionWindowStartsTheInstallerOnce()
    {
        int failed = 0;
        connect(&m_probe->information(), &UpdateInformation::errorDownloadFile, m_service.get(), [&] { ++failed; });
        Q_EMIT m_probe->information().readiedExec();
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr);
        const QPointer<QWidget> window(m_probe->downloadWindow());
        QVERIFY(QTest::qWaitForWindowActive(window));
        QCOMPARE(window->windowTitle(), updateTexts[0][UpdateTextTitle]);
        QCOMPARE(m_probe->downloadButton()->text(), QStringLiteral("OK"));
        QCOMPARE(window->findChild<QProgressBar *>(), nullptr);
        // There is no installer, so that it was asked for shows in its failure.
        const NextDialog error([](QDialog &) { realinput::key(QStringLiteral("Return")); });
        realinput::click(m_probe->downloadButton());
        QTRY_VERIFY(window.isNull());
        QCOMPARE(m_probe->downloadWindow(), nullptr);
        QTRY_VERIFY(error.seen() && !m_probe->errorBox().isVisible());
        QCOMPARE(failed, 1);
        QCOMPARE(ServiceLog::take(), QStringList());
    }

    void completionWindowByKey()
    {
        m_service->openExecWindow();
        const QPointer<QWidget> window(m_probe->downloadWindow());
        QVERIFY(QTest::qWaitForWindowActive(window));
        const NextDialog error([](QDialog &) { realinput::key(QStringLiteral("Escape")); });
        m_probe->downloadButton()->setFocus();
        realinput::key(QStringLiteral("space"));
        QTRY_VERIFY(window.isNull());
        QTRY_VERIFY(error.seen() && !m_probe->errorBox().isVisible());
    }

    // ---- The error box ----------------------------------------------------------------------------------------------

    void failedDownloadShowsTheErrorBox_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("enter") << "Return";
        QTest::newRow("escape") << "Escape";
        QTest::newRow("window close") << "alt+F4";
    }

    void failedDownloadShowsTheErrorBox()
    {
        QFETCH(QString, key);
        const NextDialog error([&](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            QCOMPARE(&box, &m_probe->errorBox());
            QCOMPARE(box.parent(), nullptr);
            QCOMPARE(box.icon(), QMessageBox::Warning);
            QCOMPARE(box.windowTitle(), QStringLiteral("VELMAR Update Information"));
            QCOMPARE(box.textFormat(), Qt::RichText);
            QCOMPARE(box.standardButtons(), QMessageBox::Ok);
            QCOMPARE(box.buttons().size(), 1);
            QCOMPARE(box.text(), updateTexts[0][UpdateTextError]);
            QCOMPARE(m_probe->updateStage(), 3);
            realinput::key(key);
        });
        Q_EMIT m_service->readiedDownloadFile(refusedUrl);
        QTRY_VERIFY(error.seen() && !m_probe->errorBox().isVisible());
        QCOMPARE(ServiceLog::take(),
                 QStringList({QStringLiteral("Now downloading..."), QStringLiteral("End of downloading")}));
        QTRY_VERIFY(smallWindows().isEmpty());
    }

    void linkOpensByKeyAndByMouse()
    {
        const WebBrowser browser;
        const NextDialog error([&](QDialog &dialog) {
            auto *const label = dialog.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
            QVERIFY(realinput::tabUntil([label] { return label->hasFocus() && label->hasSelectedText(); }));
            realinput::key(QStringLiteral("Return"));
            QTRY_COMPARE(browser.opened.size(), 1);
            QVERIFY(dialog.isVisible());
            // The last line of the text.
            realinput::click(label, QPoint(30, label->height() - label->fontMetrics().height() / 2));
            QTRY_COMPARE(browser.opened.size(), 2);
            QVERIFY(dialog.isVisible());
            realinput::click(static_cast<QMessageBox &>(dialog).button(QMessageBox::Ok));
        });
        m_service->showMsgBoxError();
        QVERIFY(error.seen());
        for (const QString &url : browser.opened)
            QVERIFY(updateTexts[0][UpdateTextError].contains(url));
    }

    void errorsDoNotStack()
    {
        int returned = 0;
        const NextDialog error([&](QDialog &dialog) {
            m_service->showMsgBoxError();
            Q_EMIT m_probe->information().errorDownloadFile();
            Q_EMIT m_probe->information().errorDownloadFile();
            letPass();
            QCOMPARE(returned, 0);
            QVERIFY(dialog.isVisible());
            realinput::key(QStringLiteral("Return"));
        });
        m_service->showMsgBoxError();
        ++returned;
        QVERIFY(error.seen());
        letPass();
        QVERIFY(!m_probe->errorBox().isVisible());
    }

    void eachErrorIsShown()
    {
        for (const char *const key : {"Return", "space", "Escape"}) {
            const NextDialog error([key](QDialog &) { realinput::key(QString::fromLatin1(key)); });
            m_service->showMsgBoxError();
            QVERIFY(error.seen());
        }
    }

    // ---- The window system ------------------------------------------------------------------------------------------

    void windowSystemCloses_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("window close") << "alt+F4";
        QTest::newRow("escape") << "Escape";
    }

    void windowSystemCloses()
    {
        QFETCH(QString, key);
        m_service->saveInformation(document);
        const bool closes = key != QStringLiteral("Escape");
        // Escape means nothing to these boxes.
        QVERIFY(pressIn(m_probe->newsBox(), key, closes));
        m_probe->newsBox().close();
        QVERIFY(pressIn(m_probe->softwareBox(), key, closes));
        m_probe->softwareBox().close();
        QCOMPARE(m_probe->updateStage(), 0);
        m_probe->setUpdateStage(2);
        m_service->checkFirm(QStringLiteral("KD-MX2"), QStringLiteral("1.02"));
        QVERIFY(pressIn(m_probe->firmwareBox(), key, closes));
        m_probe->firmwareBox().close();
        QCOMPARE(m_probe->updateStage(), 1);

        m_service->openDownloadFileInfo();
        QVERIFY(pressIn(*m_probe->downloadWindow(), key, closes));
        m_service->closeDownloadFileInfo();
        m_service->openExecWindow();
        QVERIFY(pressIn(*m_probe->downloadWindow(), key, closes));
        QCOMPARE(m_probe->updateStage(), 1);
        m_service->closeExecWindow();
        QCOMPARE(m_probe->downloadWindow(), nullptr);

        // A box that was closed comes again with the next document.
        m_service->saveInformation(document);
        QVERIFY(m_probe->softwareBox().isVisible());
    }

    void downloadGoesOnWithoutItsWindow()
    {
        LocalServer server;
        server.serveHead(QStringLiteral("/package.exe"), 1000);
        Q_EMIT m_service->readiedDownloadFile(server.url(QStringLiteral("/package.exe")));
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr);
        m_probe->downloadWindow()->close();
        QTRY_COMPARE(server.requests(), 1);
        int readied = 0;
        connect(&m_probe->information(), &UpdateInformation::readiedExec, m_service.get(), [&] { ++readied; });
        server.send(QByteArray(1000, 'x'));
        QTRY_COMPARE(readied, 1);
        QTRY_COMPARE(smallWindows().size(), 1);
        QCOMPARE(m_probe->downloadBar(), nullptr);
    }

    void secondDownloadTakesThePlaceOfTheFirst()
    {
        LocalServer server;
        server.serveHead(QStringLiteral("/first.exe"), 1000);
        server.serveHead(QStringLiteral("/second.exe"), 2000);
        int started = 0;
        connect(&m_probe->information(), &UpdateInformation::startedDownloadFile, m_service.get(), [&] { ++started; });
        Q_EMIT m_service->readiedDownloadFile(server.url(QStringLiteral("/first.exe")));
        QTRY_COMPARE(server.requests(), 1);
        Q_EMIT m_service->readiedDownloadFile(server.url(QStringLiteral("/second.exe")));
        QTRY_COMPARE(started, 2);
        QTRY_COMPARE(server.requests(), 2);
        letPass();
        QCOMPARE(smallWindows().size(), 1);
        const int sent = drip(server, 2000, [&] { return m_probe->downloadBar()->value() >= 25; });
        QVERIFY(m_probe->downloadBar()->value() <= sent / 20);
        server.send(QByteArray(2000 - sent, 'x'));
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr && m_probe->downloadBar() == nullptr);
        letPass();
        QCOMPARE(smallWindows().size(), 1);
    }

private:
    /// Both threads take what was on its way to them, and what was to be deleted is.
    void letPass()
    {
        QMetaObject::invokeMethod(
            &m_probe->information(), [] {}, Qt::BlockingQueuedConnection);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Presses a key in a window; whether it then closes, or stays open, as expected.
    static bool pressIn(QWidget &window, const QString &key, bool closes)
    {
        if (!QTest::qWaitForWindowActive(&window))
            return false;
        realinput::key(key);
        return QTest::qWaitFor([&] { return window.isVisible() != closes; });
    }

    std::unique_ptr<ServiceLog> m_log;
    std::unique_ptr<UpdateSoftware> m_service;
    std::optional<UpdateSoftwareProbe> m_probe;
};

QTEST_MAIN(UpdateSoftwareWindowsTest)
#include "updatesoftware_windows_test.moc"
