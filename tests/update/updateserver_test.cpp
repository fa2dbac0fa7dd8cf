#include "updateserver.h"

#include <QJsonObject>
#include <QNetworkInterface>
#include <QRegularExpression>
#include <QSet>
#include <QTcpSocket>
#include <QTest>

#include <memory>

/// The server of the other tests: what their results rest on.
class UpdateServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server = std::make_unique<UpdateServer>(); }

    void hasAPortOfItsOwnForEachCertificate();
    void listensOnThisMachineOnly();
    void remembersWhatWasAsked();
    void givesThePattern_data();
    void givesThePattern();
    void givesNoFileFromElsewhere();
    void goesOnByStepsOnly();

private:
    static bool accepts(const QString &host, quint16 port);

    std::unique_ptr<UpdateServer> m_server;
};

bool UpdateServerTest::accepts(const QString &host, quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(host, port);
    return socket.waitForConnected();
}

void UpdateServerTest::hasAPortOfItsOwnForEachCertificate()
{
    QVERIFY(m_server->isRunning());
    QSet<quint16> ports;
    for (const char *const name : {"http", "https", "wrong-host", "expired", "self-signed", "untrusted"}) {
        const quint16 port = m_server->port(QLatin1String(name));
        QVERIFY2(accepts(QStringLiteral("127.0.0.1"), port), name);
        ports.insert(port);
    }
    QCOMPARE(ports.size(), 6);
    const quint16 refused = m_server->port(QStringLiteral("refused"));
    QVERIFY(refused != 0 && !accepts(QStringLiteral("127.0.0.1"), refused));
}

void UpdateServerTest::listensOnThisMachineOnly()
{
    for (const QHostAddress &address : QNetworkInterface::allAddresses()) {
        if (address != QHostAddress(QHostAddress::LocalHost))
            QVERIFY2(!accepts(address.toString(), m_server->port(QStringLiteral("http"))),
                     qPrintable(address.toString()));
    }
}

void UpdateServerTest::remembersWhatWasAsked()
{
    QCOMPARE(m_server->targets(), QStringList());
    m_server->content(QStringLiteral("/document/good?x=1"));
    m_server->content(QStringLiteral("/body"));
    QCOMPARE(m_server->targets(), (QStringList{QStringLiteral("/document/good?x=1"), QStringLiteral("/body")}));
    QCOMPARE(m_server->requests()[0][QStringLiteral("port")].toString(), QStringLiteral("http"));
    m_server->forgetRequests();
    QCOMPARE(m_server->targets(), QStringList());
}

void UpdateServerTest::givesThePattern_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    QTest::newRow("nothing") << "/body?size=0" << 0;
    QTest::newRow("more than a piece") << "/body?size=1048600" << 1'048'600;
    QTest::newRow("several pieces") << "/unsized?size=3000000" << 3'000'000;
    QTest::newRow("drop by drop") << "/drip?size=600&piece=7&pause=0" << 600;
}

void UpdateServerTest::givesThePattern()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    QVERIFY(m_server->content(path) == UpdateServer::body(size));
}

void UpdateServerTest::givesNoFileFromElsewhere()
{
    m_server->addFile(QStringLiteral("mine"), "content");
    QCOMPARE(m_server->content(QStringLiteral("/files/mine")), QByteArray("content"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("does not answer")));
    QCOMPARE(m_server->content(QStringLiteral("/files/../../../../../../etc/hostname")), QByteArray("No such file."));
}

void UpdateServerTest::goesOnByStepsOnly()
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_server->port(QStringLiteral("http")));
    socket.write("GET /stepped?size=4&pieces=2&name=x HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    QByteArray answer;
    const auto readUntil = [&](const QByteArray &end) {
        while (!answer.endsWith(end) && socket.waitForReadyRead())
            answer += socket.readAll();
        return answer.endsWith(end);
    };
    QTRY_COMPARE(m_server->targets().size(), 1);
    m_server->step(QStringLiteral("another"));
    QCOMPARE(socket.bytesAvailable(), 0);
    m_server->step(QStringLiteral("x"));
    QVERIFY(readUntil("\r\n\r\n"));
    m_server->step(QStringLiteral("x"));
    QVERIFY(readUntil(QByteArray("\r\n\r\n") + '\0' + '\1'));
    m_server->step(QStringLiteral("x"));
    QVERIFY(readUntil(QByteArray("\r\n\r\n") + '\0' + '\1' + '\2' + '\3'));
}

QTEST_GUILESS_MAIN(UpdateServerTest)
#include "updateserver_test.moc"
