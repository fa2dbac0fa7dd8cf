// Every window of the update service in every language, as a user meets it: what it says, where its parts are, and that
// nothing of what it says is cut off. The texts themselves are judged by updatetexts_test.cpp.

#include "updatesoftware.h"

#include "nextdialog.h"
#include "realinput.h"
#include "screenshots.h"
#include "textcontrast.h"
#include "updatesettings.h"
#include "updatesoftwareprobe.h"
#include "updatetexts.h"
#include "webbrowser.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGlyphRun>
#include <QLabel>
#include <QLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QRawFont>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QScrollBar>
#include <QStyleOptionButton>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QTextLayout>

#include <memory>

namespace {

constexpr Qt::WindowFlags boxFlags =
    Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::Window;

const QString arial = QStringLiteral("Arial");
const QString japaneseFamily = QStringLiteral("IPAGothic");
const QString chineseFamily = QStringLiteral("WenQuanYi Micro Hei");

QStringList asianFamilies(const QString &locale)
{
    return locale == QStringLiteral("ja_JP") ? QStringList{japaneseFamily}
        : locale == QStringLiteral("zh_CN")  ? QStringList{chineseFamily}
                                             : QStringList();
}

/// Draws Asian letters with the font of the language. Which one the system takes by itself depends on the user's
/// language, of which a process has only one.
void useFontsOf(const QString &locale)
{
    QFont::removeSubstitutions(arial);
    QFont::insertSubstitutions(arial, QStringList{QStringLiteral("Liberation Sans")} + asianFamilies(locale));
    // Otherwise Qt would take the fonts that it has found before.
    QFont::cleanup();
}

/// An update service in a language, with a look inside. Its own fetch is refused.
struct Scene
{
    explicit Scene(const QString &locale)
    {
        useFontsOf(locale);
        updatesettings::write(updatesettings::jsonUrl, QStringLiteral("http://127.0.0.1:1/"));
        QLocale::setDefault(QLocale(locale));
        service = std::make_unique<UpdateSoftware>();
        probe = std::make_unique<UpdateSoftwareProbe>(*service);
    }

    const UpdateTextRow &texts() const { return updateTexts.at(static_cast<size_t>(probe->languageIndex())); }

    std::unique_ptr<UpdateSoftware> service;
    std::unique_ptr<UpdateSoftwareProbe> probe;
};

QString offering(const QString &product)
{
    // The longest version text that two three-digit numbers make.
    return QStringLiteral(R"({"Corvo9_version1": {"%1_version_major": 2, "%1_version_minor": 110}})").arg(product);
}

QString announcing(const QString &news)
{
    QJsonObject messages;
    messages[QStringLiteral("English")] = news;
    QJsonObject entry;
    entry[QStringLiteral("messages")] = messages;
    QJsonObject document;
    document[QStringLiteral("Corvo9_version1")] = entry;
    return QString::fromUtf8(QJsonDocument(document).toJson());
}

QString shotName(const char *window)
{
    return QStringLiteral("update-%1-%2")
        .arg(QString::fromLatin1(window), QString::fromLatin1(QTest::currentDataTag()));
}

QByteArray needs(const QString &what, QSizeF needed, QSizeF room)
{
    return QStringLiteral("\"%1\" needs %2x%3, has %4x%5")
        .arg(what)
        .arg(needed.width())
        .arg(needed.height())
        .arg(room.width())
        .arg(room.height())
        .toUtf8();
}

/// Judges a button or a check box.
void verifyTextFits(const QAbstractButton &button, QStyle::SubElement contents)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    const QSize room = button.style()->subElementRect(contents, &option, &button).size();
    const QSize needed = button.fontMetrics().size(Qt::TextShowMnemonic, button.text());
    QVERIFY2(needed.width() <= room.width() && needed.height() <= room.height(),
             needs(button.text(), needed, room).constData());
}

void verifyLabelFits(const QLabel &label)
{
    const QSize needed =
        label.hasHeightForWidth() ? QSize(label.width(), label.heightForWidth(label.width())) : label.sizeHint();
    QVERIFY2(needed.width() <= label.width() && needed.height() <= label.height(),
             needs(label.text(), needed, label.size()).constData());
}

/// The line of a field, in the coordinates of its document.
QRectF placeOf(const QTextBrowser &field, const QTextBlock &block, int line)
{
    const QPointF corner = field.document()->documentLayout()->blockBoundingRect(block).topLeft();
    return block.layout()->lineAt(line).naturalTextRect().translated(corner);
}

/// All lines lie in the field, and there is nowhere to scroll to.
void verifyMessageFits(const QTextBrowser &field)
{
    const QRectF room(QPointF(), QSizeF(field.viewport()->size()));
    for (QTextBlock block = field.document()->begin(); block.isValid(); block = block.next()) {
        for (int line = 0; line < block.layout()->lineCount(); ++line) {
            const QRectF place = placeOf(field, block, line);
            QVERIFY2(place.isEmpty() || room.contains(place), qPrintable(block.text()));
        }
    }
    QVERIFY2(field.document()->size().height() <= room.height(),
             needs(field.toPlainText(), field.document()->size(), room.size()).constData());
    QCOMPARE(field.verticalScrollBar()->maximum(), 0);
    QCOMPARE(field.horizontalScrollBar()->maximum(), 0);
}

/// The controls stand in their row, beside each other and each as wide as it has to be.
void verifyRowFits(const InformationBox &box)
{
    QCOMPARE(box.ui.horizontalLayoutWidget->geometry(), QRect(10, 120, 551, 31));
    int left = 0;
    for (const QAbstractButton *const control :
         std::initializer_list<const QAbstractButton *>{box.ui.okButton, box.ui.noButton, box.ui.dontShowCheckBox}) {
        if (!control->isVisible())
            continue;
        QVERIFY(box.ui.horizontalLayoutWidget->rect().contains(control->geometry()));
        QVERIFY2(control->x() >= left, qPrintable(control->text()));
        QVERIFY2(control->width() >= control->minimumSizeHint().width(), qPrintable(control->text()));
        left = control->geometry().right() + 1;
        verifyTextFits(
            *control, control == box.ui.dontShowCheckBox ? QStyle::SE_CheckBoxContents : QStyle::SE_PushButtonContents);
    }
}

/// The title bar is the system's; with its usual font and an icon of 16 pixels at the left it has to be wide enough.
void verifyTitleFits(const QWidget &window)
{
    const QFontMetrics metrics(QFont(arial, 9));
    const int needed = metrics.horizontalAdvance(window.windowTitle());
    QVERIFY2(needed + 24 <= window.width(),
             needs(window.windowTitle(), QSize(needed + 24, 1), window.size()).constData());
}

void verifyBox(const InformationBox &box, const QString &title)
{
    QVERIFY(box.isVisible());
    QCOMPARE(box.windowTitle(), title);
    QCOMPARE(box.size(), QSize(570, 160));
    QCOMPARE(box.minimumSize(), box.maximumSize());
    QCOMPARE(box.windowFlags(), boxFlags);
    QCOMPARE(box.ui.textMessage->geometry(), QRect(90, 15, 461, 105));
    verifyTitleFits(box);
    verifyRowFits(box);
}

void verifySmallWindow(const QWidget &window, const QPushButton &button, const Scene &scene)
{
    QVERIFY(window.isVisible());
    QCOMPARE(window.windowTitle(), scene.texts()[UpdateTextTitle]);
    QCOMPARE(window.size(), QSize(250, 100));
    QCOMPARE(window.windowFlags(), boxFlags);
    QCOMPARE(button.geometry(), QRect(140, 70, 100, 20));
    const QLabel *const label = window.findChild<QLabel *>();
    QCOMPARE(label->geometry(), QRect(10, 10, 230, 20));
    QCOMPARE(label->font().pointSize(), 11);
    verifyTitleFits(window);
    verifyLabelFits(*label);
    verifyTextFits(button, QStyle::SE_PushButtonContents);
}

/// The headline, an empty line and the two versions.
QStringList offerLines(const Scene &scene, UpdateText headline, const QString &now, const QString &latest)
{
    QString sentence = scene.texts()[headline];
    sentence.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
    return {sentence, QString(), scene.texts()[UpdateTextCurrentVersion] + now,
            scene.texts()[UpdateTextLatestVersion] + latest};
}

/// The families that the letters of a text beyond the alphabets are drawn with.
QStringList asianFamiliesIn(const QString &text, const QTextLayout &layout)
{
    constexpr char16_t firstAsian = u'\u2e80';
    QStringList families;
    for (int position = 0; position < text.size(); ++position) {
        if (text.at(position) < firstAsian)
            continue;
        for (const QGlyphRun &run : layout.glyphRuns(position, 1))
            families.append(run.rawFont().familyName());
    }
    families.removeDuplicates();
    return families;
}

/// Of what a widget says.
QStringList asianFamiliesIn(const QWidget &widget, const QString &html)
{
    QTextLayout layout(QTextDocumentFragment::fromHtml(html).toPlainText(), widget.font());
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    return asianFamiliesIn(layout.text(), layout);
}

QStringList asianFamiliesIn(const QTextBrowser &field)
{
    QStringList families;
    for (QTextBlock block = field.document()->begin(); block.isValid(); block = block.next())
        families += asianFamiliesIn(block.text(), *block.layout());
    families.removeDuplicates();
    return families;
}

/// A point of the first link that the field shows.
QPoint placeOfLink(const QTextBrowser &field)
{
    for (QPoint point; point.y() < field.viewport()->height(); point += QPoint(0, 4)) {
        for (point.setX(0); point.x() < field.viewport()->width(); point += QPoint(4, 0)) {
            if (!field.anchorAt(point).isEmpty())
                return point + QPoint(4, 4);
        }
    }
    return {};
}

} // namespace

class WindowsTest : public QObject
{
    Q_OBJECT

private:
    static void addLanguages()
    {
        QTest::addColumn<QString>("locale");
        for (const char *const name : {"en_US", "fr_FR", "es_ES", "de_DE", "it_IT", "ja_JP", "zh_CN"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    static void verifyOffer(const Scene &scene, const InformationBox &box, const QStringList &lines)
    {
        verifyBox(box, scene.texts()[UpdateTextTitle]);
        QVERIFY(!box.isModal());
        QCOMPARE(box.ui.okButton->text(), scene.texts()[UpdateTextAccept]);
        QCOMPARE(box.ui.noButton->text(), scene.texts()[UpdateTextDecline]);
        QCOMPARE(box.ui.dontShowCheckBox->text(), scene.texts()[UpdateTextDontShowAgain]);
        QVERIFY(box.ui.noButton->isVisible());
        QCOMPARE(box.ui.textMessage->toPlainText().split(u'\n'), lines);
        verifyMessageFits(*box.ui.textMessage);
    }

    static void verifyError(const Scene &scene, const QMessageBox &box)
    {
        QCOMPARE(box.windowTitle(), scene.texts()[UpdateTextTitle]);
        QCOMPARE(box.text(), scene.texts()[UpdateTextError]);
        QCOMPARE(box.textFormat(), Qt::RichText);
        QCOMPARE(box.icon(), QMessageBox::Warning);
        QCOMPARE(box.standardButtons(), QMessageBox::Ok);
        const auto labels = box.findChildren<QLabel *>();
        for (const QLabel *const label : labels) {
            QVERIFY(box.rect().contains(label->geometry()));
            if (!label->text().isEmpty())
                verifyLabelFits(*label);
        }
        verifyTitleFits(box);
        verifyTextFits(*box.button(QMessageBox::Ok), QStyle::SE_PushButtonContents);
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList families = QFontDatabase::families();
        for (const QString &family : {QStringLiteral("Liberation Sans"), japaneseFamily, chineseFamily})
            QVERIFY2(families.contains(family), qPrintable(family + QStringLiteral(" is not installed")));
        QCOMPARE(qApp->primaryScreen()->logicalDotsPerInch(), 96.0);
        // The clicks of two cases on one place are not a double click.
        QApplication::setDoubleClickInterval(0);
    }

    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void softwareOffer_data() { addLanguages(); }

    void softwareOffer()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->saveInformation(offering(QStringLiteral("windows_software")));
        InformationBox &box = scene.probe->softwareBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        verifyOffer(scene, box,
                    offerLines(scene, UpdateTextSoftwareHeadline, QStringLiteral("1.10"), QStringLiteral("2.110")));
        verifyTextsAreReadable(&box);
        saveScreenshot(&box, shotName("software"));
    }

    void firmwareOffer_data() { addLanguages(); }

    void firmwareOffer()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->saveInformation(offering(QStringLiteral("firmware")));
        scene.service->checkFirm(QStringLiteral("KD-MX2"), QStringLiteral("1.02"));
        InformationBox &box = scene.probe->firmwareBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        verifyOffer(scene, box,
                    offerLines(scene, UpdateTextFirmwareHeadline, QStringLiteral("1.02"), QStringLiteral("2.110")));
        verifyTextsAreReadable(&box);
        saveScreenshot(&box, shotName("firmware"));
    }

    void news_data() { addLanguages(); }

    void news()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->saveInformation(
            announcing(QStringLiteral("KD-MX4 units need firmware 1.20 for <b>macOS 14</b>.<br>"
                                      "<a href=\"https://www.velmar.example/news\">Read more on our web site.</a>")));
        InformationBox &box = scene.probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        verifyBox(box, scene.texts()[UpdateTextNewsTitle]);
        QCOMPARE(box.windowModality(), Qt::ApplicationModal);
        QCOMPARE(box.ui.okButton->text(), scene.texts()[UpdateTextOk]);
        QCOMPARE(box.ui.dontShowCheckBox->text(), scene.texts()[UpdateTextDontShowAgain]);
        QVERIFY(!box.ui.noButton->isVisible());
        QCOMPARE(box.ui.textMessage->toPlainText().trimmed(),
                 QStringLiteral("KD-MX4 units need firmware 1.20 for macOS 14.\nRead more on our web site."));
        QCOMPARE(box.ui.textMessage->font().pointSize(), locale == QStringLiteral("ja_JP") ? 11 : 12);
        verifyMessageFits(*box.ui.textMessage);
        verifyTextsAreReadable(&box);
        saveScreenshot(&box, shotName("news"));
    }

    void progress_data() { addLanguages(); }

    void progress()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->openDownloadFileInfo();
        QWidget *const window = scene.probe->downloadWindow();
        const QPushButton *const button = scene.probe->downloadButton();
        QVERIFY(QTest::qWaitForWindowActive(window));
        verifySmallWindow(*window, *button, scene);
        QCOMPARE(window->findChild<QLabel *>()->text(), scene.texts()[UpdateTextDownloading]);
        QCOMPARE(button->text(), scene.texts()[UpdateTextCancel]);
        QVERIFY(!button->isEnabled());
        Q_EMIT scene.probe->information().progressValueChanged(42);
        QTRY_COMPARE(scene.probe->downloadBar()->value(), 42);
        QTRY_VERIFY(button->isEnabled());
        verifyTextsAreReadable(window);
        saveScreenshot(window, shotName("progress"));
    }

    void completion_data() { addLanguages(); }

    void completion()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->openExecWindow();
        QWidget *const window = scene.probe->downloadWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        verifySmallWindow(*window, *scene.probe->downloadButton(), scene);
        QCOMPARE(window->findChild<QLabel *>()->text(), scene.texts()[UpdateTextDownloaded]);
        QCOMPARE(scene.probe->downloadButton()->text(), scene.texts()[UpdateTextOk]);
        QVERIFY(scene.probe->downloadButton()->isEnabled());
        QVERIFY(scene.probe->downloadBar() == nullptr);
        verifyTextsAreReadable(window);
        saveScreenshot(window, shotName("completion"));
    }

    void error_data() { addLanguages(); }

    void error()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        const NextDialog dialog([&](QDialog &box) {
            QCOMPARE(&box, &scene.probe->errorBox());
            verifyError(scene, scene.probe->errorBox());
            verifyTextsAreReadable(&box);
            saveScreenshot(&box, shotName("error"));
            realinput::key(QStringLiteral("Escape"));
        });
        scene.service->showMsgBoxError();
        QVERIFY(dialog.seen());
    }

    /// A text that fits with another font would prove nothing.
    void asianLettersComeFromTheFontOfTheirLanguage_data()
    {
        QTest::addColumn<QString>("locale");
        for (const char *const name : {"ja_JP", "zh_CN"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void asianLettersComeFromTheFontOfTheirLanguage()
    {
        QFETCH(QString, locale);
        const Scene scene(locale);
        scene.service->saveInformation(offering(QStringLiteral("windows_software")));
        scene.service->openExecWindow();
        const InformationBox &box = scene.probe->softwareBox();
        QVERIFY(QTest::qWaitForWindowActive(scene.probe->downloadWindow()));
        QCOMPARE(asianFamiliesIn(*box.ui.textMessage), asianFamilies(locale));
        for (const QAbstractButton *const button :
             std::initializer_list<const QAbstractButton *>{box.ui.okButton, box.ui.noButton, box.ui.dontShowCheckBox})
            QCOMPARE(asianFamiliesIn(*button, button->text()), asianFamilies(locale));
        const QLabel *const label = scene.probe->downloadWindow()->findChild<QLabel *>();
        QCOMPARE(asianFamiliesIn(*label, label->text()), asianFamilies(locale));
    }

    void desktopsWithALargeFontCutNothing_data() { addLanguages(); }

    void desktopsWithALargeFontCutNothing()
    {
        QFETCH(QString, locale);
        const QFont usual = QApplication::font();
        QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 14));
        const auto restored = qScopeGuard([&] { QApplication::setFont(usual); });
        const Scene scene(locale);
        scene.service->saveInformation(offering(QStringLiteral("windows_software")));
        QVERIFY(QTest::qWaitForWindowActive(&scene.probe->softwareBox()));
        verifyRowFits(scene.probe->softwareBox());
        verifyMessageFits(*scene.probe->softwareBox().ui.textMessage);
        scene.service->openExecWindow();
        verifyLabelFits(*scene.probe->downloadWindow()->findChild<QLabel *>());
    }

    void longNewsAreClipped()
    {
        const Scene scene(QStringLiteral("en_US"));
        QString news = QStringLiteral("The first line<br>");
        for (int line = 0; line < 40; ++line)
            news += QStringLiteral("and a further line of news that are far too long<br>");
        scene.service->saveInformation(announcing(news));
        InformationBox &box = scene.probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        const QTextBrowser &field = *box.ui.textMessage;
        verifyBox(box, scene.texts()[UpdateTextNewsTitle]);
        QVERIFY(field.document()->size().height() > 3 * field.height());
        QCOMPARE(field.verticalScrollBar()->value(), 0);
        QVERIFY(!field.verticalScrollBar()->isVisible());
        QVERIFY(field.viewport()->rect().contains(placeOf(field, field.document()->begin(), 0).toAlignedRect()));
    }

    void linkInNewsOpens()
    {
        const QString address = QStringLiteral("https://www.velmar.example/news");
        const Scene scene(QStringLiteral("de_DE"));
        scene.service->saveInformation(announcing(QStringLiteral("Neu: <a href=\"%1\">KD-MX4</a>").arg(address)));
        InformationBox &box = scene.probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        const WebBrowser browser;
        QTextBrowser &field = *box.ui.textMessage;
        const QPoint place = placeOfLink(field);
        QCOMPARE(field.anchorAt(place), address);

        realinput::click(field.viewport(), place);
        QTRY_COMPARE(browser.opened, QStringList{address});

        QVERIFY(realinput::tabUntil([&] { return field.hasFocus() && field.textCursor().hasSelection(); }));
        realinput::key(QStringLiteral("Return"));
        QTRY_COMPARE(browser.opened, (QStringList{address, address}));
        QCOMPARE(field.toPlainText().trimmed(), QStringLiteral("Neu: KD-MX4"));
        QVERIFY(box.isVisible());
    }

    /// A picture would tell its server who reads the news, and when.
    void newsLoadNothing()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const Scene scene(QStringLiteral("en_GB"));
        const QString address = QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort());
        scene.service->saveInformation(
            announcing(QStringLiteral("New: <img src='%1a.png'><link rel='stylesheet' href='%1a.css'>").arg(address)));
        InformationBox &box = scene.probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        box.grab();
        server.waitForNewConnection(0);
        QVERIFY(!server.hasPendingConnections());
    }

    void newsLoadNoFiles_data()
    {
        QTest::addColumn<QString>("html");
        QTest::newRow("picture by its path") << "<img src='%1/big.png'>";
        QTest::newRow("picture by its address") << "<img src='file://%1/big.png'>";
        QTest::newRow("picture from the current folder") << "<img src='big.png' alt='%1'>";
        QTest::newRow("background") << "<table background='file://%1/big.png'><tr><td>New</td></tr></table>";
        QTest::newRow("style sheet") << "<link rel='stylesheet' href='file://%1/large.css'><p>New</p>";
        QTest::newRow("imported style sheet") << "<style>@import url('file://%1/large.css');</style><p>New</p>";
    }

    void newsLoadNoFiles()
    {
        QFETCH(QString, html);
        const QTemporaryDir folder;
        QImage big(300, 300, QImage::Format_RGB32);
        big.fill(Qt::red);
        QVERIFY(big.save(folder.filePath(QStringLiteral("big.png"))));
        QFile sheet(folder.filePath(QStringLiteral("large.css")));
        QVERIFY(sheet.open(QIODevice::WriteOnly) && sheet.write("p { font-size: 90pt; color: red; }") > 0);
        sheet.close();
        const QString former = QDir::currentPath();
        const auto back = qScopeGuard([&] { QDir::setCurrent(former); });
        QVERIFY(QDir::setCurrent(folder.path()));

        const Scene scene(QStringLiteral("en_GB"));
        scene.service->saveInformation(announcing(html.arg(folder.path())));
        InformationBox &box = scene.probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        const QImage shown = box.grab().toImage();
        QVERIFY(box.ui.textMessage->document()->size().height() < 90);
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x)
                QVERIFY(shown.pixelColor(x, y) != QColor(Qt::red));
        }
    }

    void linkInErrorOpens_data() { addLanguages(); }

    void linkInErrorOpens()
    {
        QFETCH(QString, locale);
        const QString edition =
            locale == QStringLiteral("ja_JP") ? QStringLiteral("jp/") : QStringLiteral("international/");
        const QString address = QStringLiteral("https://www.velmar.example/") + edition;
        const Scene scene(locale);
        const WebBrowser browser;
        const NextDialog dialog([&](QDialog &box) {
            const auto *const label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
            // The address is the last line.
            realinput::click(label, QPoint(20, label->height() - 8));
            QTRY_COMPARE(browser.opened, QStringList{address});

            QVERIFY(realinput::tabUntil([label] { return label->hasFocus() && label->hasSelectedText(); }));
            realinput::key(QStringLiteral("Return"));
            QTRY_COMPARE(browser.opened, (QStringList{address, address}));
            QVERIFY(box.isVisible());
            box.close();
        });
        scene.service->showMsgBoxError();
        QVERIFY(dialog.seen());
    }
};

QTEST_MAIN(WindowsTest)
#include "windows_test.moc"
