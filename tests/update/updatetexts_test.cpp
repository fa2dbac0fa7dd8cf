// The table of texts against a second copy of it, in texts.tsv, that was not made from the first.

#include "updatetexts.h"

#include <QFile>
#include <QMap>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>

namespace {

/// A text of the second copy; there quotes keep the blanks at its ends visible.
struct Expected
{
    QString language;
    int field;
    QString text;
};

QList<Expected> expectedTexts()
{
    QFile file(QStringLiteral(KDMX_TEXTS));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<Expected> texts;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QStringList columns = line.split(u'\t');
        texts += {columns.at(0), columns.at(1).toInt(), columns.at(2).sliced(1).chopped(1)};
    }
    return texts;
}

int rowOf(const QString &language)
{
    const QStringList languages = {QStringLiteral("English"), QStringLiteral("French"),  QStringLiteral("Spanish"),
                                   QStringLiteral("German"),  QStringLiteral("Italian"), QStringLiteral("Japanese"),
                                   QStringLiteral("Chinese")};
    return static_cast<int>(languages.indexOf(language));
}

} // namespace

class UpdateTextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("expected");
        const QList<Expected> texts = expectedTexts();
        for (const Expected &text : texts)
            QTest::addRow("%s %d", qPrintable(text.language), text.field)
                << rowOf(text.language) << text.field << text.text;
    }

    void texts()
    {
        QFETCH(int, row);
        QFETCH(int, field);
        QFETCH(QString, expected);
        QCOMPARE(updateTexts.at(static_cast<size_t>(row)).at(static_cast<size_t>(field)), expected);
    }

    void secondCopyIsWhole()
    {
        QMap<int, int> fieldsOfRow;
        const QList<Expected> texts = expectedTexts();
        for (const Expected &text : texts)
            ++fieldsOfRow[rowOf(text.language)];
        QCOMPARE(fieldsOfRow.size(), updateTexts.size());
        QVERIFY(!fieldsOfRow.contains(-1));
        for (const int fields : std::as_const(fieldsOfRow))
            QCOMPARE(fields, 14);
        QCOMPARE(static_cast<int>(UpdateTextCount), 14);
    }

    void fieldsHaveTheirNumbers()
    {
        const UpdateTextRow &english = updateTexts[0];
        QCOMPARE(english[UpdateTextCancel], QStringLiteral("Cancel"));
        QCOMPARE(english[UpdateTextDontShowAgain], QStringLiteral("Do not show this message again"));
        QCOMPARE(english[UpdateTextTitle], QStringLiteral("VELMAR Update Information"));
        QCOMPARE(english[UpdateTextNewsTitle], QStringLiteral("VELMAR Latest Information"));
        QCOMPARE(english[UpdateTextDownloaded], QStringLiteral("<b>Download complete</b>"));
    }

    void rowOfLanguage_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<int>("row");
        QTest::newRow("English") << QLocale::English << 0;
        QTest::newRow("French") << QLocale::French << 1;
        QTest::newRow("Spanish") << QLocale::Spanish << 2;
        QTest::newRow("German") << QLocale::German << 3;
        QTest::newRow("Italian") << QLocale::Italian << 4;
        QTest::newRow("Japanese") << QLocale::Japanese << 5;
        QTest::newRow("Chinese") << QLocale::Chinese << 6;
        QTest::newRow("C") << QLocale::C << 0;
        QTest::newRow("any") << QLocale::AnyLanguage << 0;
    }

    void rowOfLanguage()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(int, row);
        QCOMPARE(updateTextRow(language), row);
    }

    void allOtherLanguagesReadEnglish()
    {
        int others = 0;
        for (int number = 0; number <= QLocale::LastLanguage; ++number) {
            const int row = updateTextRow(static_cast<QLocale::Language>(number));
            QVERIFY(row >= 0 && row < updateTextRowCount);
            others += row == 0 ? 1 : 0;
        }
        QCOMPARE(others, QLocale::LastLanguage + 1 - (updateTextRowCount - 1));
    }

    void noTextIsMissing()
    {
        for (const UpdateTextRow &row : updateTexts) {
            for (const QString &text : row)
                QVERIFY(!text.trimmed().isEmpty());
        }
    }

    void htmlIsClosed()
    {
        for (const UpdateTextRow &row : updateTexts) {
            for (const QString &tag : {QStringLiteral("b"), QStringLiteral("font"), QStringLiteral("a")}) {
                for (const QString &text : row) {
                    const auto opened = text.count(u'<' + tag + u'>') + text.count(u'<' + tag + u' ');
                    QCOMPARE(text.count(QStringLiteral("</") + tag + u'>'), opened);
                }
            }
        }
    }

    void errorEndsWithALinkThatShowsItsAddress()
    {
        for (size_t row = 0; row < updateTexts.size(); ++row) {
            QTextDocument document;
            document.setHtml(updateTexts.at(row)[UpdateTextError]);
            const QString edition = row == 5 ? QStringLiteral("jp/") : QStringLiteral("international/");
            const QString address = QStringLiteral("https://www.velmar.example/") + edition;
            QCOMPARE(document.toPlainText().section(u'\n', -1), address);
            const QTextCursor end = document.find(address);
            QVERIFY(!end.isNull());
            QCOMPARE(end.charFormat().anchorHref(), address);
        }
    }
};

QTEST_GUILESS_MAIN(UpdateTextsTest)
#include "updatetexts_test.moc"
