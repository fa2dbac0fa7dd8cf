// Every text fits its place: run once per display scale, here for each language of the panel.

#include "mainwindow.h"

#include "asioreminder.h"
#include "nextdialog.h"
#include "screenshots.h"
#include "storedsettings.h"
#include "textcontrast.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTextBrowser>
#include <QTranslator>

namespace {

QString scale()
{
    return qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
}

void verifyRoom(const QWidget *widget, const QString &text, QSize needed, QSize room)
{
    QVERIFY2(needed.width() <= room.width() && needed.height() <= room.height(),
             qPrintable(QStringLiteral("%1 \"%2\" needs %3x%4, has %5x%6")
                            .arg(widget->objectName(), text)
                            .arg(needed.width())
                            .arg(needed.height())
                            .arg(room.width())
                            .arg(room.height())));
}

void verifyFits(const QWidget *widget, QSize room, const QString &text)
{
    verifyRoom(widget, text, widget->fontMetrics().boundingRect(QRect(), Qt::TextSingleLine, text).size(), room);
}

/// A widget is as large as it asks to be.
void verifyHintFits(const QWidget *widget, const QString &text, QSize hint)
{
    // A layout at a fractional scale may round the other way.
    verifyRoom(widget, text, hint, widget->size() + QSize(1, 1));
}

void verifyLabelsFit(const QWidget &window)
{
    const auto labels = window.findChildren<QLabel *>();
    for (const QLabel *const label : labels) {
        const QSize hint = label->hasHeightForWidth() ? QSize(label->width(), label->heightForWidth(label->width()))
                                                      : label->sizeHint();
        verifyHintFits(label, label->text(), hint);
    }
}

void verifyButtonsFit(const QWidget &window)
{
    const auto buttons = window.findChildren<QAbstractButton *>();
    for (const QAbstractButton *const button : buttons) {
        if (!button->text().isEmpty())
            verifyHintFits(button, button->text(), button->sizeHint());
    }
}

void verifyBrowsersFit(const QWidget &window)
{
    const auto browsers = window.findChildren<QTextBrowser *>();
    for (const QTextBrowser *const browser : browsers) {
        if (!browser->isVisible())
            continue;
        const QSizeF needed = browser->document()->size();
        QVERIFY2(
            needed.height() <= browser->viewport()->height() && needed.width() <= browser->viewport()->width(),
            qPrintable(
                QStringLiteral("%1 needs %2x%3").arg(browser->objectName()).arg(needed.width()).arg(needed.height())));
    }
}

void verifyTabsFit(const QWidget &window)
{
    auto *const tabs = window.findChild<QTabWidget *>()->tabBar();
    for (int index = 0; index < tabs->count(); ++index)
        verifyFits(tabs, tabs->tabRect(index).size() - QSize(16, 4), tabs->tabText(index));
    QVERIFY(tabs->sizeHint().width() <= tabs->parentWidget()->width());
}

void verifyComboBoxFits(const QComboBox *combo)
{
    QStyleOptionComboBox option;
    option.initFrom(combo);
    const QRect room =
        combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo);
    for (int index = 0; index < combo->count(); ++index)
        verifyFits(combo, room.size(), combo->itemText(index));
}

void verifyComboBoxesFit(const QWidget &window)
{
    const auto combos = window.findChildren<QComboBox *>();
    for (const QComboBox *const combo : combos)
        verifyComboBoxFits(combo);
}

/// Every label, button and combo box.
void verifyTextsFit(const QWidget &window)
{
    verifyLabelsFit(window);
    verifyButtonsFit(window);
    verifyComboBoxesFit(window);
}

void verifyInside(const QWidget &page)
{
    const auto children = page.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QWidget *const child : children)
        QVERIFY2(page.rect().contains(child->geometry()), qPrintable(child->objectName()));
}

/// Each entry that can be chosen, and the one under the mouse.
void verifyMenuIsReadable(QMenu *menu)
{
    const auto actions = menu->actions();
    for (QAction *const action : actions) {
        if (!action->isVisible() || action->isSeparator() || !action->isEnabled())
            continue;
        for (QAction *const chosen : {static_cast<QAction *>(nullptr), action}) {
            menu->setActiveAction(chosen);
            const QRect entry = menu->actionGeometry(action).adjusted(4, 4, -4, -4);
            QVERIFY2(textContrast(menu->grab(entry).toImage()) >= readableContrast, qPrintable(action->text()));
        }
    }
}

} // namespace

class LayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        stored::writeReminder(false);
        QCOMPARE(QString::number(qApp->devicePixelRatio()), scale());
    }

    void textsWithoutContrastAreFound()
    {
        QLabel label(QStringLiteral("Text"));
        label.setStyleSheet(QStringLiteral("color: #777777; background-color: white"));
        QVERIFY(textContrast(label.grab().toImage()) < readableContrast);
        label.setStyleSheet(QStringLiteral("color: #767676; background-color: white"));
        QVERIFY(textContrast(label.grab().toImage()) >= readableContrast);
    }

    void mainWindow_data()
    {
        QTest::addColumn<QString>("locale");
        for (const char *const name : {"en_US", "ja_JP", "zh_CN"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void mainWindow()
    {
        QFETCH(QString, locale);
        QTranslator translator;
        const bool translated = translator.load(QStringLiteral("translate_") + locale, QStringLiteral(":/Resource"));
        QCOMPARE(translated, locale == QStringLiteral("ja_JP"));
        QCoreApplication::installTranslator(&translator);

        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QVERIFY(window.width() <= 363 && window.height() <= 324);
        QVERIFY(window.findChild<QMenuBar *>()->sizeHint().height() <= 22);
        verifyTabsFit(window);
        auto *const tabs = window.findChild<QTabWidget *>();
        for (int index = 0; index < tabs->count(); ++index) {
            tabs->setCurrentIndex(index);
            QTest::qWait(0);
            verifyInside(*tabs->widget(index));
            verifyTextsFit(*tabs->widget(index));
            verifyBrowsersFit(window);
            verifyTextsAreReadable(&window);
            saveScreenshot(&window,
                           QStringLiteral("%1-%2-%3x").arg(tabs->widget(index)->objectName(), locale, scale()));
        }
    }

    void openMenus()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const auto menus = window.findChildren<QMenu *>();
        for (QMenu *const menu : menus) {
            menu->popup(window.mapToGlobal(QPoint(4, 22)));
            QVERIFY(QTest::qWaitForWindowExposed(menu));
            const auto actions = menu->actions();
            for (QAction *const action : actions) {
                if (action->isVisible() && !action->isSeparator())
                    verifyFits(menu, menu->actionGeometry(action).size() - QSize(40, 0), action->text());
            }
            verifyMenuIsReadable(menu);
            saveScreenshot(menu, QStringLiteral("%1-%2x").arg(menu->objectName(), scale()));
            menu->close();
        }
    }

    void reminder_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::newRow("en") << QLocale::English;
        QTest::newRow("ja") << QLocale::Japanese;
        QTest::newRow("zh") << QLocale::Chinese;
    }

    void reminder()
    {
        QFETCH(QLocale::Language, language);
        const NextDialog dialog([](QDialog &box) {
            verifyTextsFit(box);
            verifyInside(box);
            verifyTextsAreReadable(&box);
            saveScreenshot(
                &box, QStringLiteral("reminder-%1-%2x").arg(QString::fromLatin1(QTest::currentDataTag()), scale()));
            box.close();
        });
        showAsioReminder(language);
        QVERIFY(dialog.seen());
    }

    void dialogs()
    {
        MainWindow window;
        for (const QString &name : {QStringLiteral("actionVELMAR_Application"), QStringLiteral("actionLicense")}) {
            const NextDialog next([&](QDialog &dialog) {
                verifyTextsFit(dialog);
                verifyInside(dialog);
                verifyTextsAreReadable(&dialog);
                const auto *const browser = dialog.findChild<QTextBrowser *>();
                QVERIFY(browser == nullptr || browser->horizontalScrollBar()->maximum() == 0);
                saveScreenshot(&dialog, QStringLiteral("%1-%2x").arg(name, scale()));
                dialog.close();
            });
            window.findChild<QAction *>(name)->trigger();
            QVERIFY(next.seen());
        }
    }
};

QTEST_MAIN(LayoutTest)
#include "layout_test.moc"
