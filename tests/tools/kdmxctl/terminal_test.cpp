#include "kdmxctlprocess.h"
#include "terminalprocess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

// kdmxctl in front of a person: questions, the progress bar, Ctrl-C, on a real terminal device.

namespace {

enum Code { Done = 0, Failed = 1, Interrupted = 130 };

constexpr unsigned short usual_columns = 80;

const char *const question = "Replace the unit's firmware with this image? [y/N] ";
const char *const warning = "Press Ctrl-C again to stop.";

} // namespace

class TerminalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void linkLinesDoNotFloodATerminal();
    void theQuestionIsAnswered_data();
    void theQuestionIsAnswered();
    void controlCAtTheQuestionSendsNothing();
    void waitingForTheAnswerDoesNotCountAsTime();
    void theBarGrowsOnOneLine_data();
    void theBarGrowsOnOneLine();
    void linesOnTheTerminalReplaceTheBar();
    void controlCWarnsThenStops();
    void theTerminalIsLeftAsItWas();

private:
    QString image() const { return m_folder.filePath(QStringLiteral("image")); }

    QStringList transfer(const char *options) const
    {
        return words("firmware") + words(options) + QStringList{image()};
    }

    QTemporaryDir m_folder;
};

void TerminalTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QFile file(image());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(3050, 'x'));
}

void TerminalTest::linkLinesDoNotFloodATerminal()
{
    TerminalProcess quiet(words("--virtual=stall rate"), usual_columns);
    QCOMPARE(quiet.finish(), int{Done});
    QCOMPARE(quiet.shown(), QByteArray("48000 Hz\r\n"));

    TerminalProcess asked(words("--virtual=stall --log - rate"), usual_columns);
    QCOMPARE(asked.finish(), int{Done});
    QVERIFY(asked.shown().contains("GetLastError() = 0x1f\r\n"));
}

void TerminalTest::theQuestionIsAnswered_data()
{
    QTest::addColumn<QByteArray>("keys");
    QTest::addColumn<int>("code");
    QTest::newRow("y") << QByteArray("y\n") << int{Done};
    QTest::newRow("yes") << QByteArray("yes\n") << int{Done};
    QTest::newRow("n") << QByteArray("n\n") << int{Failed};
    QTest::newRow("nothing") << QByteArray("\n") << int{Failed};
    QTest::newRow("something else") << QByteArray("yesterday\n") << int{Failed};
    QTest::newRow("end of input") << QByteArray("\x04") << int{Failed};
}

void TerminalTest::theQuestionIsAnswered()
{
    QFETCH(QByteArray, keys);
    QFETCH(int, code);
    TerminalProcess process(transfer("--virtual"), usual_columns);
    QVERIFY(process.await_text(question));
    QVERIFY(process.shown().contains("Size              3050 bytes\r\n"));
    process.type(keys.constData());
    QCOMPARE(process.finish(), code);
    QCOMPARE(process.shown().contains("Not confirmed. Nothing was sent."), code == Failed);
    QCOMPARE(process.shown().contains("The unit has confirmed the image."), code == Done);
    QCOMPARE(process.shown().contains(" of 3050 bytes"), code == Done);
}

void TerminalTest::controlCAtTheQuestionSendsNothing()
{
    TerminalProcess process(transfer("--virtual"), usual_columns);
    QVERIFY(process.await_text(question));
    QVERIFY(process.await_sleep());
    process.type("\x03");
    QCOMPARE(process.finish(), int{Interrupted});
    QVERIFY(process.shown().endsWith("\r\n\rkdmxctl: Interrupted. Nothing was sent.\r\n"));
}

void TerminalTest::waitingForTheAnswerDoesNotCountAsTime()
{
    TerminalProcess process(transfer("--virtual --timeout 5"), usual_columns);
    QVERIFY(process.await_text(question));
    // Longer than the command may take by itself.
    QTest::qSleep(5100);
    process.type("y\n");
    QCOMPARE(process.finish(), int{Done});
}

void TerminalTest::theBarGrowsOnOneLine_data()
{
    QTest::addColumn<int>("columns");
    for (const int columns : {200, 80, 40, 30, 20})
        QTest::addRow("%d columns", int{columns}) << columns;
}

void TerminalTest::theBarGrowsOnOneLine()
{
    QFETCH(int, columns);
    TerminalProcess process(transfer("--virtual=allowance=61,busy=1 --yes --json"),
                            static_cast<unsigned short>(columns));
    QCOMPARE(process.finish(), int{Done});
    const QByteArray &shown = process.shown();
    const qsizetype begin = shown.indexOf('\r', shown.indexOf("CRC-32")) + 2;
    const QByteArray bar = shown.mid(begin, shown.indexOf("\r\n{") - begin);
    QVERIFY(!bar.contains('\n'));
    const QByteArrayList pictures = bar.split('\r').mid(1);
    QVERIFY(pictures.size() > 3);
    for (const QByteArray &picture : pictures) {
        QVERIFY2(picture.size() < columns, picture.constData());
        QCOMPARE(picture.size(), pictures.first().size());
        QCOMPARE(picture.contains('['), columns > 30);
    }
    QVERIFY(pictures.last().contains("100 %  3050 of"));
    QVERIFY(!pictures.last().contains('-'));
}

void TerminalTest::linesOnTheTerminalReplaceTheBar()
{
    for (const char *const option : {"--log -", "--trace"}) {
        TerminalProcess process(transfer((QByteArray("--virtual --yes ") + option).constData()), usual_columns);
        QCOMPARE(process.finish(), int{Done});
        QVERIFY(process.shown().contains("kdmxctl: 100 %  3050 of 3050 bytes\r\n"));
        QVERIFY(!process.shown().contains("[#"));
    }
}

void TerminalTest::controlCWarnsThenStops()
{
    TerminalProcess process(transfer("--virtual=busy=1,allowance=61,busy*ever@80 --yes"), usual_columns);
    QVERIFY(process.await_text(" of 3050 bytes"));
    process.type("\x03");
    QVERIFY(process.await_text(warning));
    process.type("\x03");
    QCOMPARE(process.finish(), int{Interrupted});
    // The messages stand on lines of their own, not behind the bar.
    QVERIFY2(process.shown().contains(" of 3050 bytes^C\r\n\rkdmxctl: Stopping now leaves")
                 || process.shown().contains(" of 3050 bytes\r\n\rkdmxctl: Stopping now leaves"),
             process.shown().constData());
    QVERIFY2(process.shown().contains("\n\rkdmxctl: Interrupted. Sent: "), process.shown().constData());
}

void TerminalTest::theTerminalIsLeftAsItWas()
{
    TerminalProcess process(transfer("--virtual"), usual_columns);
    const termios before = process.settings();
    QVERIFY(process.await_text(question));
    QVERIFY(process.await_sleep());
    process.type("\x03");
    QCOMPARE(process.finish(), int{Interrupted});
    const termios after = process.settings();
    QCOMPARE(after.c_lflag, before.c_lflag);
    QCOMPARE(after.c_iflag, before.c_iflag);
    QCOMPARE(after.c_oflag, before.c_oflag);
    QVERIFY(std::memcmp(after.c_cc, before.c_cc, sizeof(after.c_cc)) == 0);
    QVERIFY(!process.shown().contains('\x1b'));
}

QTEST_GUILESS_MAIN(TerminalTest)
#include "terminal_test.moc"
