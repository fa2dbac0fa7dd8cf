#include "unitaccess.h"

#include <windows.h>

namespace {

// The categories a unit may be in: that of real drivers, and that of the system's headers.
constexpr const wchar_t *categories[] = {
    L"{65e8773e-8f56-11d0-a3b9-00a0c9223196}",
    L"{6994ad04-93ef-11d0-a3cc-00a0c9223196}",
};

HANDLE open(const std::wstring &path)
{
    return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
}

/// Opens the control path of a unit, whose interface need not be in sight of programs.
HANDLE open_unit(uint32_t number)
{
    for (const wchar_t *const category : categories) {
        const HANDLE handle = open(L"\\\\?\\root#kd-mx#" + std::to_wstring(number) + L"#" + category + L"\\kd-mx");
        if (handle != INVALID_HANDLE_VALUE)
            return handle;
    }
    return INVALID_HANDLE_VALUE;
}

} // namespace

UnitAccess::UnitAccess(uint32_t number)
    : m_handle(open_unit(number))
{
}

UnitAccess::~UnitAccess()
{
    if (is_open())
        CloseHandle(m_handle);
}

bool UnitAccess::is_open() const
{
    return m_handle != INVALID_HANDLE_VALUE;
}

bool UnitAccess::read(unitcontrol_state_t *state) const
{
    DWORD count = 0;
    return DeviceIoControl(m_handle, UNITCONTROL_GET_STATE, nullptr, 0, state, sizeof(*state), &count, nullptr) != FALSE
        && count == sizeof(*state);
}

bool UnitAccess::write(const virtualunit_t &unit) const
{
    DWORD count = 0;
    return DeviceIoControl(m_handle, UNITCONTROL_SET_UNIT, const_cast<virtualunit_t *>(&unit), sizeof(unit), nullptr, 0,
                           &count, nullptr)
        != FALSE;
}

bool UnitAccess::hold(bool is_holding) const
{
    uint32_t wanted = is_holding ? 1 : 0;
    DWORD count = 0;
    return DeviceIoControl(m_handle, UNITCONTROL_HOLD, &wanted, sizeof(wanted), nullptr, 0, &count, nullptr) != FALSE;
}
