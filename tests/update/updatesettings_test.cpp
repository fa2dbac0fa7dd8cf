#include "updatesettings.h"

#include "newstext.h"
#include "storedsettings.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString group = QStringLiteral("Update");

QString storedValue(const QString &key)
{
    return stored::value(stored::panelFile(), group, key);
}

} // namespace

class UpdateSettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_folder.path()));
    }

    void init()
    {
        stored::clear();
        QFile::remove(folder());
    }

    void keys()
    {
        QCOMPARE(updatesettings::jsonUrl, QStringLiteral("JsonUrl"));
        QCOMPARE(updatesettings::softDialog, QStringLiteral("SoftDialog"));
        QCOMPARE(updatesettings::firmDialog, QStringLiteral("FirmDialog"));
        QCOMPARE(updatesettings::infoDialog, QStringLiteral("InfoDialog"));
    }

    void nothingStoredReadsAsEmpty_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::newRow("no file") << QByteArray();
        QTest::newRow("empty value") << QByteArray("[Update]\nSoftDialog=\n");
        QTest::newRow("other key") << QByteArray("[Update]\nFirmDialog=1.11\n");
        QTest::newRow("other group") << QByteArray("[PopupMessage]\nSoftDialog=1.11\n");
        QTest::newRow("top level") << QByteArray("[General]\nSoftDialog=1.11\n");
        QTest::newRow("rubbish") << QByteArray("\xff\xfe[[[\n==\n");
    }

    void nothingStoredReadsAsEmpty()
    {
        QFETCH(QByteArray, file);
        if (!file.isEmpty())
            stored::write(stored::panelFile(), file);
        QCOMPARE(updatesettings::read(updatesettings::softDialog), QString());
    }

    void storedValuesAreRead()
    {
        stored::write(stored::panelFile(),
                      "[PopupMessage]\nWakeUp=false\n\n[Update]\nJsonUrl=http://127.0.0.1:8080/a.json?b=c\n"
                      "SoftDialog=1.11\nFirmDialog=1.02\nInfoDialog=\"<b>News, \\\"quoted\\\"</b>\"\n");
        QCOMPARE(updatesettings::read(updatesettings::jsonUrl), QStringLiteral("http://127.0.0.1:8080/a.json?b=c"));
        QCOMPARE(updatesettings::read(updatesettings::softDialog), QStringLiteral("1.11"));
        QCOMPARE(updatesettings::read(updatesettings::firmDialog), QStringLiteral("1.02"));
        QCOMPARE(updatesettings::read(updatesettings::infoDialog), QStringLiteral("<b>News, \"quoted\"</b>"));
    }

    void valuesAreStoredInTheGroup()
    {
        updatesettings::write(updatesettings::softDialog, QStringLiteral("1.11"));
        updatesettings::write(updatesettings::firmDialog, QStringLiteral("1.02"));
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QStringLiteral("1.11"));
        QCOMPARE(storedValue(QStringLiteral("FirmDialog")), QStringLiteral("1.02"));
        updatesettings::write(updatesettings::softDialog, QStringLiteral("1.12"));
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QStringLiteral("1.12"));
        QCOMPARE(storedValue(QStringLiteral("FirmDialog")), QStringLiteral("1.02"));
    }

    void otherGroupsStayAsTheyAre()
    {
        stored::write(stored::panelFile(), "[PopupMessage]\nWakeUp=false\n\n[Update]\nJsonUrl=http://a/\n");
        updatesettings::write(updatesettings::softDialog, QStringLiteral("1.11"));
        QCOMPARE(stored::value(stored::panelFile(), QStringLiteral("PopupMessage"), QStringLiteral("WakeUp")),
                 QStringLiteral("false"));
        QCOMPARE(storedValue(QStringLiteral("JsonUrl")), QStringLiteral("http://a/"));
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QStringLiteral("1.11"));
    }

    void newsComeBackAsTheyWere_data()
    {
        QTest::addColumn<QString>("news");
        QTest::newRow("html") << "<a href=\"https://a.example/?x=1&amp;y=2\">A</a>, <b>b</b>; c = d\n\te\\f % g";
        QTest::newRow("japanese") << "最新情報「KD-MX」のお知らせ";
        QTest::newRow("outside the basic plane") << QString::fromUtf8("\xf0\x9f\x8e\x9b");
        QTest::newRow("like a value of another type") << "@Invalid()";
        QTest::newRow("an at sign") << "@ home";
        QTest::newRow("blanks at both ends") << "  news  ";
        // All that is shown is remembered.
        QTest::newRow("the most letters") << QString(newstext::mostLetters, u'あ');
    }

    void newsComeBackAsTheyWere()
    {
        QFETCH(QString, news);
        updatesettings::write(updatesettings::infoDialog, news);
        QCOMPARE(updatesettings::read(updatesettings::infoDialog), news);
        QVERIFY(!QFile::exists(stored::panelFile() + QStringLiteral(".bad")));
    }

    void newsThatWouldSpoilTheFileAreLeftOut_data()
    {
        QTest::addColumn<qsizetype>("letters");
        QTest::newRow("one letter more than is shown") << newstext::mostLetters + 1;
        QTest::newRow("far too many") << qsizetype(2'000'000);
    }

    void newsThatWouldSpoilTheFileAreLeftOut()
    {
        QFETCH(qsizetype, letters);
        updatesettings::write(updatesettings::softDialog, QStringLiteral("1.11"));
        updatesettings::write(updatesettings::infoDialog, QString(letters, u'x'));
        QCOMPARE(updatesettings::read(updatesettings::infoDialog), QString());
        QCOMPARE(updatesettings::read(updatesettings::softDialog), QStringLiteral("1.11"));
    }

    void unwritableFolder()
    {
        // A file where the folder should be: nobody can write below it, not even an administrator.
        stored::clear();
        QFile obstacle(folder());
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        obstacle.close();
        updatesettings::write(updatesettings::softDialog, QStringLiteral("1.11"));
        QCOMPARE(updatesettings::read(updatesettings::softDialog), QString());
        QVERIFY(obstacle.exists());
        QCOMPARE(obstacle.size(), 0);
    }

private:
    static QString folder() { return QFileInfo(stored::panelFile()).absolutePath(); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(UpdateSettingsTest)
#include "updatesettings_test.moc"
