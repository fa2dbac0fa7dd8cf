#include "messageframe.h"

#include <QTest>

class MessageFrameTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void layout();
    void refusesLongText();
    void missingBytes_data();
    void missingBytes();
    void replacesBrokenText();
};

void MessageFrameTest::roundTrip_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << QString();
    QTest::newRow("word") << QStringLiteral("show");
    QTest::newRow("japanese") << QString::fromUtf8("設定パネル");
    QTest::newRow("zero inside") << QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b");
    QTest::newRow("longest") << QString(messageframe::maximumTextSize, u'x');
}

void MessageFrameTest::roundTrip()
{
    QFETCH(QString, text);

    const QByteArray frame = messageframe::fromText(text);
    QVERIFY(!frame.isNull());
    QCOMPARE(messageframe::missingBytes(frame), 0);
    QCOMPARE(messageframe::toText(frame), text);
}

void MessageFrameTest::layout()
{
    QCOMPARE(messageframe::fromText(QString::fromUtf8("é!")), QByteArray("\0\0\0\3\xc3\xa9!", 7));
}

void MessageFrameTest::refusesLongText()
{
    QVERIFY(messageframe::fromText(QString(messageframe::maximumTextSize + 1, u'x')).isNull());
    QVERIFY(messageframe::fromText(QString(messageframe::maximumTextSize, QChar(u'\u00e9'))).isNull());
}

void MessageFrameTest::missingBytes_data()
{
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<int>("missing");

    QTest::newRow("nothing") << QByteArray() << 4;
    QTest::newRow("part of the length") << QByteArray("\0\0\0", 3) << 1;
    QTest::newRow("length") << QByteArray("\0\0\1\2", 4) << 258;
    QTest::newRow("part of the text") << QByteArray("\0\0\0\3ab", 6) << 1;
    QTest::newRow("empty text") << QByteArray("\0\0\0\0", 4) << 0;
    QTest::newRow("longest") << QByteArray("\0\1\0\0", 4) << 65536;
    QTest::newRow("one too long") << QByteArray("\0\1\0\1", 4) << -1;
    QTest::newRow("sign bit") << QByteArray("\x80\0\0\0", 4) << -1;
    QTest::newRow("all bits") << QByteArray("\xff\xff\xff\xff", 4) << -1;
}

void MessageFrameTest::missingBytes()
{
    QFETCH(QByteArray, received);
    QFETCH(int, missing);

    QCOMPARE(messageframe::missingBytes(received), missing);
}

void MessageFrameTest::replacesBrokenText()
{
    const QString expected = QStringLiteral("a") + QChar(QChar::ReplacementCharacter);
    QCOMPARE(messageframe::toText(QByteArray("\0\0\0\2a\xff", 6)), expected);
}

QTEST_APPLESS_MAIN(MessageFrameTest)

#include "messageframe_test.moc"
