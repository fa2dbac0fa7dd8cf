#include "storedsettings.h"

#include <QDir>
#include <QTest>

#include <array>

#include <windows.h>

#include <sddl.h>

namespace stored {

namespace {

constexpr wchar_t makersKey[] = L"Software\\VELMAR";
constexpr wchar_t driversKey[] = L"Software\\VELMAR\\KD-MX_Series\\ASIODRIVER";

// Longer than any value of these tests.
using Buffer = std::array<wchar_t, 1000>;

/// The driver's key, made when it is missing.
class DriversKey
{
public:
    DriversKey()
    {
        const LSTATUS result =
            RegCreateKeyExW(HKEY_CURRENT_USER, driversKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key, nullptr);
        QCOMPARE(result, ERROR_SUCCESS);
    }

    ~DriversKey() { RegCloseKey(m_key); }

    Q_DISABLE_COPY_MOVE(DriversKey)

    void set(const QString &name, DWORD type, const void *data, size_t size) const
    {
        QCOMPARE(RegSetValueExW(m_key, name.toStdWString().c_str(), 0, type, static_cast<const BYTE *>(data),
                                static_cast<DWORD>(size)),
                 ERROR_SUCCESS);
    }

    void protect(const wchar_t *rule) const
    {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        QVERIFY(ConvertStringSecurityDescriptorToSecurityDescriptorW(rule, SDDL_REVISION_1, &descriptor, nullptr));
        const LSTATUS result = RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, descriptor);
        LocalFree(descriptor);
        QCOMPARE(result, ERROR_SUCCESS);
    }

private:
    HKEY m_key = nullptr;
};

QString folder()
{
    return QDir::fromNativeSeparators(qEnvironmentVariable("APPDATA")) + QStringLiteral("/VELMAR");
}

bool isNumber(const QString &text)
{
    bool is = false;
    text.toDouble(&is);
    return is;
}

QString textOf(const Buffer &buffer)
{
    const QString text = QString::fromWCharArray(buffer.data());
    return isNumber(text) ? u'"' + text + u'"' : text;
}

} // namespace

QString panelFile()
{
    return folder() + QStringLiteral("/KD-MXSeries.ini");
}

QString driverValue(const QString &name)
{
    Buffer buffer = {};
    DWORD type = REG_NONE;
    DWORD size = sizeof(buffer);
    const LSTATUS result = RegGetValueW(HKEY_CURRENT_USER, driversKey, name.toStdWString().c_str(), RRF_RT_ANY, &type,
                                        buffer.data(), &size);
    if (result == ERROR_FILE_NOT_FOUND)
        return {};
    if (result == ERROR_SUCCESS && type == REG_DWORD)
        return QString::number(*reinterpret_cast<const DWORD *>(buffer.data()));
    if (result == ERROR_SUCCESS && type == REG_SZ)
        return textOf(buffer);
    return QStringLiteral("(%1)").arg(type);
}

void writeDriver(const QString &blockFrames, const QString &sampleType)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, driversKey);
    if (!blockFrames.isNull())
        addDriverValue(QStringLiteral("blockFrames"), blockFrames);
    if (!sampleType.isNull())
        addDriverValue(QStringLiteral("sampleType"), sampleType);
}

void addDriverValue(const QString &name, const QString &value)
{
    bool isWhole = false;
    const qint64 number = value.toLongLong(&isWhole);
    const auto narrow = static_cast<DWORD>(number);
    const std::wstring text = value.toStdWString();
    const DriversKey key;
    if (!isWhole)
        key.set(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    else if (number == narrow || number == static_cast<qint32>(narrow))
        key.set(name, REG_DWORD, &narrow, sizeof(narrow));
    else
        key.set(name, REG_QWORD, &number, sizeof(number));
}

void makeDriverUnwritable()
{
    // KEY_SET_VALUE and KEY_CREATE_SUB_KEY denied to everybody, everything else allowed.
    DriversKey().protect(L"D:(D;;0x6;;;WD)(A;;KA;;;WD)");
}

void clear()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, makersKey);
    QDir(folder()).removeRecursively();
}

} // namespace stored
