#include "unitinstaller.h"

#include "unitaccess.h"

#include <windows.h>

#include <newdev.h>
#include <setupapi.h>

#include <array>
#include <cwchar>

namespace unitinstaller {

namespace {

// The class of sound devices, as the .inf file has it.
constexpr GUID media_class = {0x4D36E96C, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr const wchar_t *class_name = L"MEDIA";
constexpr const wchar_t *service_name = L"kd-mx";
constexpr const wchar_t *driver_file = L"\\drivers\\kd-mx.sys";
constexpr DWORD longest_path = 512;

bool fail(const char *what, std::string *error)
{
    *error = std::string(what) + ": error " + std::to_string(GetLastError());
    return false;
}

std::wstring instance_of(uint32_t number)
{
    return L"root\\kd-mx\\" + std::to_wstring(number);
}

const wchar_t *hardware_id(Variant variant)
{
    switch (variant) {
    case Variant::OtherLetters:
        return L"root\\kd-mx-other-letters";
    case Variant::HeaderCategory:
        return L"root\\kd-mx-header-category";
    case Variant::Unit:
        break;
    }
    return L"root\\kd-mx";
}

/// A list of devices, and one of them.
class Device
{
public:
    Device() { m_data.cbSize = sizeof(m_data); }
    ~Device() { SetupDiDestroyDeviceInfoList(m_set); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    bool create(uint32_t number)
    {
        return SetupDiCreateDeviceInfoW(m_set, instance_of(number).c_str(), &media_class, class_name, nullptr, 0,
                                        &m_data)
            != FALSE;
    }

    bool open(uint32_t number)
    {
        return SetupDiOpenDeviceInfoW(m_set, instance_of(number).c_str(), nullptr, 0, &m_data) != FALSE;
    }

    bool set_hardware_id(const std::wstring &id)
    {
        // A list of texts: an empty one ends it.
        const std::wstring list = id + L'\0';
        const auto size = static_cast<DWORD>((list.size() + 1) * sizeof(wchar_t));
        return SetupDiSetDeviceRegistryPropertyW(m_set, &m_data, SPDRP_HARDWAREID,
                                                 reinterpret_cast<const BYTE *>(list.c_str()), size)
            != FALSE;
    }

    std::wstring service()
    {
        std::array<wchar_t, 128> name = {};
        constexpr DWORD size = sizeof(name) - sizeof(wchar_t);
        SetupDiGetDeviceRegistryPropertyW(m_set, &m_data, SPDRP_SERVICE, nullptr, reinterpret_cast<BYTE *>(name.data()),
                                          size, nullptr);
        return name.data();
    }

    /// The name that the system has given its copy of the .inf file; empty when it has none.
    std::wstring inf()
    {
        std::array<wchar_t, 128> name = {};
        DWORD size = sizeof(name) - sizeof(wchar_t);
        const HKEY key = SetupDiOpenDevRegKey(m_set, &m_data, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
        if (key == INVALID_HANDLE_VALUE)
            return {};
        RegQueryValueExW(key, L"InfPath", nullptr, nullptr, reinterpret_cast<BYTE *>(name.data()), &size);
        RegCloseKey(key);
        return name.data();
    }

    bool call_installer(DI_FUNCTION function) { return SetupDiCallClassInstaller(function, m_set, &m_data) != FALSE; }

private:
    HDEVINFO m_set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    SP_DEVINFO_DATA m_data = {};
};

/// A handle of the service manager's.
class ServiceHandle
{
public:
    explicit ServiceHandle(SC_HANDLE handle)
        : m_handle(handle)
    {
    }
    ~ServiceHandle()
    {
        if (m_handle != nullptr)
            CloseServiceHandle(m_handle);
    }
    ServiceHandle(const ServiceHandle &) = delete;
    ServiceHandle &operator=(const ServiceHandle &) = delete;
    SC_HANDLE get() const { return m_handle; }

private:
    SC_HANDLE m_handle;
};

std::wstring own_folder()
{
    std::array<wchar_t, longest_path> path = {};
    GetModuleFileNameW(nullptr, path.data(), longest_path);
    const std::wstring text = path.data();
    return text.substr(0, text.rfind(L'\\'));
}

/// Stops the driver's service and deletes it; there may be none.
bool remove_service(std::string *error)
{
    const ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const ServiceHandle service(OpenServiceW(manager.get(), service_name, SERVICE_STOP | DELETE));
    if (service.get() == nullptr)
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST || fail("OpenService", error);
    SERVICE_STATUS status = {};
    if (ControlService(service.get(), SERVICE_CONTROL_STOP, &status) == FALSE
        && GetLastError() != ERROR_SERVICE_NOT_ACTIVE)
        return fail("ControlService", error);
    return DeleteService(service.get()) != FALSE || fail("DeleteService", error);
}

/// Takes the driver out of the system; units of it are gone by now.
bool remove_driver(const std::wstring &inf, std::string *error)
{
    if (!remove_service(error))
        return false;
    std::array<wchar_t, longest_path> folder = {};
    GetSystemDirectoryW(folder.data(), longest_path);
    const std::wstring file = folder.data() + std::wstring(driver_file);
    if (DeleteFileW(file.c_str()) == FALSE && GetLastError() != ERROR_FILE_NOT_FOUND)
        return fail("DeleteFile", error);
    return inf.empty() || SetupUninstallOEMInfW(inf.c_str(), SUOI_FORCEDELETE, nullptr) != FALSE
        || fail("SetupUninstallOEMInf", error);
}

bool add_device(uint32_t number, const wchar_t *id, std::string *error)
{
    Device device;
    if (!device.create(number))
        return fail("SetupDiCreateDeviceInfo", error);
    if (!device.set_hardware_id(id))
        return fail("SetupDiSetDeviceRegistryProperty", error);
    return device.call_installer(DIF_REGISTERDEVICE) || fail("DIF_REGISTERDEVICE", error);
}

/// Installs the driver for all devices with this hardware id; those that have it already stay as they are.
bool add_driver(uint32_t number, const wchar_t *id, const std::wstring &inf, std::string *error)
{
    BOOL needs_restart = FALSE;
    if (UpdateDriverForPlugAndPlayDevicesW(nullptr, id, inf.c_str(), INSTALLFLAG_FORCE, &needs_restart) == FALSE)
        return fail("UpdateDriverForPlugAndPlayDevices", error);
    // The system may report success for less than that.
    return UnitAccess(number).is_open() || fail("the unit does not open", error);
}

} // namespace

bool install(const std::wstring &folder, uint32_t number, Variant variant, std::string *error)
{
    if (Device().open(number) && !remove(number, error))
        return false;
    if (!add_device(number, hardware_id(variant), error))
        return false;
    const std::wstring inf = (folder.empty() ? own_folder() : folder) + L"\\kd-mx.inf";
    if (add_driver(number, hardware_id(variant), inf, error))
        return true;
    // The error is known by now; do not leave a device without a driver.
    std::string ignored;
    remove(number, &ignored);
    return false;
}

bool remove(uint32_t number, std::string *error)
{
    std::wstring inf;
    {
        Device device;
        if (!device.open(number))
            return fail("SetupDiOpenDeviceInfo", error);
        inf = device.inf();
        if (!device.call_installer(DIF_REMOVE))
            return fail("DIF_REMOVE", error);
    }
    return !installed().empty() || remove_driver(inf, error);
}

std::vector<uint32_t> installed()
{
    std::vector<uint32_t> found;
    for (uint32_t number = 0; number < numbers; ++number) {
        Device device;
        if (device.open(number))
            found.push_back(number);
    }
    return found;
}

std::wstring service(uint32_t number)
{
    Device device;
    return device.open(number) ? device.service() : std::wstring();
}

} // namespace unitinstaller
