#include "updatesoftware.h"

#include "localserver.h"
#include "realinput.h"
#include "servicelog.h"
#include "storedsettings.h"
#include "updatesoftwareprobe.h"
#include "updatetexts.h"

#include <QCheckBox>
#include <QJsonArray>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QThread>

#include <memory>
#include <optional>

namespace {

// Nobody listens there.
const QString refusedUrl = QStringLiteral("http://127.0.0.1:1/");

const QString kdmx4 = QStringLiteral("KD-MX4");

QString storedValue(const QString &key)
{
    return stored::value(stored::panelFile(), QStringLiteral("Update"), key);
}

/// Settings with an address for the document, and further lines of the group.
void storeUpdate(const QByteArray &lines = {}, const QString &url = refusedUrl)
{
    stored::write(stored::panelFile(), "[Update]\nJsonUrl=" + url.toUtf8() + '\n' + lines);
}

QString documentOf(const QJsonObject &entry)
{
    const QJsonObject document{{QStringLiteral("Corvo9_version1"), entry}};
    return QString::fromUtf8(QJsonDocument(document).toJson());
}

QJsonObject versions(const QJsonValue &softwareMajor, const QJsonValue &softwareMinor,
                     const QJsonValue &firmwareMajor = 0, const QJsonValue &firmwareMinor = 0)
{
    return {{QStringLiteral("windows_software_version_major"), softwareMajor},
            {QStringLiteral("windows_software_version_minor"), softwareMinor},
            {QStringLiteral("firmware_version_major"), firmwareMajor},
            {QStringLiteral("firmware_version_minor"), firmwareMinor}};
}

/// An entry with news, given as pairs of a language's English name and a text, and nothing newer.
QJsonObject news(std::initializer_list<std::pair<QString, QJsonValue>> messages)
{
    return {{QStringLiteral("messages"), QJsonObject(messages)}};
}

QJsonObject newsInEnglish(const QString &text)
{
    return news({{QStringLiteral("English"), text}});
}

QStringList numbersLogged(const QString &product, int nowMajor, int nowMinor, int netMajor, int netMinor)
{
    return {
        product + QStringLiteral(" nowMajor %1").arg(nowMajor), product + QStringLiteral(" nowMinor %1").arg(nowMinor),
        product + QStringLiteral(" netMajor %1").arg(netMajor), product + QStringLiteral(" netMinor %1").arg(netMinor)};
}

QStringList softwareLogged(int netMajor, int netMinor, const QStringList &rest)
{
    return numbersLogged(QStringLiteral("Sofware"), 1, 10, netMajor, netMinor) + rest;
}

QString plainText(const InformationBox &box)
{
    return box.ui.textMessage->toPlainText();
}

/// A click on the check box as a user makes it.
void check(const InformationBox &box)
{
    QCheckBox *const checkBox = box.ui.dontShowCheckBox;
    realinput::click(checkBox, QPoint(8, checkBox->height() / 2));
    QTRY_VERIFY(checkBox->isChecked());
}

} // namespace

/// The decisions: documents, offers, news, answers and what is remembered of them.
class UpdateSoftwareTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QLocale::setDefault(QLocale(QLocale::English));
        stored::clear();
        storeUpdate();
        m_log = std::make_unique<ServiceLog>();
        restart();
    }

    void cleanup()
    {
        m_probe.reset();
        m_service.reset();
        m_log.reset();
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void beginsWithoutAnything()
    {
        QCOMPARE(m_probe->updateStage(), 0);
        QVERIFY(!m_service->updateOffered());
        QVERIFY(!m_probe->softwareBox().isVisible());
        QVERIFY(!m_probe->firmwareBox().isVisible());
        QVERIFY(!m_probe->newsBox().isVisible());
        QVERIFY(!m_probe->errorBox().isVisible());
        QCOMPARE(m_probe->downloadWindow(), nullptr);
        QCOMPARE(m_probe->workerThread()->priority(), QThread::InheritPriority);
        QCOMPARE(m_probe->information().thread(), m_probe->workerThread());
        QCOMPARE(ServiceLog::take(), QStringList());
        m_probe.reset();
        m_service.reset();
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("end")});
    }

    void fetchedDocumentIsActedOn()
    {
        LocalServer server;
        server.serve(QStringLiteral("/feed.json"), documentOf(versions(1, 11)).toUtf8());
        storeUpdate({}, server.url(QStringLiteral("/feed.json")));
        restart();
        QTRY_VERIFY(m_probe->softwareBox().isVisible());
        QCOMPARE(ServiceLog::take(), softwareLogged(1, 11, {QStringLiteral("Software update start")}));
        QVERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: ") + server.url(QStringLiteral("/feed.json"))));
    }

    void failedFetchIsSilent()
    {
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: end of replyFinished")));
        QVERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: jason dwonload error")));
        QCOMPARE(ServiceLog::take(), QStringList());
        QCOMPARE(m_probe->updateStage(), 0);
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("checkFirm jObj none")});
    }

    // ---- The software -----------------------------------------------------------------------------------------------

    void software_data()
    {
        QTest::addColumn<QJsonObject>("entry");
        QTest::addColumn<QByteArray>("declined");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QString>("latest");
        QTest::addColumn<bool>("shown");

        const QStringList none{QStringLiteral("Software update none")};
        const QStringList start{QStringLiteral("Software update start")};
        const auto hidden = [&](const QString &declined) {
            return start + QStringList{QStringLiteral("Software update Dialog: not displayed: ini == ") + declined};
        };
        QTest::newRow("same") << versions(1, 10) << QByteArray() << softwareLogged(1, 10, none) << "" << false;
        QTest::newRow("minor of one digit")
            << versions(1, 9) << QByteArray() << softwareLogged(1, 9, none) << "" << false;
        QTest::newRow("next minor") << versions(1, 11) << QByteArray() << softwareLogged(1, 11, start) << "1.11"
                                    << true;
        QTest::newRow("next major") << versions(2, 0) << QByteArray() << softwareLogged(2, 0, start) << "2.00" << true;
        QTest::newRow("hundred is ten") << versions(1, 100) << QByteArray() << softwareLogged(1, 10, none) << ""
                                        << false;
        QTest::newRow("whole minor shown")
            << versions(1, 110) << QByteArray() << softwareLogged(1, 11, start) << "1.110" << true;
        QTest::newRow("two-digit major") << versions(25, 3) << QByteArray() << softwareLogged(2, 3, start) << "25.03"
                                         << true;
        QTest::newRow("negative") << versions(-1, -5) << QByteArray() << softwareLogged(0, -5, none) << "" << false;
        QTest::newRow("texts") << versions(QStringLiteral("2"), QStringLiteral("50")) << QByteArray()
                               << softwareLogged(0, 0, none) << "" << false;
        QTest::newRow("fraction") << versions(2.5, 1) << QByteArray() << softwareLogged(0, 1, none) << "" << false;
        QTest::newRow("no keys") << QJsonObject{{QStringLiteral("a"), 1}} << QByteArray() << softwareLogged(0, 0, none)
                                 << "" << false;
        QTest::newRow("no entry") << QJsonObject() << QByteArray() << softwareLogged(0, 0, none) << "" << false;

        QTest::newRow("declined") << versions(1, 11) << QByteArray("1.11")
                                  << softwareLogged(1, 11, hidden(QStringLiteral("1.11"))) << "1.11" << false;
        QTest::newRow("declined before") << versions(1, 12) << QByteArray("1.11") << softwareLogged(1, 12, start)
                                         << "1.12" << true;
        QTest::newRow("later declined") << versions(1, 11) << QByteArray("1.12")
                                        << softwareLogged(1, 11, hidden(QStringLiteral("1.12"))) << "1.11" << false;
        QTest::newRow("later major declined")
            << versions(1, 99) << QByteArray("2.00") << softwareLogged(1, 99, hidden(QStringLiteral("2.00"))) << "1.99"
            << false;
        QTest::newRow("earlier major declined")
            << versions(2, 0) << QByteArray("1.99") << softwareLogged(2, 0, start) << "2.00" << true;
        QTest::newRow("numbers, not texts")
            << versions(1, 110) << QByteArray("1.11") << softwareLogged(1, 11, hidden(QStringLiteral("1.11")))
            << "1.110" << false;
        QTest::newRow("nothing declined")
            << versions(1, 11) << QByteArray("") << softwareLogged(1, 11, start) << "1.11" << true;
        QTest::newRow("rubbish declined")
            << versions(1, 11) << QByteArray("never") << softwareLogged(1, 11, start) << "1.11" << true;
        QTest::newRow("nothing newer, though declined")
            << versions(1, 10) << QByteArray("1.05") << softwareLogged(1, 10, none) << "" << false;
    }

    void software()
    {
        QFETCH(QJsonObject, entry);
        QFETCH(QByteArray, declined);
        QFETCH(QString, latest);
        QFETCH(bool, shown);
        storeUpdate("SoftDialog=" + declined + '\n');
        m_service->saveInformation(documentOf(entry));
        QTEST(ServiceLog::take(), "log");
        QCOMPARE(m_probe->updateEntry(), entry);
        QCOMPARE(m_probe->latestSoftwareVersion(), latest);
        QCOMPARE(m_probe->softwareBox().isVisible(), shown);
        QCOMPARE(m_probe->updateStage(), shown ? 0 : 2);
        QCOMPARE(m_service->updateOffered(), !shown && !latest.isEmpty());
        QVERIFY(!m_probe->firmwareBox().isVisible());
        QVERIFY(!m_probe->newsBox().isVisible());
        if (shown)
            QCOMPARE(plainText(m_probe->softwareBox()),
                     QStringLiteral("The newest version of the Settings Panel has been released.\n\n"
                                    "Current Version: 1.10\nLatest Version: ")
                         + latest);
    }

    void badDocuments_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << "";
        QTest::newRow("page") << "<!DOCTYPE html><html><body>Service unavailable</body></html>";
        QTest::newRow("cut short") << R"({"Corvo9_version1": {"windows_software_version_major": 9)";
        QTest::newRow("array") << R"([{"windows_software_version_major": 9}])";
        QTest::newRow("other key") << R"({"Corvo9_version2": {"windows_software_version_major": 9}})";
        QTest::newRow("without entry") << R"({"windows_software_version_major": 9})";
        QTest::newRow("entry of another type") << R"({"Corvo9_version1": 9})";
        QTest::newRow("deep") << QString(200'000, u'[');
        QTest::newRow("null character") << QString(1, QChar::Null);
        QTest::newRow("half a character") << QString(1, QChar(0xd83c));
    }

    void badDocuments()
    {
        QFETCH(QString, text);
        m_service->saveInformation(documentOf(versions(1, 11)));
        m_service->closeDialogs();
        ServiceLog::forget();

        // It takes the place of the one before all the same.
        m_service->saveInformation(text);
        QCOMPARE(ServiceLog::take(), softwareLogged(0, 0, {QStringLiteral("Software update none")}));
        QVERIFY(m_probe->updateEntry().isEmpty());
        QCOMPARE(m_probe->updateStage(), 2);
        QVERIFY(!m_probe->softwareBox().isVisible());
        QVERIFY(!m_probe->newsBox().isVisible());
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("checkFirm jObj none")});
    }

    void softwareLater_data()
    {
        QTest::addColumn<bool>("checked");
        QTest::newRow("unchecked") << false;
        QTest::newRow("checked") << true;
    }

    void softwareLater()
    {
        QFETCH(bool, checked);
        const InformationBox &box = m_probe->softwareBox();
        m_service->saveInformation(documentOf(versions(1, 11)));
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->softwareBox()));
        ServiceLog::forget();
        if (checked)
            check(box);
        realinput::click(box.ui.noButton);
        QTRY_VERIFY(!box.isVisible());
        QCOMPARE(m_probe->updateStage(), 2);
        QVERIFY(m_service->updateOffered());
        QStringList expected{QStringLiteral("Software update cancel")};
        if (checked)
            expected << QStringLiteral("softCheckBox = Checked");
        QCOMPARE(ServiceLog::take(), expected);
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), checked ? QStringLiteral("1.11") : QString());

        restart();
        m_service->saveInformation(documentOf(versions(1, 11)));
        QCOMPARE(m_probe->softwareBox().isVisible(), !checked);
        m_service->saveInformation(documentOf(versions(1, 12)));
        QVERIFY(m_probe->softwareBox().isVisible());
    }

    void wholeMinorIsStored()
    {
        m_service->saveInformation(documentOf(versions(1, 110)));
        m_probe->softwareBox().ui.dontShowCheckBox->setChecked(true);
        m_service->cancelSoftware();
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QStringLiteral("1.110"));
    }

    void checkBoxKeepsItsState()
    {
        m_service->saveInformation(documentOf(versions(1, 11)));
        m_probe->softwareBox().ui.dontShowCheckBox->setChecked(true);
        m_service->closeDialogs();
        m_service->saveInformation(documentOf(versions(1, 12)));
        QVERIFY(m_probe->softwareBox().ui.dontShowCheckBox->isChecked());
        QVERIFY(!m_probe->firmwareBox().ui.dontShowCheckBox->isChecked());
    }

    void acceptedSoftwareIsAskedFor_data() { languagesAndEditions(); }

    void acceptedSoftwareIsAskedFor()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(QString, edition);
        // Left waiting, so nothing but the request comes of it.
        const LocalServer server;
        QJsonObject entry = versions(1, 11);
        entry.insert(QStringLiteral("windows_software_url_ja"), server.url(QStringLiteral("/software_ja.exe")));
        entry.insert(QStringLiteral("windows_software_url_en"), server.url(QStringLiteral("/software_en.exe")));
        QSignalSpy readied(m_service.get(), &UpdateSoftware::readiedDownloadFile);

        m_service->saveInformation(documentOf(entry));
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->softwareBox()));
        check(m_probe->softwareBox());
        ServiceLog::forget();
        // What counts is the locale at the click.
        QLocale::setDefault(QLocale(language));
        realinput::click(m_probe->softwareBox().ui.okButton);
        QTRY_COMPARE(readied.count(), 1);
        QCOMPARE(readied.first().first().toString(), server.url(QStringLiteral("/software_%1.exe").arg(edition)));
        QVERIFY(!m_probe->softwareBox().isVisible());
        QCOMPARE(m_probe->updateStage(), 0);
        QVERIFY(!m_service->updateOffered());
        // The check box concerns those who decline.
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QString());
        QTRY_COMPARE(server.requests(), 1);
        QTRY_VERIFY(m_probe->downloadWindow() != nullptr);
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("Now downloading...")});
        m_service->checkFirm(kdmx4, QStringLiteral("0.01"));
        QCOMPARE(ServiceLog::take(), QStringList());
    }

    // ---- The firmware -----------------------------------------------------------------------------------------------

    void firmware_data()
    {
        QTest::addColumn<QString>("unit");
        QTest::addColumn<QString>("now");
        QTest::addColumn<QJsonObject>("entry");
        QTest::addColumn<QByteArray>("declined");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QString>("latest");
        QTest::addColumn<int>("stage");

        const QStringList none{QStringLiteral("Firmware update none")};
        const QStringList start{QStringLiteral("Firmware update start")};
        const auto numbers = [](int nowMajor, int nowMinor, int netMajor, int netMinor) {
            return numbersLogged(QStringLiteral("Firmware"), nowMajor, nowMinor, netMajor, netMinor);
        };
        const auto hidden = [&](const QString &declined) {
            return start + QStringList{QStringLiteral("Firmware update Dialog: not displayed: ini== ") + declined};
        };
        const QJsonObject published = versions(1, 10, 1, 5);
        const auto row = [&](const char *name, const QString &unit, const QString &now, const QJsonObject &entry,
                             const QByteArray &declined, const QStringList &log, const QString &latest, int stage) {
            QTest::newRow(name) << unit << now << entry << declined << log << latest << stage;
        };
        const QString v102 = QStringLiteral("1.02");
        const QString v105 = QStringLiteral("1.05");

        row("newer", kdmx4, v102, published, {}, numbers(1, 2, 1, 5) + start, v105, 1);
        row("same", kdmx4, v105, published, {}, numbers(1, 5, 1, 5) + none, {}, 3);
        row("older", kdmx4, QStringLiteral("2.00"), published, {}, numbers(2, 0, 1, 5) + none, {}, 3);
        row("next major", kdmx4, QStringLiteral("1.99"), versions(1, 10, 2, 0), {}, numbers(1, 99, 2, 0) + start,
            QStringLiteral("2.00"), 1);
        row("hundred is ten", kdmx4, QStringLiteral("1.09"), versions(1, 10, 1, 100), {}, numbers(1, 9, 1, 10) + start,
            QStringLiteral("1.100"), 1);
        row("nothing published", kdmx4, v102, versions(1, 10), {}, numbers(1, 2, 0, 0) + none, {}, 3);
        row("other types", kdmx4, v102, versions(1, 10, QStringLiteral("9"), QJsonArray{9}), {},
            numbers(1, 2, 0, 0) + none, {}, 3);
        row("more than a version", kdmx4, QStringLiteral("1.02 build 7"), published, {}, numbers(1, 2, 1, 5) + start,
            v105, 1);
        row("one character", kdmx4, QStringLiteral("1"), published, {}, numbers(1, 0, 1, 5) + start, v105, 1);
        row("letters behind the point", kdmx4, QStringLiteral("1.xy"), published, {}, numbers(1, 0, 1, 5) + start, v105,
            1);

        row("declined", kdmx4, v102, published, "1.05", numbers(1, 2, 1, 5) + hidden(v105), v105, 3);
        row("later declined", kdmx4, v102, published, "1.06", numbers(1, 2, 1, 5) + hidden(QStringLiteral("1.06")),
            v105, 3);
        row("earlier declined", kdmx4, v102, published, "1.04", numbers(1, 2, 1, 5) + start, v105, 1);
        row("unpadded declined", kdmx4, v102, published, "1.5", numbers(1, 2, 1, 5) + hidden(QStringLiteral("1.5")),
            v105, 3);

        // Decimal digits of other scripts pass, and read as 0.
        row("full-width digits", kdmx4, QStringLiteral("\uff11.\uff10\uff12"), published, {},
            numbers(0, 0, 1, 5) + start, v105, 1);
        row("Arabic digits", kdmx4, QStringLiteral("\u0661.\u0660\u0662"), versions(1, 10, 0, 0), {},
            numbers(0, 0, 0, 0) + none, {}, 3);

        row("other model", QStringLiteral("VELMAR KD-MX2 USB"), v102, published, {}, numbers(1, 2, 1, 5) + start, v105,
            1);
    }

    void firmware()
    {
        QFETCH(QString, unit);
        QFETCH(QString, now);
        QFETCH(QJsonObject, entry);
        QFETCH(QByteArray, declined);
        QFETCH(QString, latest);
        QFETCH(int, stage);
        storeUpdate("FirmDialog=" + declined + '\n');
        m_service->saveInformation(documentOf(entry));
        QCOMPARE(m_probe->updateStage(), 2);
        ServiceLog::forget();

        m_service->checkFirm(unit, now);
        QTEST(ServiceLog::take(), "log");
        QCOMPARE(m_probe->unitName(), unit);
        QCOMPARE(m_probe->latestFirmwareVersion(), latest);
        QCOMPARE(m_probe->updateStage(), stage);
        QCOMPARE(m_probe->firmwareBox().isVisible(), stage == 1);
        QCOMPARE(m_service->updateOffered(), stage == 3 && !latest.isEmpty());
        QVERIFY(!m_probe->softwareBox().isVisible());
        if (stage == 1)
            QCOMPARE(
                plainText(m_probe->firmwareBox()),
                QStringLiteral("The newest version of the unit firmware has been released.\n\nCurrent Version: %1\n"
                               "Latest Version: %2")
                    .arg(now.left(4), latest));
    }

    void unitsThatAreOfferedNothing_data()
    {
        QTest::addColumn<QString>("unit");
        QTest::addColumn<QString>("now");
        QTest::addColumn<QStringList>("log");
        const QString noDevice = QStringLiteral("No Device");
        const QString v102 = QStringLiteral("1.02");
        QTest::newRow("other series") << "KD-LX4" << v102 << QStringList();
        QTest::newRow("other case") << "kd-mx4" << v102 << QStringList();
        QTest::newRow("no name") << "" << v102 << QStringList();
        QTest::newRow("neither name nor version") << noDevice << noDevice << QStringList();
        QTest::newRow("no device") << kdmx4 << noDevice
                                   << QStringList{QStringLiteral("checkFirm firmVer is No Device: No Device")};

        const auto noMatch = [](const char *name, const QString &now) {
            QTest::newRow(name) << kdmx4 << now
                                << QStringList{QStringLiteral("checkFirm NowFirmwareVersion not match: ") + now};
        };
        noMatch("letter", QStringLiteral("v1.02"));
        noMatch("like no device", QStringLiteral("No device"));
        noMatch("blank", QStringLiteral(" 1.02"));
        noMatch("sign", QStringLiteral("-1.02"));
        noMatch("point", QStringLiteral(".02"));
        noMatch("empty", QString());
        noMatch("superscript", QStringLiteral("\u00b21.0"));
        noMatch("Roman numeral", QStringLiteral("\u2160.02"));
        noMatch("digit outside the basic plane", QString::fromUcs4(U"\U0001d7d9.02"));
        noMatch("half a character", QString(QChar(0xd835)) + QStringLiteral(".02"));
        noMatch("null character", QString(QChar(QChar::Null)) + QStringLiteral(".02"));
    }

    void unitsThatAreOfferedNothing()
    {
        QFETCH(QString, unit);
        QFETCH(QString, now);
        m_service->saveInformation(documentOf(versions(1, 10, 9, 0)));
        ServiceLog::forget();
        m_service->checkFirm(unit, now);
        QTEST(ServiceLog::take(), "log");
        QCOMPARE(m_probe->unitName(), unit);
        QCOMPARE(m_probe->latestFirmwareVersion(), QString());
        QCOMPARE(m_probe->updateStage(), 2);
        QVERIFY(!m_probe->firmwareBox().isVisible());
        QVERIFY(!m_service->updateOffered());
    }

    void firmwareIsAskedAboutInOneStageOnly_data()
    {
        QTest::addColumn<int>("stage");
        for (const int stage : {0, 1, 3})
            QTest::addRow("%d", stage) << stage;
    }

    void firmwareIsAskedAboutInOneStageOnly()
    {
        QFETCH(int, stage);
        m_service->saveInformation(documentOf(versions(1, 10, 9, 0)));
        m_probe->setUpdateStage(stage);
        ServiceLog::forget();
        for (const QString &now :
             {QStringLiteral("1.02"), QStringLiteral("No Device"), QStringLiteral("v1"), QString()})
            m_service->checkFirm(kdmx4, now);
        QCOMPARE(ServiceLog::take(), QStringList());
        QCOMPARE(m_probe->updateStage(), stage);
        QCOMPARE(m_probe->unitName(), kdmx4);
        QVERIFY(!m_probe->firmwareBox().isVisible());
    }

    void unitCanComeLater()
    {
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QCOMPARE(ServiceLog::take(), QStringList{QStringLiteral("checkFirm jObj none")});
        m_service->saveInformation(documentOf(versions(1, 10, 1, 5)));
        m_service->checkFirm(kdmx4, QStringLiteral("No Device"));
        QVERIFY(!m_probe->firmwareBox().isVisible());
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(m_probe->firmwareBox().isVisible());
    }

    void textOfTheUnitIsNoHtml()
    {
        m_service->saveInformation(documentOf(versions(1, 10, 1, 5)));
        m_service->checkFirm(kdmx4, QStringLiteral("1<b>"));
        QVERIFY(plainText(m_probe->firmwareBox()).contains(QStringLiteral("Current Version: 1<b>\nLatest")));
    }

    void firmwareLater_data() { softwareLater_data(); }

    void firmwareLater()
    {
        QFETCH(bool, checked);
        m_service->saveInformation(documentOf(versions(1, 10, 1, 5)));
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        const InformationBox &box = m_probe->firmwareBox();
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->firmwareBox()));
        QVERIFY(!m_service->updateOffered());
        ServiceLog::forget();
        if (checked)
            check(box);
        realinput::click(box.ui.noButton);
        QTRY_VERIFY(!box.isVisible());
        QCOMPARE(m_probe->updateStage(), 3);
        QVERIFY(m_service->updateOffered());
        QStringList expected{QStringLiteral("Firmware update cancel")};
        if (checked)
            expected << QStringLiteral("firmCheckBox = Checked");
        QCOMPARE(ServiceLog::take(), expected);
        QCOMPARE(storedValue(QStringLiteral("FirmDialog")), checked ? QStringLiteral("1.05") : QString());
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QString());

        restart();
        m_service->saveInformation(documentOf(versions(1, 10, 1, 5)));
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QCOMPARE(m_probe->firmwareBox().isVisible(), !checked);
        restart();
        m_service->saveInformation(documentOf(versions(1, 10, 1, 6)));
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(m_probe->firmwareBox().isVisible());
    }

    void acceptedFirmwareIsAskedFor_data() { languagesAndEditions(); }

    void acceptedFirmwareIsAskedFor()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(QString, edition);
        const LocalServer server;
        QJsonObject entry = versions(1, 10, 1, 5);
        entry.insert(QStringLiteral("windows_firmware_url_ja"), server.url(QStringLiteral("/firmware_ja.zip")));
        entry.insert(QStringLiteral("windows_firmware_url_en"), server.url(QStringLiteral("/firmware_en.zip")));
        QSignalSpy readied(m_service.get(), &UpdateSoftware::readiedDownloadFile);
        m_service->saveInformation(documentOf(entry));
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->firmwareBox()));
        QLocale::setDefault(QLocale(language));
        realinput::click(m_probe->firmwareBox().ui.okButton);
        QTRY_COMPARE(readied.count(), 1);
        QCOMPARE(readied.first().first().toString(), server.url(QStringLiteral("/firmware_%1.zip").arg(edition)));
        QVERIFY(!m_probe->firmwareBox().isVisible());
        QCOMPARE(m_probe->updateStage(), 1);
        QVERIFY(!m_service->updateOffered());
        QTRY_COMPARE(server.requests(), 1);
    }

    // ---- News -------------------------------------------------------------------------------------------------------

    void newsByLanguage_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QString>("text");
        QTest::newRow("English") << QLocale::English << "Good news";
        QTest::newRow("Japanese") << QLocale::Japanese << "お知らせ";
        QTest::newRow("Korean, which has no texts of its own") << QLocale::Korean << "소식";
        QTest::newRow("none, so English") << QLocale::German << "Good news";
        QTest::newRow("empty, so English") << QLocale::French << "Good news";
        QTest::newRow("other type, so English") << QLocale::Spanish << "Good news";
        QTest::newRow("C, so English") << QLocale::C << "Good news";
    }

    void newsByLanguage()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(QString, text);
        // What counts is the locale at the call.
        QLocale::setDefault(QLocale(language));
        m_service->saveInformation(documentOf(news({{QStringLiteral("English"), QStringLiteral("Good news")},
                                                    {QStringLiteral("Japanese"), QStringLiteral("お知らせ")},
                                                    {QStringLiteral("Korean"), QStringLiteral("소식")},
                                                    {QStringLiteral("French"), QString()},
                                                    {QStringLiteral("Spanish"), 1}})));
        QVERIFY(m_probe->newsBox().isVisible());
        QCOMPARE(m_probe->infoMessage(), text);
        QCOMPARE(plainText(m_probe->newsBox()).trimmed(), text);
        // The row of texts stays that of construction.
        QCOMPARE(m_probe->newsBox().windowTitle(), updateTexts[0][UpdateTextNewsTitle]);
        QCOMPARE(m_probe->newsBox().ui.textMessage->styleSheet(), QStringLiteral("color: white; font: 12pt;"));
    }

    void noNews_data()
    {
        QTest::addColumn<QJsonObject>("entry");
        QTest::newRow("no key") << versions(1, 10);
        QTest::newRow("another language only") << news({{QStringLiteral("German"), QStringLiteral("Neues")}});
        QTest::newRow("empty") << newsInEnglish(QString());
        QTest::newRow("other type") << news({{QStringLiteral("English"), true}});
        QTest::newRow("text") << QJsonObject{{QStringLiteral("messages"), QStringLiteral("News")}};
        QTest::newRow("array") << QJsonObject{{QStringLiteral("messages"), QJsonArray{QStringLiteral("News")}}};
    }

    void noNews()
    {
        QFETCH(QJsonObject, entry);
        m_service->saveInformation(documentOf(entry));
        QVERIFY(!m_probe->newsBox().isVisible());
        QCOMPARE(m_probe->infoMessage(), QString());
    }

    void newsSeen_data() { softwareLater_data(); }

    void newsSeen()
    {
        QFETCH(bool, checked);
        const QString first =
            QStringLiteral("<b>News</b>, \"quoted\"; 50 %<br><a href=\"https://a.example/\">More</a>");
        m_service->saveInformation(documentOf(newsInEnglish(first)));
        const InformationBox &box = m_probe->newsBox();
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->newsBox()));
        QVERIFY(box.isModal());
        QVERIFY(!box.ui.noButton->isVisible());
        ServiceLog::forget();
        if (checked)
            check(box);
        realinput::click(box.ui.okButton);
        QTRY_VERIFY(!box.isVisible());
        QCOMPARE(ServiceLog::take(), QStringList());
        QCOMPARE(m_probe->updateStage(), 2);
        QCOMPARE(storedValue(QStringLiteral("InfoDialog")).isNull(), !checked);

        restart();
        m_service->saveInformation(documentOf(newsInEnglish(first)));
        QCOMPARE(m_probe->newsBox().isVisible(), !checked);
        QCOMPARE(m_probe->infoMessage(), first);
        m_service->saveInformation(documentOf(newsInEnglish(first + u' ')));
        QVERIFY(m_probe->newsBox().isVisible());
    }

    void newsSeenInOneLanguageAreNewInAnother()
    {
        const QString document = documentOf(news({{QStringLiteral("English"), QStringLiteral("News")},
                                                  {QStringLiteral("German"), QStringLiteral("Neues")}}));
        storeUpdate("InfoDialog=News\n");
        m_service->saveInformation(document);
        QVERIFY(!m_probe->newsBox().isVisible());
        QLocale::setDefault(QLocale(QLocale::German));
        m_service->saveInformation(document);
        QVERIFY(m_probe->newsBox().isVisible());
    }

    void newsLayout_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << "News"
                               << "News";
        QTest::newRow("line break") << "One<br>Two"
                                    << "One\nTwo";
        QTest::newRow("paragraphs") << "<p>One</p><p>Two</p>"
                                    << "One\nTwo";
        QTest::newRow("document") << "<html><body><b>One</b><br><i>Two</i></body></html>"
                                  << "One\nTwo";
        QTest::newRow("blank") << " "
                               << "";
    }

    void newsLayout()
    {
        QFETCH(QString, html);
        QFETCH(QString, text);
        m_service->saveInformation(documentOf(newsInEnglish(html)));
        QTextBrowser &browser = *m_probe->newsBox().ui.textMessage;
        // Nothing stands above the message; at its end a blank may be left.
        QVERIFY2(!browser.toPlainText().startsWith(u'\n'), qPrintable(browser.toPlainText()));
        QCOMPARE(browser.toPlainText().trimmed(), text);
        QVERIFY(browser.toPlainText().size() <= text.size() + 1);
        QCOMPARE(browser.verticalScrollBar()->value(), browser.verticalScrollBar()->minimum());
    }

    void newsLinesAreEighteenHigh()
    {
        m_service->saveInformation(documentOf(newsInEnglish(QStringLiteral("One<br>Two<br>Three"))));
        const QTextBlock block = m_probe->newsBox().ui.textMessage->document()->firstBlock();
        QCOMPARE(block.blockFormat().lineHeightType(), int(QTextBlockFormat::FixedHeight));
        QCOMPARE(block.blockFormat().lineHeight(), 18.0);
    }

    void longNewsBeginAtTheirBeginning()
    {
        QString html;
        for (int line = 1; line <= 100; ++line)
            html += QStringLiteral("<p>Line %1</p>").arg(line);
        m_service->saveInformation(documentOf(newsInEnglish(html)));
        QTextBrowser &browser = *m_probe->newsBox().ui.textMessage;
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->newsBox()));
        QVERIFY(browser.verticalScrollBar()->maximum() > 0);
        QCOMPARE(browser.verticalScrollBar()->value(), 0);
        QVERIFY(browser.toPlainText().startsWith(QStringLiteral("Line 1\n")));
    }

    void newsThatWouldNeverBeLaidOutAreShownAsText()
    {
        const QString news = QStringLiteral("<table><tr><td>").repeated(40) + QStringLiteral("News");
        m_service->saveInformation(documentOf(newsInEnglish(news)));
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->newsBox()));
        QCOMPARE(plainText(m_probe->newsBox()).trimmed(), QStringLiteral("News"));
        // What the user does not want to see again is the text as it was published.
        QCOMPARE(m_probe->infoMessage(), news);
    }

    void newsTakeThePlaceOfOlderOnes()
    {
        m_service->saveInformation(documentOf(newsInEnglish(QStringLiteral("<b>First</b>"))));
        m_service->saveInformation(documentOf(newsInEnglish(QStringLiteral("Second"))));
        QCOMPARE(plainText(m_probe->newsBox()).trimmed(), QStringLiteral("Second"));
    }

    void japaneseNewsAreSmaller()
    {
        QLocale::setDefault(QLocale(QLocale::Japanese));
        restart();
        QCOMPARE(m_probe->languageIndex(), 5);
        m_service->saveInformation(documentOf(newsInEnglish(QStringLiteral("News"))));
        QCOMPARE(m_probe->newsBox().ui.textMessage->styleSheet(), QStringLiteral("color: white; font: 11pt"));
    }

    // ---- All of it together -----------------------------------------------------------------------------------------

    void newsThenSoftwareThenFirmware()
    {
        QJsonObject entry = versions(1, 11, 1, 5);
        entry.insert(QStringLiteral("messages"), QJsonObject{{QStringLiteral("English"), QStringLiteral("News")}});
        m_service->saveInformation(documentOf(entry));
        InformationBox &newsBox = m_probe->newsBox();
        InformationBox &softwareBox = m_probe->softwareBox();
        QVERIFY(newsBox.isVisible());
        QVERIFY(softwareBox.isVisible());
        newsBox.move(100, 100);
        softwareBox.move(100, 600);
        QVERIFY(QTest::qWaitForWindowActive(&newsBox));

        // The news come first: as long as they are there, nothing else takes a click.
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(!m_probe->firmwareBox().isVisible());
        realinput::click(softwareBox.ui.noButton);
        QVERIFY(softwareBox.isVisible());
        QCOMPARE(m_probe->updateStage(), 0);
        realinput::click(newsBox.ui.okButton);
        QTRY_VERIFY(!newsBox.isVisible());

        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(!m_probe->firmwareBox().isVisible());
        realinput::click(softwareBox.ui.noButton);
        QTRY_VERIFY(!softwareBox.isVisible());
        QCOMPARE(m_probe->updateStage(), 2);

        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(QTest::qWaitForWindowActive(&m_probe->firmwareBox()));
        realinput::click(m_probe->firmwareBox().ui.noButton);
        QTRY_VERIFY(!m_probe->firmwareBox().isVisible());
        QCOMPARE(m_probe->updateStage(), 3);
        QVERIFY(m_service->updateOffered());
    }

    void closingSettlesNothing()
    {
        QJsonObject entry = versions(1, 11, 1, 5);
        entry.insert(QStringLiteral("messages"), QJsonObject{{QStringLiteral("English"), QStringLiteral("News")}});
        m_service->saveInformation(documentOf(entry));
        for (const InformationBox *const box : {&m_probe->softwareBox(), &m_probe->newsBox()})
            box->ui.dontShowCheckBox->setChecked(true);
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: end of replyFinished")));
        ServiceLog::forget();
        const QSignalSpy stop(m_service.get(), &UpdateSoftware::stopDownload);
        m_service->closeDialogs();
        QCOMPARE(stop.count(), 1);
        QTRY_VERIFY(ServiceLog::contains(QStringLiteral("UpdateInformation: cancel download")));
        QVERIFY(!m_probe->softwareBox().isVisible());
        QVERIFY(!m_probe->newsBox().isVisible());
        QCOMPARE(m_probe->updateStage(), 0);
        QVERIFY(!m_service->updateOffered());
        QCOMPARE(storedValue(QStringLiteral("SoftDialog")), QString());
        QCOMPARE(storedValue(QStringLiteral("InfoDialog")), QString());
        QCOMPARE(ServiceLog::take(), QStringList());

        m_probe->setUpdateStage(2);
        m_service->checkFirm(kdmx4, QStringLiteral("1.02"));
        QVERIFY(m_probe->firmwareBox().isVisible());
        m_service->closeDialogs();
        QVERIFY(!m_probe->firmwareBox().isVisible());
        QCOMPARE(m_probe->updateStage(), 1);
    }

    void anotherDocumentBeginsAnew()
    {
        m_service->saveInformation(documentOf(versions(1, 11)));
        m_service->cancelSoftware();
        QCOMPARE(m_probe->updateStage(), 2);
        m_service->saveInformation(documentOf(versions(1, 12)));
        QCOMPARE(m_probe->updateStage(), 0);
        QCOMPARE(m_probe->latestSoftwareVersion(), QStringLiteral("1.12"));
        QVERIFY(m_probe->softwareBox().isVisible());
    }

    void comparisonIsOffered()
    {
        QVERIFY(m_service->isNewerVersion(QStringLiteral("1.10"), QStringLiteral("1"), QStringLiteral("11")));
        QVERIFY(!m_service->isNewerVersion(QStringLiteral("1.10"), QStringLiteral("1"), QStringLiteral("09")));
        QVERIFY(!m_service->isNewerVersion(QString(), QString(), QString()));
    }

    void textsAreThoseOfTheLanguageAtTheStart()
    {
        QLocale::setDefault(QLocale(QLocale::French));
        restart();
        const int row = updateTextRow(QLocale::French);
        QCOMPARE(m_probe->languageIndex(), row);
        // Later changes of the locale do not change it.
        QLocale::setDefault(QLocale(QLocale::Italian));
        m_service->saveInformation(documentOf(versions(1, 11)));
        const UpdateTextRow &texts = updateTexts.at(static_cast<size_t>(row));
        QCOMPARE(m_probe->softwareBox().windowTitle(), texts[UpdateTextTitle]);
        QCOMPARE(m_probe->softwareBox().ui.okButton->text(), texts[UpdateTextAccept]);
        QVERIFY(plainText(m_probe->softwareBox()).contains(texts[UpdateTextLatestVersion] + QStringLiteral("1.11")));
    }

private:
    static void languagesAndEditions()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QString>("edition");
        QTest::newRow("Japanese") << QLocale::Japanese << "ja";
        QTest::newRow("English") << QLocale::English << "en";
        QTest::newRow("Chinese") << QLocale::Chinese << "en";
        QTest::newRow("Dutch") << QLocale::Dutch << "en";
    }

    void restart()
    {
        m_probe.reset();
        m_service.reset();
        ServiceLog::forget();
        m_service = std::make_unique<UpdateSoftware>();
        m_probe.emplace(*m_service);
        // Nobody may change the settings while the service's thread reads them: QSettings looks at the time of a file
        // after its content, and never sees what was stored in between.
        QVERIFY(ServiceLog::waitFor(QStringLiteral("UpdateInformation: ") + storedValue(QStringLiteral("JsonUrl"))));
    }

    std::unique_ptr<ServiceLog> m_log;
    std::unique_ptr<UpdateSoftware> m_service;
    std::optional<UpdateSoftwareProbe> m_probe;
};

QTEST_MAIN(UpdateSoftwareTest)
#include "updatesoftware_test.moc"
