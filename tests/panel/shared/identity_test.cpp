#include "identity.h"

#include "identity_second_unit.h"

#include <QTest>

class IdentityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreTheProgramsIdentity()
    {
        QCOMPARE(identity::longVersion, QStringLiteral("1.10 0006"));
        QCOMPARE(identity::version, QStringLiteral("1.10"));
        QCOMPARE(identity::organizationName, QStringLiteral("VELMAR"));
        QCOMPARE(identity::applicationName, QStringLiteral("KD-MXSeries"));
        QCOMPARE(identity::driverSettingsPath,
                 QStringLiteral(R"(HKEY_CURRENT_USER\Software\VELMAR\KD-MX_Series\ASIODRIVER)"));
        QCOMPARE(identity::bufferSizeValueName, QStringLiteral("blockFrames"));
        QCOMPARE(identity::sampleFormatValueName, QStringLiteral("sampleType"));
    }

    void everyUnitHasAnEqualCopyOfItsOwn()
    {
        const QStringList here = {identity::longVersion,          identity::version,
                                  identity::organizationName,     identity::applicationName,
                                  identity::driverSettingsPath,   identity::bufferSizeValueName,
                                  identity::sampleFormatValueName};
        QCOMPARE(identityOfSecondUnit(), here);
        QVERIFY(addressOfSecondUnitsVersion() != &identity::version);
    }

    void longVersionIsVersionAndBuild() { QCOMPARE(identity::longVersion.section(u' ', 0, 0), identity::version); }

    void buildSystemReadsTheSameVersion()
    {
        QCOMPARE(QStringLiteral(KDMX_BUILD_SYSTEM_VERSION), identity::longVersion);
    }
};

QTEST_APPLESS_MAIN(IdentityTest)
#include "identity_test.moc"
