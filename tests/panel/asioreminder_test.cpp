#include "asioreminder.h"

#include "debuglines.h"
#include "mainwindow.h"
#include "nextdialog.h"
#include "realinput.h"
#include "screenshots.h"
#include "storedsettings.h"

#include <QApplication>
#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <functional>

namespace {

QString panelReminder()
{
    return stored::value(stored::panelFile(), QStringLiteral("PopupMessage"), QStringLiteral("WakeUp"));
}

QString driverReminder()
{
    return stored::driverValue(QStringLiteral("WakeUp"));
}

} // namespace

class AsioReminderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
    }

    void textsFollowTheLanguage_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("checkBox");
        const QString english = QStringLiteral("When you are using an ASIO-compatible software, please make sure the "
                                               "following driver has been selected.<p><big>'KD-MX Series ASIO'</big>");
        QTest::newRow("ja")
            << QLocale::Japanese
            << "ASIO対応のソフトウェアをお使いの際は、下記のドライバーを<br>選択してください。<p><big>'KD-MX "
               "Series ASIO'</big>"
            << "次からは表示しない";
        QTest::newRow("zh") << QLocale::Chinese
                            << "请确认ASIO软件是否设定为以下的驱动程序。<p><big>'KD-MX Series ASIO'</big>"
                            << "不再提示";
        QTest::newRow("en") << QLocale::English << english << "Do not show again";
        QTest::newRow("de") << QLocale::German << english << "Do not show again";
        QTest::newRow("c") << QLocale::C << english << "Do not show again";
    }

    void textsFollowTheLanguage()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(QString, message);
        QFETCH(QString, checkBox);
        const NextDialog reminder([&](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            QCOMPARE(box.icon(), QMessageBox::Information);
            QCOMPARE(box.windowTitle(), QStringLiteral("VELMAR KD-MX Series Information"));
            QCOMPARE(box.text(), message);
            QCOMPARE(box.parent(), nullptr);
            QCOMPARE(box.standardButtons(), QMessageBox::Ok);
            QCOMPARE(box.buttons().size(), 2);
            auto *const check = box.findChild<QCheckBox *>();
            QCOMPARE(check->text(), checkBox);
            QCOMPARE(box.buttonRole(check), QMessageBox::AcceptRole);
            saveScreenshot(&box, QStringLiteral("reminder-") + QString::fromLatin1(QTest::currentDataTag()));
            realinput::key(QStringLiteral("Escape"));
        });
        QVERIFY(!showAsioReminder(language));
        QVERIFY(reminder.seen());
    }

    void speaksTheSystemsLanguage()
    {
        // Qt asks for the system's locale once per process: this program is run again for each one.
        const QByteArray locale = qgetenv("LC_ALL");
        const QString checkBox = locale.startsWith("ja") ? QStringLiteral("次からは表示しない")
            : locale.startsWith("zh")                    ? QStringLiteral("不再提示")
                                                         : QStringLiteral("Do not show again");
        // The program's own default locale does not count.
        QLocale::setDefault(QLocale(QLocale::French));
        const NextDialog reminder([&](QDialog &box) {
            QCOMPARE(box.findChild<QCheckBox *>()->text(), checkBox);
            realinput::key(QStringLiteral("Escape"));
        });
        const MainWindow window;
        QVERIFY(reminder.seen());
    }

    void checkBoxTogglesWithoutClosing()
    {
        const NextDialog reminder([](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            auto *const check = box.findChild<QCheckBox *>();
            QSignalSpy clicked(check, &QCheckBox::clicked);
            QSignalSpy toggled(check, &QCheckBox::toggled);
            realinput::click(check, QPoint(8, check->height() / 2));
            QTRY_VERIFY(check->isChecked());
            QVERIFY(box.isVisible());
            QVERIFY(clicked.isEmpty());
            QVERIFY(toggled.isEmpty());
            realinput::click(box.button(QMessageBox::Ok));
        });
        QVERIFY(showAsioReminder(QLocale::English));
        QVERIFY(reminder.seen());
    }

    void everyWayToCloseIsOk_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("enter") << "Return";
        QTest::newRow("escape") << "Escape";
        QTest::newRow("window close") << "alt+F4";
    }

    void everyWayToCloseIsOk()
    {
        QFETCH(QString, key);
        const NextDialog reminder([&](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            auto *const checkBox = box.findChild<QCheckBox *>();
            realinput::click(checkBox, QPoint(8, 8));
            QTRY_VERIFY(checkBox->isChecked());
            realinput::key(key);
        });
        const MainWindow window;
        QVERIFY(reminder.seen());
        QCOMPARE(panelReminder(), QStringLiteral("false"));
    }

    void turningItOffIsWrittenToBothStores()
    {
        const NextDialog reminder([](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            realinput::click(box.findChild<QCheckBox *>(), QPoint(8, 8));
            realinput::click(box.button(QMessageBox::Ok));
        });
        const MainWindow window;
        QVERIFY(reminder.seen());
        QCOMPARE(panelReminder(), QStringLiteral("false"));
        QCOMPARE(driverReminder(), QStringLiteral("false"));
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("256"));
    }

    void closingItUncheckedChangesNothing_data()
    {
        QTest::addColumn<QString>("before");
        QTest::newRow("true") << "true";
        QTest::newRow("one") << "1";
        QTest::newRow("absent") << QString();
    }

    void closingItUncheckedChangesNothing()
    {
        QFETCH(QString, before);
        if (!before.isNull())
            stored::write(stored::panelFile(), "[PopupMessage]\nWakeUp=" + before.toUtf8() + '\n');
        const NextDialog reminder([](QDialog &dialog) {
            auto &box = static_cast<QMessageBox &>(dialog);
            realinput::click(box.button(QMessageBox::Ok));
        });
        const MainWindow window;
        QVERIFY(reminder.seen());
        QCOMPARE(panelReminder(), before);
        QCOMPARE(panelReminder().isNull(), before.isNull());
        QVERIFY(driverReminder().isNull());
    }

    void isShownUnlessTurnedOff_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("shown");
        QTest::newRow("absent") << QByteArray() << true;
        QTest::newRow("true") << QByteArray("[PopupMessage]\nWakeUp=true\n") << true;
        QTest::newRow("one") << QByteArray("[PopupMessage]\nWakeUp=1\n") << true;
        QTest::newRow("false") << QByteArray("[PopupMessage]\nWakeUp=false\n") << false;
        QTest::newRow("zero") << QByteArray("[PopupMessage]\nWakeUp=0\n") << false;
        QTest::newRow("at top level only") << QByteArray("[General]\nWakeUp=false\n") << true;
    }

    void isShownUnlessTurnedOff()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, shown);
        stored::write(stored::panelFile(), file);
        const NextDialog reminder([](QDialog &) { realinput::key(QStringLiteral("Escape")); });
        const MainWindow window;
        QCOMPARE(reminder.seen(), shown);
    }

    void driversCopyIsNeverRead()
    {
        stored::addDriverValue(QStringLiteral("WakeUp"), QStringLiteral("false"));
        const NextDialog reminder([](QDialog &) { realinput::key(QStringLiteral("Escape")); });
        const MainWindow window;
        QVERIFY(reminder.seen());
    }

    void languageIsLoggedBeforeTheBoxIsShown()
    {
        const DebugLines lines;
        QStringList before;
        const NextDialog reminder([&](QDialog &) {
            before = DebugLines::take();
            realinput::key(QStringLiteral("Escape"));
        });
        const MainWindow window;
        QCOMPARE(before, QStringList{QLocale::languageToString(QLocale::system().language())});
        QCOMPARE(DebugLines::take(), QStringList{QStringLiteral("MainWindow End")});
    }
};

QTEST_MAIN(AsioReminderTest)
#include "asioreminder_test.moc"
