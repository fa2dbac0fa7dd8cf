#include "singleinstanceid.h"

#include <QRegularExpression>
#include <QTest>

class SingleInstanceIdTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isFitForNames_data();
    void isFitForNames();
    void isStable();
    void tellsApart_data();
    void tellsApart();
};

void SingleInstanceIdTest::isFitForNames_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("session");

    QTest::newRow("ordinary") << QStringLiteral("/usr/bin/panel") << QStringLiteral("1000");
    QTest::newRow("windows") << QStringLiteral("C:\\Program Files\\Panel\\panel.exe") << QStringLiteral("2");
    QTest::newRow("japanese") << QString::fromUtf8("/opt/設定パネル") << QStringLiteral("0");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("long") << QString(100000, u'x') << QStringLiteral("4294967295");
}

void SingleInstanceIdTest::isFitForNames()
{
    QFETCH(QString, path);
    QFETCH(QString, session);
    static const QRegularExpression pattern(QStringLiteral("^kdmx-[0-9a-f]{20}$"));

    const QString id = singleInstanceId(path, session);
    QVERIFY2(pattern.match(id).hasMatch(), qUtf8Printable(id));
    QCOMPARE(singleInstanceId(path, session), id);
}

// An older and a newer build of the panel must find each other.
void SingleInstanceIdTest::isStable()
{
    QCOMPARE(singleInstanceId(QStringLiteral("/usr/bin/panel"), QStringLiteral("1000")),
             QStringLiteral("kdmx-5a51b057fe342a80e0ee"));
}

void SingleInstanceIdTest::tellsApart_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("session");
    QTest::addColumn<bool>("same");

    const QString session = QStringLiteral("1");
    QTest::newRow("same") << QStringLiteral("/opt/a/panel") << session << true;
    QTest::newRow("other letter case") << QStringLiteral("/OPT/A/Panel") << session << true;
    QTest::newRow("other folder") << QStringLiteral("/opt/b/panel") << session << false;
    QTest::newRow("other name") << QStringLiteral("/opt/a/panel2") << session << false;
    QTest::newRow("other session") << QStringLiteral("/opt/a/panel") << QStringLiteral("2") << false;
    QTest::newRow("session moved into the path") << QStringLiteral("/opt/a/panel1") << QString() << false;
    QTest::newRow("path moved into the session") << QStringLiteral("/opt/a/pane") << QStringLiteral("l1") << false;
}

void SingleInstanceIdTest::tellsApart()
{
    QFETCH(QString, path);
    QFETCH(QString, session);
    QFETCH(bool, same);

    const QString reference = singleInstanceId(QStringLiteral("/opt/a/panel"), QStringLiteral("1"));
    QCOMPARE(singleInstanceId(path, session) == reference, same);
}

QTEST_APPLESS_MAIN(SingleInstanceIdTest)

#include "singleinstanceid_test.moc"
