// The program's own main(), run inside the test, and what it has set up when its event loop runs.

#include "mainwindow.h"
#include "qtsingleapplication.h"

#include "identitycheck.h"
#include "realinput.h"
#include "storedsettings.h"

#include <QLabel>
#include <QTest>
#include <QTimer>

#include <functional>

// panel/main.cpp, compiled under this name.
int panelMain(int argc, char *argv[]);

namespace {

std::function<void()> onceRunning;

constexpr int wasChecked = 42; // an exit code that the program by itself never has

constexpr auto highDpiPixmaps = static_cast<Qt::ApplicationAttribute>(13); // deprecated under its name

/// Notes whether the attribute was set when the window was built, and when it was shown.
class AttributeWatch : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const bool isWindow = watched->inherits("MainWindow");
        if (isWindow && event->type() == QEvent::WindowTitleChange)
            whenBuilt = QCoreApplication::testAttribute(highDpiPixmaps);
        if (isWindow && event->type() == QEvent::Show)
            whenShown = QCoreApplication::testAttribute(highDpiPixmaps);
        return false;
    }

    bool whenBuilt = true;
    bool whenShown = false;
};

AttributeWatch *watch()
{
    static AttributeWatch instance;
    return &instance;
}

void scheduleCheck()
{
    qApp->installEventFilter(watch());
    QTimer::singleShot(0, qApp, [] { onceRunning(); });
}

/// Runs the panel until `check` has looked at its window; the exit code, which is wasChecked if there was a window.
int runPanel(const std::function<void(MainWindow &)> &check)
{
    onceRunning = [&check] {
        bool seen = false;
        const auto widgets = QApplication::topLevelWidgets();
        for (QWidget *const widget : widgets) {
            if (auto *const window = qobject_cast<MainWindow *>(widget)) {
                seen = true;
                check(*window);
            }
        }
        QCoreApplication::exit(seen ? wasChecked : 0);
    };
    int argc = 1;
    char name[] = "panel";
    char *argv[] = {name, nullptr};
    return panelMain(argc, argv);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(scheduleCheck)

class MainTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QCoreApplication::setAttribute(highDpiPixmaps, false);
        stored::clear();
        stored::writeReminder(false);
    }

    void setsUpTheApplication()
    {
        QCOMPARE(runPanel([](MainWindow &window) {
                     QCOMPARE(QCoreApplication::applicationVersion(), QStringLiteral("1.0.0.0"));
                     QCOMPARE(qgetenv("QT_AUTO_SCREEN_SCALE_FACTOR"), QByteArray("1"));
                     QVERIFY(!watch()->whenBuilt);
                     QVERIFY(watch()->whenShown);
                     QVERIFY(window.isVisible());
                     auto *const application = qobject_cast<QtSingleApplication *>(qApp);
                     QVERIFY(application != nullptr);
                     QCOMPARE(application->activationWindow(), &window);
                     QVERIFY(hasDesktopIdentity());
                 }),
                 wasChecked);
        QVERIFY(qApp == nullptr);
    }

    void showsTheSystemsLanguage()
    {
        // Qt asks for the system's locale once per process: this program is run again for each one.
        const bool japanese = qgetenv("LC_ALL").startsWith("ja");
        QString shown;
        QCOMPARE(runPanel([&](MainWindow &window) {
                     shown = window.findChild<QLabel *>(QStringLiteral("label_bufferSizeTitle"))->text();
                 }),
                 wasChecked);
        QCOMPARE(shown, japanese ? QStringLiteral("バッファサイズ") : QStringLiteral("Buffer Size"));
    }

    void laterStartBringsTheWindowBack()
    {
        QCOMPARE(runPanel([](MainWindow &window) {
                     window.showMinimized();
                     QTRY_VERIFY(window.isMinimized());
                     Q_EMIT qobject_cast<QtSingleApplication *>(qApp)->messageReceived(QStringLiteral("any text"));
                     QVERIFY(!window.isMinimized());
                     QTRY_VERIFY(window.isActiveWindow());
                 }),
                 wasChecked);
    }
};

QTEST_APPLESS_MAIN(MainTest)
#include "main_test.moc"
