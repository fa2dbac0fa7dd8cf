#include "identity_second_unit.h"

#include "identity.h"

QStringList identityOfSecondUnit()
{
    return {identity::longVersion,          identity::version,
            identity::organizationName,     identity::applicationName,
            identity::driverSettingsPath,   identity::bufferSizeValueName,
            identity::sampleFormatValueName};
}

const QString *addressOfSecondUnitsVersion()
{
    return &identity::version;
}
