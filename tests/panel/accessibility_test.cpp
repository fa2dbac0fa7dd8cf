// The panel without a mouse, and as a screen reader sees it.

#include "mainwindow.h"

#include "realinput.h"
#include "storedsettings.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

namespace {

QAccessibleInterface *accessible(const QWidget &window, const char *name)
{
    return QAccessible::queryAccessibleInterface(window.findChild<QWidget *>(QLatin1String(name)));
}

QString accessibleName(const QWidget &window, const char *name)
{
    return accessible(window, name)->text(QAccessible::Name);
}

/// Where a screen reader looks the caption of a control up: Linux has the value as the name and the label apart.
QString labelOf(const QWidget &window, const char *name)
{
    const auto labels = accessible(window, name)->relations(QAccessible::Label);
    return labels.isEmpty() ? QString() : labels.first().first->object()->objectName();
}

/// Presses Tab until the focus is back where it was; the object names on the way.
QStringList tabChain()
{
    QStringList names;
    do {
        const QWidget *const before = QApplication::focusWidget();
        names += before->objectName();
        realinput::key(QStringLiteral("Tab"));
        if (!QTest::qWaitFor([&] { return QApplication::focusWidget() != before; }))
            break;
    } while (!names.contains(QApplication::focusWidget()->objectName()) && names.size() < 20);
    return names;
}

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_tabs = m_window->findChild<QTabWidget *>();
        m_tabs->tabBar()->setFocus();
    }

    void cleanup() { m_window.reset(); }

    void tabReachesTheControlsOfTheLatencyTab()
    {
        QCOMPARE(tabChain(),
                 (QStringList{QStringLiteral("qt_tabwidget_tabbar"), QStringLiteral("cb_bufferSizeValue")}));
    }

    void tabReachesTheControlsOfTheFloatTab()
    {
        m_tabs->setCurrentIndex(1);
        QCOMPARE(tabChain(), (QStringList{QStringLiteral("qt_tabwidget_tabbar"), QStringLiteral("radioButton_OFF")}));
    }

    void helpersTakeNoFocus()
    {
        for (const char *const name : {"buildBtn", "tb_information", "tb_information_Float"})
            QCOMPARE(m_window->findChild<QWidget *>(QLatin1String(name))->focusPolicy(), Qt::NoFocus);
    }

    void clickOnACaptionMovesTheFocusToItsRadioButton()
    {
        m_tabs->setCurrentIndex(1);
        for (const char *const side : {"ON", "OFF"}) {
            realinput::click(
                m_window->findChild<QWidget *>(QStringLiteral("text_") + QString::fromLatin1(side).toLower()));
            auto *const radio = m_window->findChild<QWidget *>(QStringLiteral("radioButton_") + QLatin1String(side));
            QTRY_COMPARE(QApplication::focusWidget(), radio);
        }
    }

    void controlsHaveNames()
    {
        QCOMPARE(m_window->findChild<QWidget *>(QStringLiteral("cb_bufferSizeValue"))->accessibleName(),
                 QStringLiteral("Buffer Size"));
        QCOMPARE(labelOf(*m_window, "cb_bufferSizeValue"), QStringLiteral("label_bufferSizeTitle"));
        QCOMPARE(accessibleName(*m_window, "radioButton_ON"), QStringLiteral("32 bit float ON"));
        QCOMPARE(accessibleName(*m_window, "radioButton_OFF"), QStringLiteral("32 bit float OFF"));
        QCOMPARE(accessibleName(*m_window, "text_on"), QStringLiteral("ON"));
        QCOMPARE(QAccessible::queryAccessibleInterface(m_tabs->tabBar())->child(0)->text(QAccessible::Name),
                 QStringLiteral("Latency"));
        QVERIFY(accessible(*m_window, "cb_bufferSizeValue")
                    ->text(QAccessible::Description)
                    .startsWith(QStringLiteral("The lower the latency")));
    }

    void hiddenButtonAnnouncesNothing()
    {
        const QAccessibleInterface *const button = accessible(*m_window, "buildBtn");
        QVERIFY(button->text(QAccessible::Name).isEmpty());
        QVERIFY(button->text(QAccessible::Description).isEmpty());
        QVERIFY(!button->state().focusable);
    }

    void hiddenButtonIsInvisible()
    {
        auto *const button = m_window->findChild<QPushButton *>(QStringLiteral("buildBtn"));
        QVERIFY(button->isVisible());
        // The pointer over the button from now on: elsewhere it would light up what it is over.
        realinput::click(button);
        const QImage with = m_window->grab().toImage();
        button->hide();
        QCOMPARE(m_window->grab().toImage(), with);
        button->show();
        realinput::click(button);
        QTest::qWait(50);
        QCOMPARE(m_window->grab().toImage(), with);
    }

    void hiddenButtonIsInvisibleWhateverThePictureIs()
    {
        auto *const button = m_window->findChild<QPushButton *>(QStringLiteral("buildBtn"));
        realinput::click(button);
        const QImage with = m_window->grab().toImage();

        const QTemporaryDir folder;
        const QString opaque = folder.filePath(QStringLiteral("opaque.png"));
        QImage red(100, 100, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(opaque));
        QStringList rules = m_window->styleSheet().split(u'\n');
        for (QString &rule : rules) {
            if (rule.startsWith(QStringLiteral("#buildBtn")))
                rule.replace(QStringLiteral(":/Resource/trans.png"), opaque);
        }
        QVERIFY(rules.join(u'\n') != m_window->styleSheet());
        m_window->setStyleSheet(rules.join(u'\n'));
        QCOMPARE(m_window->grab().toImage(), with);
    }

    void captionsLookTheSameWithAndWithoutFocus()
    {
        m_tabs->setCurrentIndex(1);
        auto *const caption = m_window->findChild<QPushButton *>(QStringLiteral("text_on"));
        realinput::click(m_tabs->tabBar(), m_tabs->tabBar()->tabRect(1).center());
        const QImage before = caption->grab().toImage();
        realinput::click(caption);
        QTRY_VERIFY(m_window->findChild<QWidget *>(QStringLiteral("radioButton_ON"))->hasFocus());
        QCOMPARE(caption->grab().toImage(), before);
    }

    void focusIsVisible_data()
    {
        QTest::addColumn<int>("tab");
        QTest::addColumn<QString>("name");
        QTest::newRow("tab bar") << 0 << "qt_tabwidget_tabbar";
        QTest::newRow("combo box") << 0 << "cb_bufferSizeValue";
        QTest::newRow("radio button on") << 1 << "radioButton_ON";
        QTest::newRow("radio button off") << 1 << "radioButton_OFF";
    }

    void focusIsVisible()
    {
        QFETCH(int, tab);
        QFETCH(QString, name);
        m_tabs->setCurrentIndex(tab);
        auto *const widget = m_window->findChild<QWidget *>(name);
        widget->setFocus();
        QTest::qWait(50);
        const QImage focused = widget->grab().toImage();
        widget->clearFocus();
        QTest::qWait(50);
        QVERIFY(widget->grab().toImage() != focused);
    }

private:
    std::unique_ptr<MainWindow> m_window;
    QTabWidget *m_tabs = nullptr;
};

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
