#include "newstext.h"

#include <QTest>

namespace {

QString many(int count, const char *tag, const char *rest = "")
{
    return QString::fromLatin1(tag).repeated(count) + QString::fromLatin1(rest);
}

void addRow(const char *name, const QString &message, const QString &text = {})
{
    QTest::newRow(name) << message << text;
}

} // namespace

/// Which news are shown as they are, and what is left of the others.
class NewsTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordinaryNewsStayAsTheyAre_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("text");
        addRow("none", {});
        addRow("text", QStringLiteral("One & two &lt; three"));
        addRow("simple", QStringLiteral("<b>New</b><br>Read <a href=\"https://a.example/\">more</a>."));
        addRow("a table", QStringLiteral("<table><tr><td>1.10</td><td>now</td></tr></table>"));
        addRow("four tables", many(4, "<TABLE>"));
        addRow("a table and 100 tags", QStringLiteral("<table>") + many(99, "<tr>"));
        addRow("a few wide cells", QStringLiteral("<table>") + many(9, "<tr><td colspan=\"9\">x"));
        addRow("2000 tags", many(2000, "<b>"));
        addRow("65536 letters", QString(65'536, u'x'));
        addRow("a word about tables", QStringLiteral("A colspan of ") + many(200, "<i>3</i>"));
    }

    void ordinaryNewsStayAsTheyAre()
    {
        QFETCH(QString, message);
        QCOMPARE(newstext::shown(message), message);
    }

    void heavyNewsLoseTheirMarkup_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("text");
        addRow("five tables", many(5, "<table>", "&amp; more"), QStringLiteral("&amp; more"));
        addRow("other letters", many(5, "< TABLE border=1 >", "x"), QStringLiteral("x"));
        addRow("a table and 101 tags", QStringLiteral("<table>") + many(100, "<tr>", "x"), QStringLiteral("x"));
        addRow("rows without a table", many(101, "<tr>", "x"), QStringLiteral("x"));
        addRow("many wide cells", QStringLiteral("<table>") + many(10, "<td colspan=9>", "x"), QStringLiteral("x"));
        addRow("wide cell", QStringLiteral("<table><tr><td colspan=20480>x"), QStringLiteral("x"));
        addRow("high cell", QStringLiteral("<table><tr><td ROWSPAN='20480'>x"), QStringLiteral("x"));
        addRow("2001 tags", many(2001, "<b>", "x"), QStringLiteral("x"));
        addRow("tag without an end", many(2001, "<b>", "x <i"), QStringLiteral("x &lt;i"));
        addRow("65537 letters", QString(65'537, u'x'), QString(65'536, u'x'));
        addRow("cut in a tag", QString(65'535, u'x') + QStringLiteral("<b>"),
               QString(65'535, u'x') + QStringLiteral("&lt;"));
    }

    void heavyNewsLoseTheirMarkup()
    {
        QFETCH(QString, message);
        QFETCH(QString, text);
        QCOMPARE(newstext::shown(message).trimmed(), text);
    }

    void wordsStayApart()
    {
        const QString message = many(2001, "<p>", "One<br>two");
        QCOMPARE(newstext::shown(message).trimmed(), QStringLiteral("One two"));
    }
};

QTEST_GUILESS_MAIN(NewsTextTest)
#include "newstext_test.moc"
