#include "informationbox.h"

#include "realinput.h"
#include "screenshots.h"
#include "textcontrast.h"
#include "uppercase.h"
#include "webbrowser.h"

#include <QApplication>
#include <QPainter>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyleOptionButton>
#include <QTest>
#include <QTextBlock>
#include <QTranslator>

namespace {

constexpr int anyWidth = 16777215;

QString longMessage()
{
    QString html;
    for (int line = 1; line <= 40; ++line)
        html += QStringLiteral("Line %1 of a message that is far too long for the field.<br>").arg(line);
    return html;
}

/// The middle of the first place where the field shows the text.
QPoint placeOf(const QTextBrowser *field, const QString &text)
{
    const QTextCursor found = field->document()->find(text);
    QTextCursor start = found;
    start.setPosition(found.selectionStart());
    return (field->cursorRect(start).center() + field->cursorRect(found).center()) / 2;
}

void tabToFirstLink(const QTextBrowser *field)
{
    QVERIFY(realinput::tabUntil([field] { return field->hasFocus() && field->textCursor().hasSelection(); }));
}

/// The picture as it looks on a window's background.
QImage expectedBackground(const QWidget &window)
{
    const QImage picture(QStringLiteral(":/Resource/update/info_570x160_icon.png"));
    QImage image(picture.size(), QImage::Format_RGB32);
    image.fill(window.palette().color(QPalette::Window));
    QPainter(&image).drawImage(0, 0, picture);
    return image;
}

/// The square of the check box as it is on the screen.
QImage indicator(const InformationBox &box)
{
    const QCheckBox *const checkBox = box.ui.dontShowCheckBox;
    QStyleOptionButton option;
    option.initFrom(checkBox);
    const QRect place = checkBox->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, checkBox);
    const QPoint corner = checkBox->mapTo(&box, place.topLeft());
    return box.screen()->grabWindow(box.winId()).toImage().copy(QRect(corner, place.size()));
}

} // namespace

class InformationBoxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // The clicks of two cases on one place are not a double click.
        QApplication::setDoubleClickInterval(0);
    }

    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void formValues_data()
    {
        QTest::addColumn<QString>("object");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QVariant>("expected");
        const auto add = [](const char *object, const char *property, const QVariant &expected) {
            QTest::addRow("%s %s", object, property) << QString::fromLatin1(object) << QByteArray(property) << expected;
        };
        const QString neutral = QStringLiteral("background-image: url(:/Resource/trans.png);");
        const auto fixed = QVariant::fromValue(QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));

        add("InformationBox", "enabled", true);
        add("InformationBox", "size", QSize(570, 160));
        add("InformationBox", "sizePolicy", fixed);
        add("InformationBox", "minimumSize", QSize(570, 160));
        add("InformationBox", "maximumSize", QSize(570, 160));
        add("InformationBox", "styleSheet", QString());
        add("InformationBox", "windowTitle", QStringLiteral("Form"));

        add("horizontalLayoutWidget", "geometry", QRect(10, 120, 551, 31));

        add("okButton", "enabled", true);
        add("okButton", "maximumSize", QSize(anyWidth, 22));
        add("okButton", "autoFillBackground", false);
        add("okButton", "styleSheet", neutral);
        add("okButton", "text", QStringLiteral("Update now"));

        add("noButton", "enabled", true);
        add("noButton", "maximumSize", QSize(anyWidth, 22));
        add("noButton", "styleSheet", neutral);
        add("noButton", "text", QStringLiteral("Update later"));

        add("dontShowCheckBox", "enabled", true);
        add("dontShowCheckBox", "checked", false);
        add("dontShowCheckBox", "styleSheet",
            QStringLiteral("color: rgb(255, 255, 255);\n"
                           "background-image: url(:/Resource/trans.png);\n"
                           "background-color: rgba(0, 0, 0, 0);"));
        add("dontShowCheckBox", "text", QStringLiteral("Do not show the same message again"));

        add("textMessage", "geometry", QRect(90, 15, 461, 105));
        add("textMessage", "sizePolicy", fixed);
        add("textMessage", "frameShape", static_cast<int>(QFrame::NoFrame));
        add("textMessage", "verticalScrollBarPolicy", static_cast<int>(Qt::ScrollBarAlwaysOff));
        add("textMessage", "horizontalScrollBarPolicy", static_cast<int>(Qt::ScrollBarAlwaysOff));
        add("textMessage", "textInteractionFlags",
            static_cast<int>(Qt::TextSelectableByMouse | Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard));
        add("textMessage", "acceptRichText", true);
        add("textMessage", "styleSheet", QStringLiteral("color: white; font: 12pt;"));
    }

    void formValues()
    {
        QFETCH(QString, object);
        QFETCH(QByteArray, property);
        QFETCH(QVariant, expected);
        const InformationBox box;
        const QObject *const found = object == box.objectName() ? &box : box.findChild<QObject *>(object);
        QVERIFY(found != nullptr);
        QVariant value = found->property(property.constData());
        QVERIFY(value.isValid());
        if (expected.typeId() == QMetaType::Int)
            value = value.toInt();
        QCOMPARE(value, expected);
    }

    void fieldIsTransparentUnlessDisabled()
    {
        const InformationBox box;
        // What a style sheet adds to a palette it keeps beside the widget's own brushes.
        const QPalette palette = box.ui.textMessage->palette();
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
            QCOMPARE(palette.brush(group, QPalette::Base).style(), Qt::SolidPattern);
            QCOMPARE(palette.color(group, QPalette::Base), QColor(255, 255, 255, 0));
        }
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::Base), QColor(240, 240, 240));
    }

    void everythingBelongsToTheBox()
    {
        const InformationBox box;
        QCOMPARE(box.ui.horizontalLayoutWidget->parent(), &box);
        QCOMPARE(box.ui.textMessage->parent(), &box);
        QCOMPARE(box.ui.okButton->parent(), box.ui.horizontalLayoutWidget);
        QCOMPARE(box.ui.noButton->parent(), box.ui.horizontalLayoutWidget);
        QCOMPARE(box.ui.dontShowCheckBox->parent(), box.ui.horizontalLayoutWidget);
    }

    void rowOfControls()
    {
        const InformationBox box;
        const QHBoxLayout *const row = box.ui.horizontalLayout;
        QCOMPARE(row->contentsMargins(), QMargins());
        QCOMPARE(row->count(), 4);
        const QSpacerItem *const spacer = row->itemAt(0)->spacerItem();
        QVERIFY(spacer != nullptr);
        QCOMPARE(spacer->sizeHint(), QSize(40, 20));
        QCOMPARE(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Minimum);
        QCOMPARE(row->itemAt(1)->widget(), box.ui.okButton);
        QCOMPARE(row->itemAt(2)->widget(), box.ui.noButton);
        QCOMPARE(row->itemAt(3)->widget(), box.ui.dontShowCheckBox);
    }

    void windowFlags()
    {
        const InformationBox box;
        QVERIFY(box.isWindow());
        // The last one is what Qt adds to whatever has no parent.
        QCOMPARE(box.windowFlags(),
                 Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::Window);
        QCOMPARE(box.windowFlags().toInt(), 0x02003000 | 0x1);
    }

    void addsNoSignalsSlotsOrProperties()
    {
        const QMetaObject &meta = InformationBox::staticMetaObject;
        QCOMPARE(meta.className(), "InformationBox");
        QCOMPARE(meta.superClass(), &QWidget::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.superClass()->methodCount());
        QCOMPARE(meta.propertyCount(), meta.superClass()->propertyCount());
    }

    void textsAreTranslatable()
    {
        UpperCase translator(QByteArrayLiteral("InformationBox"));
        QCoreApplication::installTranslator(&translator);
        const InformationBox box;
        QCOMPARE(box.windowTitle(), QStringLiteral("FORM"));
        QCOMPARE(box.ui.okButton->text(), QStringLiteral("UPDATE NOW"));
        QCOMPARE(box.ui.noButton->text(), QStringLiteral("UPDATE LATER"));
        QCOMPARE(box.ui.dontShowCheckBox->text(), QStringLiteral("DO NOT SHOW THE SAME MESSAGE AGAIN"));
    }

    void japaneseHasNoTranslationYet()
    {
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral("translate_ja_JP"), QStringLiteral(":/Resource")));
        QCoreApplication::installTranslator(&translator);
        const InformationBox box;
        QCOMPARE(box.ui.okButton->text(), QStringLiteral("Update now"));
    }

    void cannotBeResized()
    {
        InformationBox box;
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        box.resize(800, 400);
        box.resize(10, 10);
        QCoreApplication::processEvents();
        QCOMPARE(box.size(), QSize(570, 160));
    }

    void pictureIsTheWholeBackground()
    {
        InformationBox box;
        box.ui.textMessage->hide();
        box.ui.horizontalLayoutWidget->hide();
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const QImage expected = expectedBackground(box);
        QCOMPARE(expected.size(), box.size());
        QTRY_COMPARE(box.screen()->grabWindow(box.winId()).toImage().convertToFormat(QImage::Format_RGB32), expected);
    }

    void pictureShowsThroughTheEmptyField()
    {
        InformationBox box;
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const QRect field = box.ui.textMessage->geometry();
        QTRY_COMPARE(box.screen()->grabWindow(box.winId()).toImage().convertToFormat(QImage::Format_RGB32).copy(field),
                     expectedBackground(box).copy(field));
    }

    void checkBoxTogglesSilently()
    {
        InformationBox box;
        const QSignalSpy toggled(box.ui.dontShowCheckBox, &QCheckBox::toggled);
        const QSignalSpy stateChanged(box.ui.dontShowCheckBox, &QCheckBox::stateChanged);
        const QSignalSpy clicked(box.ui.dontShowCheckBox, &QCheckBox::clicked);
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        realinput::click(box.ui.dontShowCheckBox);
        QTRY_VERIFY(box.ui.dontShowCheckBox->isChecked());
        box.ui.dontShowCheckBox->setFocus();
        realinput::key(QStringLiteral("space"));
        QTRY_VERIFY(!box.ui.dontShowCheckBox->isChecked());
        QCOMPARE(toggled.count() + stateChanged.count() + clicked.count(), 0);
    }

    void checkBoxIsSeen()
    {
        InformationBox box;
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const QPoint middle = indicator(box).rect().center();
        const QColor behind = expectedBackground(box).pixelColor(QPoint(20, 140));
        QTRY_VERIFY(contrast(indicator(box).pixelColor(middle), behind) >= readableContrast);
        const QImage unchecked = indicator(box);
        box.ui.dontShowCheckBox->setChecked(true);
        QTRY_VERIFY(indicator(box) != unchecked);
    }

    void linksAreReadable()
    {
        InformationBox box;
        box.ui.textMessage->setText(QStringLiteral("<a href=\"https://www.velmar.example/\">news</a>"));
        const QTextCursor link = box.ui.textMessage->document()->find(QStringLiteral("news"));
        const QColor behind = expectedBackground(box).pixelColor(QPoint(200, 60));
        QVERIFY(contrast(link.charFormat().foreground().color(), behind) >= readableContrast);
    }

    void checkBoxKeepsItsStateBetweenShowings()
    {
        InformationBox box;
        for (int showing = 0; showing < 2; ++showing) {
            box.show();
            QVERIFY(QTest::qWaitForWindowActive(&box));
            QCOMPARE(box.ui.dontShowCheckBox->isChecked(), showing == 1);
            box.ui.dontShowCheckBox->setChecked(true);
            box.close();
        }
    }

    void buttonsReport()
    {
        InformationBox box;
        const QSignalSpy accepted(box.ui.okButton, &QPushButton::clicked);
        const QSignalSpy declined(box.ui.noButton, &QPushButton::clicked);
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        realinput::click(box.ui.okButton);
        QTRY_COMPARE(accepted.count(), 1);
        realinput::click(box.ui.noButton);
        QTRY_COMPARE(declined.count(), 1);
        QVERIFY(box.isVisible());
    }

    void closedButtonLeavesTheOthersAtTheRight()
    {
        InformationBox box;
        box.ui.noButton->close();
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        QVERIFY(!box.ui.noButton->isVisible());
        const QRect row = box.ui.horizontalLayoutWidget->rect();
        const QRect accept = box.ui.okButton->geometry();
        const QRect check = box.ui.dontShowCheckBox->geometry();
        QCOMPARE(check.right(), row.right());
        QCOMPARE(check.left() - accept.right() - 1, box.ui.horizontalLayout->spacing());
        QVERIFY(accept.left() > row.width() / 4);
    }

    void messageHasTheFontsOwnLineSpacing()
    {
        InformationBox box;
        box.ui.textMessage->setText(QStringLiteral("one<br>two"));
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        QCOMPARE(box.ui.textMessage->font().pointSize(), 12);
        QCOMPARE(box.ui.textMessage->palette().color(QPalette::Text), QColor(Qt::white));
        const QTextBlock block = box.ui.textMessage->document()->firstBlock();
        QCOMPARE(block.blockFormat().lineHeightType(), static_cast<int>(QTextBlockFormat::SingleHeight));
        QCOMPARE(block.layout()->lineCount(), 2);
        const double spacing = block.layout()->lineAt(1).y() - block.layout()->lineAt(0).y();
        QVERIFY2(qAbs(spacing - QFontMetricsF(box.ui.textMessage->font()).lineSpacing()) <= 1.0,
                 qPrintable(QString::number(spacing)));
    }

    void longMessageIsClippedAndCanBeSelected()
    {
        InformationBox box;
        QTextBrowser *const field = box.ui.textMessage;
        field->setText(longMessage());
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        QVERIFY(field->document()->size().height() > 5 * field->height());
        QVERIFY(!field->verticalScrollBar()->isVisible());
        QVERIFY(!field->horizontalScrollBar()->isVisible());
        QCOMPARE(field->viewport()->size(), QSize(461, 105));
        saveScreenshot(&box, QStringLiteral("informationbox-long"));

        realinput::click(field->viewport());
        QTRY_VERIFY(field->hasFocus());
        realinput::key(QStringLiteral("ctrl+a"));
        QTRY_COMPARE(field->textCursor().selectedText().count(QStringLiteral("Line ")), 40);
    }

    void emptyFieldCanBeWorked()
    {
        InformationBox box;
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        realinput::click(box.ui.textMessage->viewport());
        for (const QString &name : {QStringLiteral("Down"), QStringLiteral("ctrl+a"), QStringLiteral("ctrl+c"),
                                    QStringLiteral("Return"), QStringLiteral("Tab"), QStringLiteral("shift+Tab")})
            realinput::key(name);
        box.ui.textMessage->setText(QStringLiteral("message"));
        QCOMPARE(box.ui.textMessage->toPlainText(), QStringLiteral("message"));
    }

    void webLinksOpen_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QStringList>("opened");
        const auto opens = [](const char *link) {
            const QString text = QString::fromLatin1(link);
            QTest::newRow(link) << text << QStringList{text};
        };
        const auto doesNothing = [](const char *link) {
            QTest::newRow(link) << QString::fromLatin1(link) << QStringList();
        };
        opens("https://www.velmar.example/news?id=1#top");
        opens("http://www.velmar.example/news");
        doesNothing("file:///etc/hostname");
        doesNothing("news.html");
        doesNothing("//www.velmar.example/");
        doesNothing("/etc/hostname");
        doesNothing("#top");
        doesNothing("qrc:/Resource/LICENSE.txt");
        doesNothing(":/Resource/LICENSE.txt");
        doesNothing("mailto:someone@velmar.example");
        doesNothing("javascript:alert(1)");
        doesNothing("ftp://www.velmar.example/");
    }

    void webLinksOpen()
    {
        QFETCH(QString, link);
        QFETCH(QStringList, opened);
        WebBrowser browser;
        InformationBox box;
        QTextBrowser *const field = box.ui.textMessage;
        const QSignalSpy followed(field, &QTextBrowser::anchorClicked);
        field->setText(QStringLiteral("There are <a href=\"%1\">news on a page</a> to read.").arg(link));
        box.show();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        const QString message = field->toHtml();

        realinput::click(field->viewport(), placeOf(field, QStringLiteral("news on a page")));
        QTRY_COMPARE(followed.count(), 1);
        QCOMPARE(browser.opened, opened);
        QCOMPARE(field->toHtml(), message);

        browser.opened.clear();
        box.ui.okButton->setFocus();
        tabToFirstLink(field);
        realinput::key(QStringLiteral("Return"));
        QTRY_COMPARE(followed.count(), 2);
        QCOMPARE(browser.opened, opened);
        QCOMPARE(field->toHtml(), message);
        QVERIFY(box.isVisible());
    }
};

QTEST_MAIN(InformationBoxTest)
#include "informationbox_test.moc"
