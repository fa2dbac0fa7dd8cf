// Files are written whole or not at all, whatever the body or the thread do.

#include "packagefile.h"

#include "environment.h"
#include "filecontent.h"
#include "packagebody.h"
#include "packagescene.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

using packagefile::Outcome;

class PackageFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void everySize_data();
    void everySize();
    void piecesAreSmall();
    void replacesALongerFile();
    void onlyWhatIsLeftOfTheBody();

    void bodyEndsEarly_data();
    void bodyEndsEarly();
    void cannotBeMade_data();
    void cannotBeMade();

    void threadIsToEnd();
    void text();

private:
    QString path(const QString &name = QStringLiteral("temp.exe")) const { return m_folder->filePath(name); }

    Outcome save(const QByteArray &content, const QString &fileName) const
    {
        PackageBody body(content, content.size());
        return packagefile::save(body, fileName);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void PackageFileTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void PackageFileTest::everySize_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size :
         {qsizetype(0), qsizetype(1), qsizetype(279), qsizetype(16'384), packagePiece - 1, packagePiece,
          packagePiece + 1, mebibyte - 1, mebibyte, mebibyte + 1, 3 * mebibyte, 3 * mebibyte + 5})
        QTest::addRow("%lld bytes", static_cast<long long>(size)) << size;
}

void PackageFileTest::everySize()
{
    QFETCH(const qsizetype, size);
    const QByteArray content = patternOf(size);
    QCOMPARE(save(content, path()), Outcome::Saved);
    QVERIFY(contentOf(path()) == content);
    QVERIFY(QFile::exists(path()));
}

void PackageFileTest::piecesAreSmall()
{
    PackageBody body(patternOf(5 * mebibyte), 5 * mebibyte);
    QCOMPARE(packagefile::save(body, path()), Outcome::Saved);
    QVERIFY2(body.largestRead <= packagePiece, qPrintable(QString::number(body.largestRead)));
}

void PackageFileTest::replacesALongerFile()
{
    QCOMPARE(save(patternOf(5000), path()), Outcome::Saved);
    QCOMPARE(save("short", path()), Outcome::Saved);
    QCOMPARE(contentOf(path()), QByteArray("short"));
}

void PackageFileTest::onlyWhatIsLeftOfTheBody()
{
    QBuffer body;
    body.setData("0123456789");
    QVERIFY(body.open(QIODevice::ReadOnly));
    body.seek(4);
    QCOMPARE(packagefile::save(body, path()), Outcome::Saved);
    QCOMPARE(contentOf(path()), QByteArray("456789"));
}

void PackageFileTest::bodyEndsEarly_data()
{
    QTest::addColumn<qsizetype>("there");
    QTest::addColumn<bool>("isError");
    QTest::newRow("with nothing") << qsizetype(0) << false;
    QTest::newRow("with nothing, as an error") << qsizetype(0) << true;
    QTest::newRow("in the first piece") << qsizetype(1000) << false;
    QTest::newRow("after two pieces") << 2 * packagePiece << false;
    QTest::newRow("after two pieces, as an error") << 2 * packagePiece << true;
}

void PackageFileTest::bodyEndsEarly()
{
    QFETCH(const qsizetype, there);
    QFETCH(const bool, isError);
    PackageBody body(patternOf(there), 3 * mebibyte);
    body.failsAtTheEnd = isError;
    QCOMPARE(packagefile::save(body, path()), Outcome::NotWritten);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::cannotBeMade_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no such folder") << QStringLiteral("absent/temp.exe");
    QTest::newRow("below a plain file") << QStringLiteral("plain/temp.exe");
    QTest::newRow("a folder") << QStringLiteral("folder");
    QTest::newRow("too long a name") << QString(300, u'x');
}

void PackageFileTest::cannotBeMade()
{
    QFETCH(const QString, name);
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("folder")));
    QCOMPARE(save("a file", path(QStringLiteral("plain"))), Outcome::Saved);
    const QStringList before = namesIn(m_folder->path());
    QCOMPARE(save("a body", path(name)), Outcome::NotOpened);
    QCOMPARE(packagefile::saveText("a text", path(name)), Outcome::NotOpened);
    QCOMPARE(namesIn(m_folder->path()), before);
    QCOMPARE(contentOf(path(QStringLiteral("plain"))), QByteArray("a file"));
}

void PackageFileTest::threadIsToEnd()
{
    Outcome outcome = Outcome::Saved;
    qint64 left = 0;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        PackageBody body(patternOf(3 * mebibyte), 3 * mebibyte);
        QThread::currentThread()->requestInterruption();
        outcome = packagefile::save(body, path());
        left = body.bytesAvailable();
    }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(outcome, Outcome::NotWritten);
    QVERIFY(left >= 3 * mebibyte - packagePiece);
    QVERIFY(!QFile::exists(path()));
}

void PackageFileTest::text()
{
    QCOMPARE(packagefile::saveText("one\ntwo\nthree", path()), Outcome::Saved);
    QCOMPARE(contentOf(path()), QByteArray("one" + environment::lineEnd() + "two" + environment::lineEnd() + "three"));
    QCOMPARE(packagefile::saveText({}, path()), Outcome::Saved);
    QVERIFY(QFile::exists(path()));
    QCOMPARE(contentOf(path()), QByteArray(""));
}

QTEST_GUILESS_MAIN(PackageFileTest)
#include "packagefile_test.moc"
