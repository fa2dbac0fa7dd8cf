#pragma once

#include <QString>

/**
 * The names and versions that several modules share.
 *
 * The constants have internal linkage: each translation unit that includes this header builds its own copies
 * while static objects are initialised, so a static object of one unit never depends on the order in which
 * another unit is initialised. They are read-only and may be used from any thread.
 *
 * Rests on QString (Qt Core).
 */
namespace identity {

/// Version and build, shown in the About box once the build number has been asked for.
const QString longVersion = QString::fromUtf8("1.10 0006");

/// The panel's software version.
const QString version = QString::fromUtf8("1.10");

/// Organisation of the panel's own settings file.
const QString organizationName = QString::fromUtf8("VELMAR");

/// Application of the panel's own settings file.
const QString applicationName = QString::fromUtf8("KD-MXSeries");

/// Full registry path of the key that the audio driver reads; openDriverSettings() opens it.
const QString driverSettingsPath = QString::fromUtf8("HKEY_CURRENT_USER\\Software\\VELMAR\\KD-MX_Series\\ASIODRIVER");

/// Value of the driver's settings: buffer size in sample frames.
const QString bufferSizeValueName = QString::fromUtf8("blockFrames");

/// Value of the driver's settings: sample format as an ASIO sample-type code.
const QString sampleFormatValueName = QString::fromUtf8("sampleType");

} // namespace identity
