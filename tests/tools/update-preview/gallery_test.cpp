#include "feedtext.h"
#include "previewprocess.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QTcpServer>
#include <QTest>
#include <QXmlStreamReader>

/// The files that --gallery writes.
class GalleryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyWindowIsThereInEveryLanguage_data();
    void everyWindowIsThereInEveryLanguage();
    void languagesDiffer();
    void indexIsWellFormed();
    void indexLeadsSomewhere();
    void indexSpeaksOfEveryPicture();
    static void ownNewsAreShown();
    static void newsThatDoNotFitAreNamed();
    static void scaleMakesLargerPictures();
    static void nothingIsContacted();
    static void badDocumentIsRefused_data();
    static void badDocumentIsRefused();
    static void folderThatCannotBeWrittenIsAFailure();

private:
    QString file(const QString &name) const { return m_files.path(QStringLiteral("gallery/") + name); }
    QString index() const;

    feedtext::Files m_files;
    QString m_output;
};

namespace {

const QStringList codes{QStringLiteral("en"), QStringLiteral("fr"), QStringLiteral("es"), QStringLiteral("de"),
                        QStringLiteral("it"), QStringLiteral("ja"), QStringLiteral("zh")};

QString read(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        QTest::qFail(qPrintable(fileName + QStringLiteral(" cannot be read")), __FILE__, __LINE__);
    return QString::fromUtf8(file.readAll());
}

/// The values that an attribute has in the index.
QStringList attributes(const QString &html, const QString &name)
{
    const QRegularExpression attribute(u' ' + name + QStringLiteral("=\"([^\"]*)\""));
    QStringList values;
    for (auto found = attribute.globalMatch(html); found.hasNext();)
        values.append(found.next().captured(1));
    return values;
}

} // namespace

QString GalleryTest::index() const
{
    return read(file(QStringLiteral("index.html")));
}

void GalleryTest::initTestCase()
{
    const Outcome outcome = runPreview({QStringLiteral("--gallery"), file(QString())});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QCOMPARE(outcome.err, QString());
    m_output = outcome.out;
    QVERIFY2(m_output.startsWith(QStringLiteral("42 pictures: ")), qPrintable(m_output));
    QCOMPARE(QDir(file(QString())).entryList(QDir::Files).size(), 43);
}

void GalleryTest::everyWindowIsThereInEveryLanguage_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QSize>("size");
    QTest::newRow("program offer") << QStringLiteral("program-offer") << QSize(570, 160);
    QTest::newRow("firmware offer") << QStringLiteral("firmware-offer") << QSize(570, 160);
    QTest::newRow("news") << QStringLiteral("news") << QSize(570, 160);
    QTest::newRow("progress") << QStringLiteral("progress") << QSize(250, 100);
    QTest::newRow("completion") << QStringLiteral("completion") << QSize(250, 100);
    QTest::newRow("error") << QStringLiteral("error") << QSize();
}

void GalleryTest::everyWindowIsThereInEveryLanguage()
{
    QFETCH(const QString, kind);
    QFETCH(const QSize, size);
    for (const QString &code : codes) {
        const QImage picture(file(code + u'-' + kind + QStringLiteral(".png")));
        QVERIFY2(!picture.isNull(), qPrintable(code));
        if (size.isValid())
            QCOMPARE(picture.size(), size);
        else
            QVERIFY2(picture.width() > 200 && picture.height() > 60, qPrintable(code));
    }
}

void GalleryTest::languagesDiffer()
{
    for (const char *const kind : {"program-offer", "firmware-offer", "news", "progress", "completion", "error"}) {
        QSet<QByteArray> contents;
        for (const QString &code : codes) {
            QFile picture(file(code + u'-' + QString::fromLatin1(kind) + QStringLiteral(".png")));
            QVERIFY(picture.open(QIODevice::ReadOnly));
            contents.insert(picture.readAll());
        }
        QCOMPARE(contents.size(), codes.size());
    }
}

/// But for the first line and the elements without an end, the page is written as XML is.
void GalleryTest::indexIsWellFormed()
{
    QString html = index();
    QVERIFY(html.startsWith(QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">")));
    static const QRegularExpression openElements(QStringLiteral("<((?:meta|img)\\b[^>]*)>"));
    html.replace(openElements, QStringLiteral("<\\1/>"));
    QXmlStreamReader reader(html);
    while (!reader.atEnd())
        reader.readNext();
    QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
    QVERIFY(!html.contains(QStringLiteral("<script")));
}

void GalleryTest::indexLeadsSomewhere()
{
    const QString html = index();
    const QStringList idList = attributes(html, QStringLiteral("id"));
    const QSet<QString> ids(idList.begin(), idList.end());
    QCOMPARE(ids.size(), idList.size());
    const QStringList targets = attributes(html, QStringLiteral("href")) + attributes(html, QStringLiteral("src"));
    QVERIFY(targets.size() >= 3 * 42);
    for (const QString &target : targets)
        QVERIFY2(target.startsWith(u'#') ? ids.contains(target.mid(1)) : QFile::exists(file(target)),
                 qPrintable(target));
}

void GalleryTest::indexSpeaksOfEveryPicture()
{
    const QString html = index();
    QCOMPARE(attributes(html, QStringLiteral("src")).size(), 2 * 42);
    const QStringList alternatives = attributes(html, QStringLiteral("alt"));
    QCOMPARE(alternatives.size(), 2 * 42);
    QVERIFY(!alternatives.contains(QString()));
    // The texts of the windows, in their languages.
    for (const char *const text :
         {"Eine neue Version des Einstellungsfelds ist verfügbar. Aktuelle Version: 1.10 Neue Version: 1.11",
          "[Mettre à jour]", "ダウンロード中 42% [中止]", "https://www.velmar.example/jp/ [OK]"})
        QVERIFY2(alternatives.filter(QString::fromUtf8(text)).size() == 1
                     || alternatives.filter(QString::fromUtf8(text)).size() == 2,
                 text);
    for (const QString &code : codes)
        QVERIFY2(html.contains(QStringLiteral(" lang=\"%1\"").arg(code)), qPrintable(code));
    QVERIFY(html.contains(QStringLiteral("<p class=\"title\" lang=\"de\">VELMAR – Neueste Informationen</p>")));
}

void GalleryTest::ownNewsAreShown()
{
    QJsonObject entry = feedtext::goodEntry();
    entry[QStringLiteral("messages")] = QJsonObject{{QStringLiteral("English"), QStringLiteral("<b>All & new</b>")},
                                                    {QStringLiteral("German"), QStringLiteral("Alles neu")}};
    entry[QStringLiteral("windows_software_version_minor")] = 3;
    entry[QStringLiteral("firmware_version_major")] = 7;
    const feedtext::Files files;
    const QString folder = files.path(QStringLiteral("deep/gallery"));
    const Outcome outcome = runPreview({QStringLiteral("--gallery"), folder, QStringLiteral("--feed"),
                                        files.write(feedtext::withEntry(entry), QStringLiteral("own.json"))});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    const QString html = read(folder + QStringLiteral("/index.html"));
    QVERIFY(html.contains(QStringLiteral("alt=\"All &amp; new [OK]")));
    QVERIFY(html.contains(QStringLiteral("alt=\"Alles neu [OK]")));
    QVERIFY(html.contains(QStringLiteral("own.json")));
    // An older program is not offered: the next one stands in for it. The newer firmware is offered as it is.
    QVERIFY(html.contains(QStringLiteral("Latest Version: 1.11")));
    QVERIFY(html.contains(QStringLiteral("Latest Version: 7.05")));
}

void GalleryTest::newsThatDoNotFitAreNamed()
{
    QJsonObject entry = feedtext::goodEntry();
    QJsonObject messages = entry[QStringLiteral("messages")].toObject();
    messages[QStringLiteral("French")] = QStringLiteral("un<br>deux<br>trois<br>quatre<br>cinq<br>six<br>sept<br>huit");
    entry[QStringLiteral("messages")] = messages;
    const feedtext::Files files;
    const QString folder = files.path(QStringLiteral("gallery"));
    const Outcome outcome = runPreview(
        {QStringLiteral("--gallery"), folder, QStringLiteral("--feed"), files.write(feedtext::withEntry(entry))});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.out.contains(QStringLiteral("cut: fr-news.png: un deux trois")), qPrintable(outcome.out));
    const QString html = read(folder + QStringLiteral("/index.html"));
    QVERIFY(html.contains(QStringLiteral("Does not fit: <q lang=\"fr\">un\ndeux")));
}

void GalleryTest::scaleMakesLargerPictures()
{
    const feedtext::Files files;
    const QString folder = files.path(QStringLiteral("gallery"));
    const Outcome outcome =
        runPreview({QStringLiteral("--gallery"), folder, QStringLiteral("--scale"), QStringLiteral("2")});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QCOMPARE(QImage(folder + QStringLiteral("/ja-news.png")).size(), QSize(1140, 320));
    // On the page they are as large as ever.
    QVERIFY(read(folder + QStringLiteral("/index.html"))
                .contains(QStringLiteral("<img src=\"ja-news.png\" width=\"570\" height=\"160\"")));
}

void GalleryTest::nothingIsContacted()
{
    // Whatever is asked for in the network comes here, for it is the user's proxy and the address in the settings.
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString address = QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort());
    const feedtext::Files files;
    PreviewProcess process;
    process.removeVariable(QStringLiteral("DISPLAY"));
    for (const char *const variable : {"http_proxy", "https_proxy", "all_proxy"})
        process.setVariable(QString::fromLatin1(variable), address);
    const QString settings = process.configFolder() + QStringLiteral("/VELMAR");
    QVERIFY(QDir().mkpath(settings));
    QFile file(settings + QStringLiteral("/KD-MXSeries.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[Update]\nJsonUrl=" + address.toUtf8() + '\n') > 0);
    file.close();

    process.start({QStringLiteral("--gallery"), files.path(QStringLiteral("gallery"))});
    QCOMPARE(process.finish().code, 0);
    QVERIFY(!server.hasPendingConnections());
}

void GalleryTest::badDocumentIsRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("no JSON") << QByteArray("{") << QStringLiteral("feed.json is no JSON: line 1, column 2: ");
    QTest::newRow("not UTF-8") << QByteArray("{\"a\": \"\xff\"}") << QStringLiteral("feed.json is not valid UTF-8.");
}

void GalleryTest::badDocumentIsRefused()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, complaint);
    const feedtext::Files files;
    const Outcome outcome = runPreview({QStringLiteral("--gallery"), files.path(QStringLiteral("gallery")),
                                        QStringLiteral("--feed"), files.write(content)});
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(complaint), qPrintable(outcome.err));
}

void GalleryTest::folderThatCannotBeWrittenIsAFailure()
{
    const feedtext::Files files;
    const QString file = files.write("in the way", QStringLiteral("gallery"));
    const Outcome outcome = runPreview({QStringLiteral("--gallery"), file});
    QCOMPARE(outcome.code, 2);
    QVERIFY2(outcome.err.contains(QStringLiteral("cannot be made")), qPrintable(outcome.err));

    const QString folder = files.path(QStringLiteral("second"));
    QVERIFY(QDir().mkpath(folder + QStringLiteral("/index.html")));
    QCOMPARE(runPreview({QStringLiteral("--gallery"), folder}).code, 1);

    // One picture among others that can be written.
    const QString third = files.path(QStringLiteral("third"));
    QVERIFY(QDir().mkpath(third + QStringLiteral("/en-progress.png")));
    QCOMPARE(runPreview({QStringLiteral("--gallery"), third}).code, 1);
}

QTEST_GUILESS_MAIN(GalleryTest)
#include "gallery_test.moc"
