// The compiled-in resources, read back from the program itself.

#include "mainwindow.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QResource>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtEndian>

namespace {

QByteArray content(const QString &path)
{
    return QResource(path).uncompressedData();
}

quint32 bigEndian(const QByteArray &data, int offset)
{
    return qFromBigEndian<quint32>(data.constData() + offset);
}

quint16 littleEndian16(const QByteArray &data, int offset)
{
    return qFromLittleEndian<quint16>(data.constData() + offset);
}

struct Entry
{
    QString context;
    QString source;
    QString translation;
};

/// The entries of the compiled translation, decompiled by Qt's own tool.
QList<Entry> translationEntries()
{
    const QTemporaryDir folder;
    const QString compiled = folder.filePath(QStringLiteral("ja.qm"));
    const QString text = folder.filePath(QStringLiteral("ja.ts"));
    if (!QFile::copy(QStringLiteral(":/Resource/translate_ja.qm"), compiled))
        return {};
    if (QProcess::execute(QStringLiteral(KDMX_LCONVERT), {QStringLiteral("-i"), compiled, QStringLiteral("-o"), text})
        != 0)
        return {};
    QFile file(text);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<Entry> entries;
    QString context;
    QString source;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QStringLiteral("name"))
            context = xml.readElementText();
        else if (xml.name() == QStringLiteral("source"))
            source = xml.readElementText();
        else if (xml.name() == QStringLiteral("translation"))
            entries.append({context, source, xml.readElementText()});
    }
    return entries;
}

/// The Japanese text of the entry whose source holds this part.
QString translationOf(const QString &partOfSource)
{
    const QList<Entry> entries = translationEntries();
    for (const Entry &entry : entries) {
        if (entry.source.contains(partOfSource))
            return entry.translation;
    }
    return {};
}

} // namespace

class ResourcesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void compressionIsPinned_data()
    {
        QTest::addColumn<QResource::Compression>("compression");
        const auto none = QResource::NoCompression;
        const auto zlib = QResource::ZlibCompression;
        QTest::newRow(":/Resource/Back_363x302.png") << none;
        QTest::newRow(":/Resource/title_bg.png") << none;
        QTest::newRow(":/Resource/trans.png") << none;
        QTest::newRow(":/Resource/LICENSE.txt") << zlib;
        QTest::newRow(":/Resource/translate_ja.qm") << none;
        QTest::newRow(":/Resource/icon/KD-MX.ico") << zlib;
        QTest::newRow(":/Resource/icon/icon_128.png") << none;
        QTest::newRow(":/Resource/update/Download_250x100.png") << none;
        QTest::newRow(":/Resource/update/info_570x160_icon.png") << none;
    }

    void compressionIsPinned()
    {
        QFETCH(QResource::Compression, compression);
        const QResource resource(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(resource.isValid());
        QCOMPARE(resource.compressionAlgorithm(), compression);
    }

    void nothingElseIsCompiledIn()
    {
        QCOMPARE(QDir(QStringLiteral(":/Resource")).entryList(QDir::NoFilter, QDir::Name),
                 (QStringList{QStringLiteral("Back_363x302.png"), QStringLiteral("LICENSE.txt"), QStringLiteral("icon"),
                              QStringLiteral("title_bg.png"), QStringLiteral("trans.png"),
                              QStringLiteral("translate_ja.qm"), QStringLiteral("update")}));
        QCOMPARE(QDir(QStringLiteral(":/Resource/icon")).count(), 2U);
        QCOMPARE(QDir(QStringLiteral(":/Resource/update")).count(), 2U);
    }

    void imagesHaveTheirSizeAndPixelFormat_data()
    {
        QTest::addColumn<quint32>("width");
        QTest::addColumn<quint32>("height");
        QTest::addColumn<int>("colourType");
        const int rgb = 2;
        const int rgba = 6;
        QTest::newRow("Back_363x302.png") << 363U << 302U << rgb;
        QTest::newRow("title_bg.png") << 298U << 83U << rgb;
        QTest::newRow("trans.png") << 100U << 100U << rgb;
        QTest::newRow("icon/icon_128.png") << 128U << 128U << rgba;
        QTest::newRow("update/Download_250x100.png") << 250U << 100U << rgba;
        QTest::newRow("update/info_570x160_icon.png") << 570U << 160U << rgba;
    }

    void imagesHaveTheirSizeAndPixelFormat()
    {
        QFETCH(quint32, width);
        QFETCH(quint32, height);
        QFETCH(int, colourType);
        const QByteArray png = content(QStringLiteral(":/Resource/") + QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(png.startsWith("\x89PNG\r\n\x1a\n"));
        QCOMPARE(png.mid(12, 4), QByteArray("IHDR"));
        QCOMPARE(bigEndian(png, 16), width);
        QCOMPARE(bigEndian(png, 20), height);
        QCOMPARE(int(png.at(24)), 8);
        QCOMPARE(int(png.at(25)), colourType);
        QVERIFY(!QImage::fromData(png).isNull());
    }

    void neutralImageIsTransparentByColourKey()
    {
        const QByteArray png = content(QStringLiteral(":/Resource/trans.png"));
        const auto key = png.indexOf("tRNS");
        QVERIFY(key > 0);
        QCOMPARE(bigEndian(png, static_cast<int>(key) - 4), 6U);
        const QImage image = QImage::fromData(png);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixelColor(x, y).alpha(), 0);
        }
    }

    void iconHoldsItsTenImages()
    {
        const QByteArray ico = content(QStringLiteral(":/Resource/icon/KD-MX.ico"));
        QCOMPARE(littleEndian16(ico, 2), quint16(1));
        QCOMPARE(littleEndian16(ico, 4), quint16(10));
        const QList<int> sizes = {256, 192, 128, 96, 64, 48, 40, 32, 24, 16};
        for (int index = 0; index < sizes.size(); ++index) {
            const int entry = 6 + 16 * index;
            const int width = ico.at(entry) == 0 ? 256 : static_cast<quint8>(ico.at(entry));
            QCOMPARE(width, sizes.at(index));
            QCOMPARE(ico.at(entry + 1), ico.at(entry));
            QCOMPARE(littleEndian16(ico, entry + 6), quint16(32));
            const auto offset = qFromLittleEndian<qint32>(ico.constData() + entry + 12);
            const bool isPng = ico.mid(offset, 4) == QByteArray("\x89PNG");
            QCOMPARE(isPng, width == 256);
            if (!isPng)
                QCOMPARE(littleEndian16(ico, offset + 14), quint16(32));
        }
    }

    void licenseIsAsciiWithItsSections()
    {
        const QByteArray text = content(QStringLiteral(":/Resource/LICENSE.txt"));
        QVERIFY(std::all_of(text.begin(), text.end(), [](char byte) { return byte > 0; }));
        QCOMPARE(text.count('\n'), text.count("\r\n"));
        QVERIFY(text.endsWith("\r\n"));
        const auto first = text.indexOf("\n1. BSD license\r\n");
        const auto second = text.indexOf("\n2. MIT license\r\n");
        const auto third = text.indexOf("\n3. OpenSSL and SSLeay licenses\r\n");
        QVERIFY(0 < first && first < second && second < third);
    }

    void translationHoldsThirtyEntriesNineTranslated()
    {
        const QList<Entry> entries = translationEntries();
        QCOMPARE(entries.size(), 30);
        int translated = 0;
        QStringList informationBox;
        for (const Entry &entry : entries) {
            if (!entry.translation.isEmpty())
                ++translated;
            if (entry.context == QStringLiteral("InformationBox"))
                informationBox += entry.source;
            else
                QCOMPARE(entry.context, QStringLiteral("MainWindow"));
        }
        QCOMPARE(translated, 9);
        informationBox.sort();
        QCOMPARE(informationBox,
                 (QStringList{QStringLiteral("Do not show the same message again"), QStringLiteral("Form"),
                              QStringLiteral("Update later"), QStringLiteral("Update now")}));
    }

    void plainTextsAreTranslatedOrKeptInEnglish_data()
    {
        QTest::addColumn<QString>("shown");
        QTest::newRow("Buffer Size") << "バッファサイズ";
        QTest::newRow("FAQs") << "FAQページ";
        QTest::newRow("Help") << "ヘルプ";
        QTest::newRow("Latency") << "入力遅延";
        QTest::newRow("License") << "ライセンス";
        QTest::newRow("Product Information") << "製品トップページ";
        for (const char *const english :
             {"         64 Samples", "       128 Samples", "       256 Samples", "       512 Samples",
              "     1024 Samples", "     2048 Samples", "- About...", "- KD-MX2 Web Site", "- Update", "32 bit float",
              "Audio Interface", "File Missing!", "OFF", "ON", "VELMAR KD-MX Series",
              "There is a possibility that the file has been moved or deleted."})
            QTest::newRow(english) << QString::fromLatin1(english);
    }

    void plainTextsAreTranslatedOrKeptInEnglish()
    {
        QFETCH(QString, shown);
        const QString source = QString::fromLatin1(QTest::currentDataTag());
        const QList<Entry> entries = translationEntries();
        QVERIFY(
            std::any_of(entries.begin(), entries.end(), [&](const Entry &entry) { return entry.source == source; }));
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral("translate_ja_JP"), QStringLiteral(":/Resource")));
        const QString translated = translator.translate("MainWindow", qUtf8Printable(source));
        QCOMPARE(translated.isEmpty() ? source : translated, shown);
    }

    void richTextsAreTheFormsOwn()
    {
        QFile form(QStringLiteral(KDMX_FORM));
        QVERIFY(form.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&form);
        QStringList richTexts;
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QStringLiteral("string")) {
                const QString text = xml.readElementText();
                if (text.startsWith(QStringLiteral("<!DOCTYPE")))
                    richTexts += text;
            }
        }
        QCOMPARE(richTexts.size(), 3);
        QStringList inFile;
        const QList<Entry> entries = translationEntries();
        for (const Entry &entry : entries) {
            if (entry.source.startsWith(QStringLiteral("<!DOCTYPE")))
                inFile += entry.source;
        }
        QCOMPARE(inFile.size(), 4);
        for (const QString &text : richTexts)
            QVERIFY2(inFile.removeAll(text) == 1, qPrintable(text));
        const QString firmwareNote = inFile.first();
        QCOMPARE(
            translationOf(QStringLiteral("DAW application")),
            QStringLiteral(
                "お使いになるDAWソフトウェアが32 bit float形式に対応していることを確認してから、ご利用ください。"));
        QCOMPARE(translationOf(QStringLiteral("The lower the latency")),
                 QStringLiteral(
                     "設定値が小さいほど、オーディオ信号の遅れが小さくなりますが、パソコンの高速処理が要求されます。"));
        QVERIFY(translationOf(firmwareNote).contains(QStringLiteral("1.30")));
        QVERIFY(inFile.first().contains(QStringLiteral("1.30")) && inFile.first().contains(QStringLiteral("1.10")));
    }
};

QTEST_GUILESS_MAIN(ResourcesTest)
#include "resources_test.moc"
