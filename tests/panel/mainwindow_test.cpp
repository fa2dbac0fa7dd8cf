#include "mainwindow.h"

#include "debuglines.h"
#include "realinput.h"
#include "storedsettings.h"
#include "textcontrast.h"

#include <QAbstractItemView>
#include <QAction>
#include <QButtonGroup>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QMetaMethod>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>

#include <algorithm>
#include <utility>

namespace {

const QString frames = QStringLiteral("blockFrames");
const QString type = QStringLiteral("sampleType");

template <typename Widget>
Widget *child(const MainWindow &window, const char *name)
{
    auto *const found = window.findChild<Widget *>(QLatin1String(name));
    Q_ASSERT(found != nullptr);
    return found;
}

void show(MainWindow &window)
{
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
}

// Thin strokes are smoothed and may nowhere have all of their colour.
constexpr QColor nearlyWhite(200, 200, 200);
constexpr QColor nearlyBlack(40, 40, 40);

int lowestPart(const QColor &colour)
{
    return std::min({colour.red(), colour.green(), colour.blue()});
}

int highestPart(const QColor &colour)
{
    return std::max({colour.red(), colour.green(), colour.blue()});
}

/// What a tab's text stands on: the colour between the frame and the text.
QColor surface(const QImage &tab)
{
    return tab.pixelColor(5, tab.height() / 2);
}

void verifyBlackOnLightGrey(const QImage &tab)
{
    const QColor grey = surface(tab);
    QVERIFY2(lowestPart(grey) >= 185 && highestPart(grey) - lowestPart(grey) <= 16, qPrintable(grey.name()));
    const QImage text = tab.copy(tab.rect().adjusted(5, 6, -7, -3));
    QVERIFY(textContrast(text) >= contrast(nearlyBlack, grey));
}

/// The first and the last place in a line of a picture that has a colour.
std::pair<int, int> ends(const QImage &picture, int line, const QColor &colour)
{
    int first = 0;
    int last = picture.width() - 1;
    while (first < last && picture.pixelColor(first, line) != colour)
        ++first;
    while (last > first && picture.pixelColor(last, line) != colour)
        --last;
    return {first, last};
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        // Qt says when the registry refuses something, which one case makes it do.
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!QSettings: Failed to create subkey)")));
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
    }

    void storedBufferSizeIsShownOrRepaired_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("shown");
        const QString repaired = QStringLiteral("256");
        const QString repairedText = QStringLiteral("       256 Samples");
        QTest::newRow("64") << "64"
                            << "64"
                            << "         64 Samples";
        QTest::newRow("128") << "128"
                             << "128"
                             << "       128 Samples";
        QTest::newRow("256") << "256"
                             << "256" << repairedText;
        QTest::newRow("512") << "512"
                             << "512"
                             << "       512 Samples";
        QTest::newRow("1024") << "1024"
                              << "1024"
                              << "     1024 Samples";
        QTest::newRow("2048") << "2048"
                              << "2048"
                              << "     2048 Samples";
        QTest::newRow("absent") << QString() << repaired << repairedText;
        for (const char *const bad :
             {"0", "1", "96", "300", "4096", "-64", "-1", "65", "2147483647", "4294967360", "99999999999999999999", "",
              "abc", "512x", "0x200", "5.12e2", "512, 64", "@Invalid()", "true"})
            QTest::addRow("%s", bad) << QString::fromLatin1(bad) << repaired << repairedText;
    }

    void storedBufferSizeIsShownOrRepaired()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, shown);
        stored::writeDriver(before, QStringLiteral("18"));
        const MainWindow window;
        QCOMPARE(stored::driverValue(frames), after);
        QCOMPARE(child<QComboBox>(window, "cb_bufferSizeValue")->currentText(), shown);
        QCOMPARE(stored::driverValue(type), QStringLiteral("18"));
    }

    void storedSampleFormatIsShownOrRepaired_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("on") << "19"
                            << "19";
        QTest::newRow("off") << "18"
                             << "18";
        QTest::newRow("absent") << QString() << "18";
        for (const char *const bad : {"0", "17", "20", "-19", "4294967315", "on", "", "19.0"})
            QTest::addRow("%s", bad) << QString::fromLatin1(bad) << "18";
    }

    void storedSampleFormatIsShownOrRepaired()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        stored::writeDriver(QStringLiteral("256"), before);
        const MainWindow window;
        QCOMPARE(stored::driverValue(type), after);
        QCOMPARE(child<QRadioButton>(window, "radioButton_ON")->isChecked(), after == QStringLiteral("19"));
        QCOMPARE(child<QRadioButton>(window, "radioButton_OFF")->isChecked(), after == QStringLiteral("18"));
    }

    void missingStoreIsMadeWithTheDefaults()
    {
        stored::clear();
        stored::writeReminder(false);
        const MainWindow window;
        QCOMPARE(stored::driverValue(frames), QStringLiteral("256"));
        QCOMPARE(stored::driverValue(type), QStringLiteral("18"));
    }

    void loadingRunsTheChangeSlotForAnyItemButTheFormsOwn()
    {
        const DebugLines lines;
        {
            const MainWindow window;
            QCOMPARE(DebugLines::take(), QStringList{QStringLiteral("MainWindow End")});
        }
        QCOMPARE(DebugLines::take(), QStringList{QStringLiteral("~MainWindow")});
        stored::writeDriver(QStringLiteral("1024"), QStringLiteral("18"));
        const MainWindow window;
        QCOMPARE(DebugLines::take(),
                 (QStringList{QStringLiteral("Change Buffer Size:1024"), QStringLiteral("MainWindow End")}));
    }

    void choosingABufferSizeWritesItAtOnce_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("written");
        const QStringList sizes = {QStringLiteral("64"),  QStringLiteral("128"),  QStringLiteral("256"),
                                   QStringLiteral("512"), QStringLiteral("1024"), QStringLiteral("2048")};
        for (int index = 0; index < sizes.size(); ++index)
            QTest::addRow("%d", index) << index << sizes.at(index);
        QTest::newRow("none") << -1 << "256";
        QTest::newRow("past the end") << 6 << "256";
        QTest::newRow("far below") << std::numeric_limits<int>::min() << "256";
    }

    void choosingABufferSizeWritesItAtOnce()
    {
        QFETCH(int, index);
        QFETCH(QString, written);
        MainWindow window;
        stored::writeDriver(QStringLiteral("1"), QStringLiteral("18"));
        const DebugLines lines;
        QVERIFY(QMetaObject::invokeMethod(&window, "on_cb_bufferSizeValue_currentIndexChanged", Q_ARG(int, index)));
        QCOMPARE(DebugLines::take(), QStringList{QStringLiteral("Change Buffer Size:") + written});
        QCOMPARE(stored::driverValue(frames), written);
    }

    void bufferSizeIsChosenWithTheMouse()
    {
        MainWindow window;
        show(window);
        auto *const combo = child<QComboBox>(window, "cb_bufferSizeValue");
        realinput::click(combo);
        QAbstractItemView *const list = combo->view();
        QTRY_VERIFY(list->isVisible());
        realinput::click(list->viewport(), list->visualRect(list->model()->index(3, 0)).center());
        QTRY_COMPARE(combo->currentIndex(), 3);
        QCOMPARE(stored::driverValue(frames), QStringLiteral("512"));
    }

    void bufferSizeIsChosenWithTheKeyboard()
    {
        MainWindow window;
        show(window);
        auto *const combo = child<QComboBox>(window, "cb_bufferSizeValue");
        realinput::key(QStringLiteral("Tab"));
        QTRY_VERIFY(combo->hasFocus());
        realinput::key(QStringLiteral("Down"));
        QTRY_COMPARE(stored::driverValue(frames), QStringLiteral("512"));
        realinput::key(QStringLiteral("End"));
        QTRY_COMPARE(stored::driverValue(frames), QStringLiteral("2048"));
    }

    void floatFormatIsSwitchedWithTheMouse_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("line");
        QTest::newRow("radio button on") << "radioButton_ON"
                                         << "18"
                                         << "19"
                                         << "Change 32bit float On";
        QTest::newRow("radio button off") << "radioButton_OFF"
                                          << "19"
                                          << "18"
                                          << "Change 32bit float Off";
        QTest::newRow("caption on") << "text_on"
                                    << "18"
                                    << "19"
                                    << "Change 32bit float On";
        QTest::newRow("caption off") << "text_off"
                                     << "19"
                                     << "18"
                                     << "Change 32bit float Off";
    }

    void floatFormatIsSwitchedWithTheMouse()
    {
        QFETCH(QString, control);
        QFETCH(QString, before);
        QFETCH(QString, written);
        QFETCH(QString, line);
        stored::writeDriver(QStringLiteral("256"), before);
        MainWindow window;
        show(window);
        auto *const tabs = child<QTabWidget>(window, "tabWidget")->tabBar();
        realinput::click(tabs, tabs->tabRect(1).center());
        QTRY_COMPARE(tabs->currentIndex(), 1);
        const DebugLines lines;
        realinput::click(window.findChild<QWidget *>(control));
        QTRY_COMPARE(stored::driverValue(type), written);
        QCOMPARE(DebugLines::take(), QStringList{line});
        QCOMPARE(child<QRadioButton>(window, "radioButton_ON")->isChecked(), written == QStringLiteral("19"));
        QCOMPARE(child<QRadioButton>(window, "radioButton_OFF")->isChecked(), written == QStringLiteral("18"));
    }

    void floatFormatIsSwitchedWithTheKeyboard()
    {
        MainWindow window;
        show(window);
        realinput::key(QStringLiteral("ctrl+Tab"));
        QTRY_COMPARE(child<QTabWidget>(window, "tabWidget")->currentIndex(), 1);
        realinput::key(QStringLiteral("Tab"));
        QTRY_VERIFY(child<QRadioButton>(window, "radioButton_OFF")->hasFocus());
        realinput::key(QStringLiteral("Left"));
        QTRY_COMPARE(stored::driverValue(type), QStringLiteral("19"));
        realinput::key(QStringLiteral("Right"));
        QTRY_COMPARE(stored::driverValue(type), QStringLiteral("18"));
    }

    void unwritableStoreLeavesAWorkingWindow()
    {
        stored::writeDriver(QString(), QString());
        stored::makeDriverUnwritable();
        const MainWindow window;
        auto *const combo = child<QComboBox>(window, "cb_bufferSizeValue");
        QCOMPARE(combo->currentIndex(), 2);
        combo->setCurrentIndex(5);
        QCOMPARE(combo->currentIndex(), 5);
        QVERIFY(stored::driverValue(frames).isNull());
    }

    void windowIsFixedAndWithinItsLargestSize()
    {
        MainWindow window;
        QCOMPARE(window.windowTitle(), QStringLiteral("VELMAR KD-MX Series"));
        QCOMPARE(window.minimumSize(), window.maximumSize());
        QCOMPARE(window.size(), window.sizeHint());
        QVERIFY2(window.width() <= 363 && window.height() <= 324, qPrintable(QDebug::toString(window.size())));
        QCOMPARE(child<QStackedWidget>(window, "stackedWidget")->minimumSize(), QSize(363, 302));
    }

    void formShowsTheLivePageAndItsFirstTab()
    {
        const MainWindow window;
        auto *const pages = child<QStackedWidget>(window, "stackedWidget");
        QCOMPARE(pages->count(), 2);
        QCOMPARE(pages->currentWidget(), child<QWidget>(window, "alive"));
        QCOMPARE(pages->widget(1), child<QWidget>(window, "dead"));
        auto *const tabs = child<QTabWidget>(window, "tabWidget");
        QCOMPARE(tabs->currentIndex(), 0);
        QCOMPARE(tabs->tabText(0), QStringLiteral("Latency"));
        QCOMPARE(tabs->tabText(1), QStringLiteral("32 bit float"));
        QCOMPARE(tabs->widget(1)->objectName(), QStringLiteral("Float"));
    }

    void textsStandAsTheyAre()
    {
        const MainWindow window;
        QCOMPARE(child<QTextBrowser>(window, "tb_information")->toPlainText(),
                 QStringLiteral("The lower the latency, the shorter the audio signal delay(latency).\n"
                                "However, the lower setting, the greater the demand on the computer processor. "));
        QCOMPARE(child<QTextBrowser>(window, "tb_information_Float")->toPlainText(),
                 QStringLiteral("Please confirm that the DAW application being used supports 32 bit float format "
                                "before using this."));
        QCOMPARE(child<QTextBrowser>(window, "tb_notConnected")->toPlainText(),
                 QStringLiteral("Device is not connected."));
        QCOMPARE(child<QLabel>(window, "label_bufferSizeTitle")->text(), QStringLiteral("Buffer Size"));
        QCOMPARE(child<QLabel>(window, "label_title32bitFloat")->text(), QStringLiteral("32 bit float"));
        QCOMPARE(child<QPushButton>(window, "text_on")->text(), QStringLiteral("ON"));
        QCOMPARE(child<QPushButton>(window, "text_off")->text(), QStringLiteral("OFF"));
        QCOMPARE(child<QLabel>(window, "label_version")->text(), QStringLiteral("Ver 1.10"));
        for (const char *const name : {"label_titleBufferSize", "label_32bitFloatTitle1", "label_32bitFloatTitle2"})
            QVERIFY(window.findChild<QLabel *>(QLatin1String(name)) != nullptr);
        QCOMPARE(window.findChild<QButtonGroup *>(QStringLiteral("buttonGroup_FloatSw"))->buttons().size(), 2);
    }

    void informationUsesArialAtElevenPixels()
    {
        const MainWindow window;
        const QFont font = child<QTextBrowser>(window, "tb_information")->font();
        QCOMPARE(font.family(), QStringLiteral("Arial"));
        QCOMPARE(font.pixelSize(), 11);
    }

    void textsHaveTheirFontAndColour_data()
    {
        QTest::addColumn<int>("pixels");
        QTest::addColumn<QColor>("colour");
        const QColor title(206, 211, 214);
        const QColor caption(173, 192, 206);
        QTest::newRow("label_titleBufferSize") << 21 << title;
        QTest::newRow("label_title32bitFloat") << 21 << title;
        QTest::newRow("label_bufferSizeTitle") << 14 << caption;
        QTest::newRow("label_32bitFloatTitle1") << 14 << caption;
        QTest::newRow("label_32bitFloatTitle2") << 14 << caption;
        QTest::newRow("label_audioInterface") << 14 << caption;
        QTest::newRow("cb_bufferSizeValue") << 14 << QColor(252, 254, 255);
        QTest::newRow("tb_information") << 11 << caption;
        QTest::newRow("tb_information_Float") << 11 << caption;
        QTest::newRow("label_version") << 12 << caption;
    }

    void textsHaveTheirFontAndColour()
    {
        QFETCH(int, pixels);
        QFETCH(QColor, colour);
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto *const widget = window.findChild<QWidget *>(QString::fromLatin1(QTest::currentDataTag()));
        widget->ensurePolished();
        QCOMPARE(widget->font().pixelSize(), pixels);
        QCOMPARE(widget->font().family(), QStringLiteral("Arial"));
        QCOMPARE(widget->palette().color(widget->foregroundRole()), colour);
    }

    void picturesAndSurfacesAreDrawn()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QImage page = child<QWidget>(window, "alive")->grab().toImage();
        const QImage background(QStringLiteral(":/Resource/Back_363x302.png"));
        for (const QPoint corner : {QPoint(0, 0), QPoint(362, 0), QPoint(0, 301), QPoint(362, 301)})
            QCOMPARE(page.pixelColor(corner), background.pixelColor(corner));
        const QImage card = child<QLabel>(window, "label_bufferSizeTitle")->grab().toImage();
        const QImage cardPicture(QStringLiteral(":/Resource/title_bg.png"));
        QCOMPARE(card.pixelColor(150, 5), cardPicture.pixelColor(150, 5));
        const QImage combo = child<QComboBox>(window, "cb_bufferSizeValue")->grab().toImage();
        QCOMPARE(combo.pixelColor(200, 16), QColor(65, 77, 89));
    }

    void pageWithoutADeviceIsWhiteOnBlack()
    {
        MainWindow window;
        auto *const pages = child<QStackedWidget>(window, "stackedWidget");
        pages->setCurrentWidget(child<QWidget>(window, "dead"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto *const text = child<QTextBrowser>(window, "tb_notConnected");
        QCOMPARE(text->palette().color(text->foregroundRole()), QColor(Qt::white));
        const QImage picture = pages->grab().toImage();
        for (const QPoint place : {QPoint(5, 5), QPoint(357, 5), QPoint(5, 296), QPoint(357, 296), QPoint(181, 150)})
            QCOMPARE(picture.pixelColor(place), QColor(Qt::black));
        QVERIFY(textContrast(picture.copy(5, 5, 353, 292)) >= contrast(nearlyWhite, Qt::black));
    }

    void pageWithoutADeviceHasItsTextCentred()
    {
        const MainWindow window;
        const QTextBlock block = child<QTextBrowser>(window, "tb_notConnected")->document()->firstBlock();
        QCOMPARE(block.blockFormat().alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
        const QFont font = block.begin().fragment().charFormat().font();
        QCOMPARE(font.families(), QStringList{QStringLiteral("MS UI Gothic")});
        QCOMPARE(font.pointSize(), 18);
    }

    void tabsAreBlackOnLightGrey()
    {
        MainWindow window;
        show(window);
        auto *const tabs = child<QTabWidget>(window, "tabWidget")->tabBar();
        QCOMPARE(tabs->font().family(), QStringLiteral("MS UI Gothic"));
        QCOMPARE(tabs->font().pixelSize(), 12);
        for (const int selected : {0, 1}) {
            tabs->setCurrentIndex(selected);
            const QImage chosen = tabs->grab(tabs->tabRect(selected)).toImage();
            const QImage other = tabs->grab(tabs->tabRect(1 - selected)).toImage();
            verifyBlackOnLightGrey(chosen);
            verifyBlackOnLightGrey(other);
            QVERIFY(lowestPart(surface(chosen)) > highestPart(surface(other)));
        }
    }

    void tabsHaveRoundTopCorners()
    {
        MainWindow window;
        show(window);
        auto *const tabs = child<QTabWidget>(window, "tabWidget")->tabBar();
        for (const int selected : {0, 1}) {
            tabs->setCurrentIndex(selected);
            const QImage tab = tabs->grab(tabs->tabRect(selected)).toImage();
            const QColor frame = tab.pixelColor(tab.width() / 2, 0);
            const auto [left, right] = ends(tab, tab.height() / 2, frame);
            const auto [topLeft, topRight] = ends(tab, 0, frame);
            QCOMPARE(topLeft - left, 5);
            QCOMPARE(right - topRight, 5);
        }
    }

    void slotsComeInTheirOrder()
    {
        const QMetaObject &meta = MainWindow::staticMetaObject;
        QStringList names;
        for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
            names += QString::fromLatin1(meta.method(index).methodSignature());
        QCOMPARE(
            names,
            (QStringList{QStringLiteral("on_actionLicense_triggered()"),
                         QStringLiteral("on_actionVELMAR_Application_triggered()"),
                         QStringLiteral("on_cb_bufferSizeValue_currentIndexChanged(int)"),
                         QStringLiteral("on_radioButton_ON_clicked()"), QStringLiteral("on_radioButton_OFF_clicked()"),
                         QStringLiteral("on_text_off_clicked()"), QStringLiteral("on_text_on_clicked()"),
                         QStringLiteral("on_actionProduct_Information_AV2_2_triggered()"),
                         QStringLiteral("on_actionFAQs_AV2_triggered()"), QStringLiteral("on_buildBtn_clicked()"),
                         QStringLiteral("on_actionProduct_Information_AV4_3_triggered()"),
                         QStringLiteral("on_actionFAQs_AV4_triggered()")}));
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
