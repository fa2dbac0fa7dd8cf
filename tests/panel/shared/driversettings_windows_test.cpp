// The driver's settings as a registry key.

#include "driversettings.h"

#include "identity.h"
#include "settingsfile.h"
#include "storedsettings.h"

#include <QRegularExpression>
#include <QTest>

#include <windows.h>

namespace {

constexpr wchar_t key[] = L"Software\\VELMAR\\KD-MX_Series\\ASIODRIVER";

void writeDriver(const QString &name, const QVariant &value)
{
    QSettings settings = openDriverSettings();
    settingsfile::saveValue(settings, name, value);
}

DWORD typeOf(const wchar_t *name)
{
    DWORD type = REG_NONE;
    RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_ANY, &type, nullptr, nullptr);
    return type;
}

} // namespace

class DriverSettingsWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!QSettings: Failed to create subkey)")));
        stored::clear();
    }

    void cleanupTestCase() { stored::clear(); }

    void numbersAreDoubleWords()
    {
        writeDriver(identity::bufferSizeValueName, 2048U);
        writeDriver(identity::sampleFormatValueName, 19);
        QCOMPARE(typeOf(L"blockFrames"), DWORD{REG_DWORD});
        QCOMPARE(typeOf(L"sampleType"), DWORD{REG_DWORD});
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("2048"));
        QCOMPARE(stored::driverValue(QStringLiteral("sampleType")), QStringLiteral("19"));
    }

    void numberReplacesWhateverWasThere_data()
    {
        QTest::addColumn<QString>("before");
        QTest::newRow("text") << "some text";
        QTest::newRow("larger number") << "4294967360";
        QTest::newRow("number") << "64";
    }

    void numberReplacesWhateverWasThere()
    {
        QFETCH(QString, before);
        stored::addDriverValue(QStringLiteral("blockFrames"), before);
        writeDriver(identity::bufferSizeValueName, 128U);
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("128"));
    }

    void reminderIsAText()
    {
        writeDriver(QStringLiteral("WakeUp"), false);
        QCOMPARE(typeOf(L"WakeUp"), DWORD{REG_SZ});
        QCOMPARE(stored::driverValue(QStringLiteral("WakeUp")), QStringLiteral("false"));
    }

    void numbersOfTheDriverAreRead()
    {
        stored::addDriverValue(QStringLiteral("blockFrames"), QStringLiteral("512"));
        QCOMPARE(openDriverSettings().value(identity::bufferSizeValueName, 0).toInt(), 512);
    }

    void areEmptyWhenMissing()
    {
        QCOMPARE(openDriverSettings().value(identity::bufferSizeValueName, 0).toInt(), 0);
        QVERIFY(openDriverSettings().allKeys().isEmpty());
    }

    void keepWhatOthersStored()
    {
        stored::addDriverValue(QStringLiteral("other"), QStringLiteral("kept"));
        writeDriver(identity::bufferSizeValueName, 128U);
        QCOMPARE(stored::driverValue(QStringLiteral("other")), QStringLiteral("kept"));
    }

    void surviveAKeyThatCannotBeWritten()
    {
        stored::addDriverValue(QStringLiteral("blockFrames"), QStringLiteral("64"));
        stored::makeDriverUnwritable();
        writeDriver(identity::bufferSizeValueName, 128U);
        QCOMPARE(openDriverSettings().value(identity::bufferSizeValueName, 0).toInt(), 64);
    }
};

QTEST_APPLESS_MAIN(DriverSettingsWindowsTest)
#include "driversettings_windows_test.moc"
