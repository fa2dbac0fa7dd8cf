#include "mainwindow.h"

#include "identity.h"
#include "nextdialog.h"
#include "realinput.h"
#include "screenshots.h"
#include "storedsettings.h"
#include "uppercase.h"
#include "webbrowser.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>

#include <functional>

namespace {

/// Lets the dialog that comes next be looked at, and closes it.
class LookAtNextDialog : public NextDialog
{
public:
    explicit LookAtNextDialog(const std::function<void(QDialog &)> &look)
        : NextDialog([look](QDialog &dialog) {
            look(dialog);
            realinput::key(QStringLiteral("Escape"));
        })
    {
    }
};

QAction *action(const MainWindow &window, const QString &name)
{
    auto *const found = window.findChild<QAction *>(name);
    Q_ASSERT(found != nullptr);
    return found;
}

QString aboutText(const MainWindow &window)
{
    QString text;
    const LookAtNextDialog dialog([&](QDialog &box) {
        const auto labels = box.findChildren<QLabel *>();
        for (const QLabel *const label : labels)
            text += label->text() + u'\n';
    });
    action(window, QStringLiteral("actionVELMAR_Application"))->trigger();
    return text;
}

/// Between both sides of something so wide; one side may have a pixel more.
void verifyCentred(const QRect &place, int width)
{
    const int left = place.left();
    const int right = width - place.right() - 1;
    QVERIFY2(qAbs(left - right) <= 1, qPrintable(QStringLiteral("%1 and %2").arg(left).arg(right)));
}

QStringList describe(const QMenu *menu)
{
    QStringList lines;
    const auto actions = menu->actions();
    for (const QAction *const item : actions) {
        if (item->isSeparator()) {
            lines += QStringLiteral("separator");
            continue;
        }
        const QMenu *const subMenu = item->menu();
        lines += (subMenu != nullptr ? subMenu->objectName() : item->objectName()) + u'|' + item->text();
        if (subMenu != nullptr) {
            const QStringList below = describe(subMenu);
            for (const QString &line : below)
                lines += QStringLiteral("  ") + line;
        }
    }
    return lines;
}

} // namespace

class HelpMenuTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        stored::clear();
        stored::writeReminder(false);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void menuTree()
    {
        const MainWindow window;
        const QMenuBar *const bar = window.findChild<QMenuBar *>(QStringLiteral("menuBar"));
        QCOMPARE(bar->actions().size(), 1);
        QCOMPARE(bar->actions().first()->text(), QStringLiteral("Help"));
        QCOMPARE(bar->actions().first()->menu()->objectName(), QStringLiteral("menuHelp"));
        QCOMPARE(describe(bar->actions().first()->menu()),
                 (QStringList{QStringLiteral("actionUpdate|- Update"),
                              QStringLiteral("actionProduct_Information_AV2|- KD-MX2 Web Site"),
                              QStringLiteral("  actionProduct_Information_AV2_2|Product Information"),
                              QStringLiteral("  actionFAQs_AV2|FAQs"),
                              QStringLiteral("actionProduct_Information_AV4_2|- KD-MX4 Web Site"),
                              QStringLiteral("  actionProduct_Information_AV4_3|Product Information"),
                              QStringLiteral("  actionFAQs_AV4|FAQs"), QStringLiteral("menu_About|- About..."),
                              QStringLiteral("  actionVELMAR_Application|VELMAR KD-MX Series"),
                              QStringLiteral("  actionLicense|License"), QStringLiteral("separator")}));
    }

    void updateIsDisabledAndHidden()
    {
        const MainWindow window;
        QVERIFY(!action(window, QStringLiteral("actionUpdate"))->isEnabled());
        QVERIFY(!action(window, QStringLiteral("actionUpdate"))->isVisible());
    }

    void webActionsOpenTheEditionOfTheLanguage_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QString>("address");
        const QString site = QStringLiteral("https://www.velmar.example/");
        const QList<std::pair<QString, QString>> pages = {
            {QStringLiteral("actionProduct_Information_AV2_2"), QStringLiteral("kd-mx2/top")},
            {QStringLiteral("actionFAQs_AV2"), QStringLiteral("kd-mx2/support")},
            {QStringLiteral("actionProduct_Information_AV4_3"), QStringLiteral("kd-mx4/top")},
            {QStringLiteral("actionFAQs_AV4"), QStringLiteral("kd-mx4/support")}};
        for (const auto &[name, page] : pages) {
            for (const QLocale::Language language :
                 {QLocale::Japanese, QLocale::English, QLocale::Chinese, QLocale::German}) {
                const QString edition =
                    language == QLocale::Japanese ? QStringLiteral("jp") : QStringLiteral("international");
                QTest::addRow("%s %s", qPrintable(name), qPrintable(QLocale::languageToString(language)))
                    << name << language << site + edition + QStringLiteral("/product/") + page;
            }
        }
    }

    void webActionsOpenTheEditionOfTheLanguage()
    {
        QFETCH(QString, name);
        QFETCH(QLocale::Language, language);
        QFETCH(QString, address);
        const MainWindow window;
        const WebBrowser browser;
        QLocale::setDefault(QLocale(language));
        action(window, name)->trigger();
        QCOMPARE(browser.opened, QStringList{address});
    }

    void menuIsWorkedByKeyboard()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const WebBrowser browser;
        realinput::key(QStringLiteral("Alt_L"));
        realinput::key(QStringLiteral("Down"));
        QTRY_VERIFY(window.findChild<QMenu *>(QStringLiteral("menuHelp"))->isVisible());
        realinput::key(QStringLiteral("Right"));
        realinput::key(QStringLiteral("Down"));
        realinput::key(QStringLiteral("Return"));
        QTRY_COMPARE(browser.opened,
                     QStringList{QStringLiteral("https://www.velmar.example/international/product/"
                                                "kd-mx2/support")});
    }

    void aboutBox()
    {
        const MainWindow window;
        const LookAtNextDialog dialog([](QDialog &box) {
            QCOMPARE(box.windowTitle(), QStringLiteral("VELMAR KD-MX Series"));
            QCOMPARE(box.minimumSize(), QSize(600, 250));
            QCOMPARE(box.maximumSize(), QSize(600, 250));
            QCOMPARE(box.parent(), nullptr);
            const auto labels = box.findChildren<QLabel *>();
            QCOMPARE(labels.size(), 4);
            QCOMPARE(labels.at(0)->pixmap().size(), QSize(128, 128));
            QCOMPARE(labels.at(1)->text(), QStringLiteral("Linear PCM Recorder<p>VELMAR KD-MX Series<p>Ver 1.10"));
            QCOMPARE(labels.at(1)->font().pointSize(), 16);
            QCOMPARE(labels.at(1)->font().weight(), QFont::Bold);
            QCOMPARE(labels.at(1)->font().family(), QStringLiteral("Arial"));
            QCOMPARE(labels.at(1)->margin(), 10);
            QCOMPARE(labels.at(1)->x() - labels.at(0)->geometry().right() - 1, 50);
            QCOMPARE(box.layout()->itemAt(0)->alignment(), Qt::AlignCenter);
            verifyCentred(labels.at(0)->geometry() | labels.at(1)->geometry(), box.width());
            QVERIFY(labels.at(2)->text().startsWith(u'©'));
            QCOMPARE(labels.at(3)->text(),
                     QStringLiteral("ASIO is a trademark and software of Steinberg Media Technologies GmbH"));
            for (const int smallPrint : {2, 3}) {
                QCOMPARE(labels.at(smallPrint)->font().family(), QStringLiteral("Arial"));
                QCOMPARE(labels.at(smallPrint)->font().pointSize(), 9);
            }
            saveScreenshot(&box, QStringLiteral("about"));
        });
        action(window, QStringLiteral("actionVELMAR_Application"))->trigger();
        QVERIFY(dialog.seen());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void hiddenButtonRevealsTheBuildForTheRestOfTheRun()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QVERIFY(aboutText(window).contains(QStringLiteral("Ver 1.10\n")));
        auto *const button = window.findChild<QPushButton *>(QStringLiteral("buildBtn"));
        const QSignalSpy clicked(button, &QPushButton::clicked);
        realinput::click(button);
        QTRY_COMPARE(clicked.count(), 1);
        QVERIFY(aboutText(window).contains(QStringLiteral("Ver 1.10 0006\n")));
        QVERIFY(aboutText(window).contains(QStringLiteral("Ver 1.10 0006\n")));
    }

    void licenseIsShownWithoutPageBreaks()
    {
        const MainWindow window;
        QFile file(QStringLiteral(":/Resource/LICENSE.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QString expected = QString::fromUtf8(file.readAll());
        QVERIFY(expected.contains(u'\f'));
        expected.remove(u'\f').remove(u'\r');
        const LookAtNextDialog dialog([&](QDialog &box) {
            QCOMPARE(box.windowTitle(), QStringLiteral("License Information"));
            QCOMPARE(box.minimumSize(), QSize(650, 400));
            QCOMPARE(box.maximumSize(), QSize(650, 400));
            QCOMPARE(box.findChildren<QTextBrowser *>().size(), 1);
            QCOMPARE(box.findChild<QTextBrowser *>()->toPlainText(), expected);
            saveScreenshot(&box, QStringLiteral("license"));
        });
        action(window, QStringLiteral("actionLicense"))->trigger();
        QVERIFY(dialog.seen());
    }

    void missingLicenseIsReported_data()
    {
        QTest::addColumn<QByteArray>("translated");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        const QString text = QStringLiteral("There is a possibility that the file has been moved or deleted.");
        QTest::newRow("as it is") << QByteArray() << "File Missing!" << text;
        QTest::newRow("translated") << QByteArray("MainWindow") << "FILE MISSING!" << text.toUpper();
    }

    void missingLicenseIsReported()
    {
        QFETCH(QByteArray, translated);
        QFETCH(QString, title);
        QFETCH(QString, text);
        const MainWindow window;
        UpperCase translator(translated);
        QCoreApplication::installTranslator(&translator);
        Q_CLEANUP_RESOURCE(panel);
        const LookAtNextDialog dialog([&](QDialog &box) {
            auto *const warning = qobject_cast<QMessageBox *>(&box);
            QVERIFY(warning != nullptr);
            QCOMPARE(warning->icon(), QMessageBox::Warning);
            QCOMPARE(warning->windowTitle(), title);
            QCOMPARE(warning->text(), text);
            QCOMPARE(warning->standardButtons(), QMessageBox::Ok);
            QCOMPARE(warning->parentWidget(), &window);
        });
        action(window, QStringLiteral("actionLicense"))->trigger();
        Q_INIT_RESOURCE(panel);
        QVERIFY(dialog.seen());
    }
};

QTEST_MAIN(HelpMenuTest)
#include "helpmenu_test.moc"
