#include "cuttexts.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>

namespace {

const QString words = QStringLiteral("Download the newest version of the program now");

template <typename Widget>
QWidget *withWords(QWidget *window)
{
    auto *const widget = new Widget(window);
    widget->setText(words);
    return widget;
}

QWidget *wrappedLabel(QWidget *window)
{
    auto *const label = new QLabel(words, window);
    label->setWordWrap(true);
    return label;
}

using Make = QWidget *(*)(QWidget *window);

} // namespace

Q_DECLARE_METATYPE(Make)

/// Every kind of text, with enough room and with too little.
class CutTextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void textsThatDoNotFitAreNamed_data()
    {
        QTest::addColumn<Make>("make");
        QTest::addColumn<QSize>("share");
        const QSize narrow(75, 100);
        const QSize low(100, 75);
        QTest::newRow("narrow button") << Make(withWords<QPushButton>) << narrow;
        QTest::newRow("narrow check box") << Make(withWords<QCheckBox>) << narrow;
        QTest::newRow("low check box") << Make(withWords<QCheckBox>) << QSize(100, 50);
        QTest::newRow("narrow label") << Make(withWords<QLabel>) << narrow;
        QTest::newRow("low label") << Make(withWords<QLabel>) << low;
        QTest::newRow("low label of several lines") << Make(wrappedLabel) << low;
    }

    static void textsThatDoNotFitAreNamed()
    {
        QFETCH(Make, make);
        QFETCH(QSize, share);
        QWidget window;
        QWidget *const widget = make(&window);
        widget->ensurePolished();
        const QSize needed = widget->sizeHint();
        widget->resize(needed);
        QCOMPARE(cutTexts(window), QStringList());
        widget->resize(needed.width() * share.width() / 100, needed.height() * share.height() / 100);
        QCOMPARE(cutTexts(window), QStringList{words});
        widget->hide();
        QCOMPARE(cutTexts(window), QStringList());
    }

    static void messagesThatDoNotFitAreNamed()
    {
        QWidget window;
        auto *const field = static_cast<QTextBrowser *>(withWords<QTextBrowser>(&window));
        field->resize(400, 200);
        window.grab();
        QCOMPARE(cutTexts(window), QStringList());
        field->resize(100, 40);
        window.grab();
        QCOMPARE(cutTexts(window), QStringList{words});
    }
};

QTEST_MAIN(CutTextsTest)
#include "cuttexts_test.moc"
