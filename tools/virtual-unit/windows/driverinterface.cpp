#include "driverinterface.h"

#include "driverinterface_wine.h"
#include "drivername.h"

namespace {

constexpr GUID audio_category = {0x65E8773E, 0x8F56, 0x11D0, {0xA3, 0xB9, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

// What the system's headers call by the same name. No program looks for a unit there.
constexpr GUID header_category = {0x6994AD04, 0x93EF, 0x11D0, {0xA3, 0xCC, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

/// Whether the .inf file puts the device into the other category.
bool has_header_category(DEVICE_OBJECT *physical)
{
    HANDLE key = nullptr;
    if (!NT_SUCCESS(IoOpenDeviceRegistryKey(physical, PLUGPLAY_REGKEY_DEVICE, KEY_READ, &key)))
        return false;
    DriverName name;
    name.add(L"HeaderCategory");
    alignas(KEY_VALUE_PARTIAL_INFORMATION) UCHAR buffer[sizeof(KEY_VALUE_PARTIAL_INFORMATION) + sizeof(ULONG)];
    ULONG used = 0;
    const NTSTATUS status =
        ZwQueryValueKey(key, name.text(), KeyValuePartialInformation, buffer, sizeof(buffer), &used);
    ZwClose(key);
    const auto *const value = reinterpret_cast<const KEY_VALUE_PARTIAL_INFORMATION *>(buffer);
    return NT_SUCCESS(status) && value->Type == REG_DWORD && value->Data[0] != 0;
}

} // namespace

NTSTATUS driverinterface_register(driver_device_t *device)
{
    DriverName reference;
    reference.add(L"global");
    // The system takes it as zero-terminated.
    reference.text()->Buffer[reference.text()->Length / sizeof(WCHAR)] = 0;
    const GUID *const category = has_header_category(device->physical) ? &header_category : &audio_category;
    return IoRegisterDeviceInterface(device->physical, category, reference.text(), &device->interface_link);
}

NTSTATUS driverinterface_show(driver_device_t *device)
{
    const NTSTATUS status = IoSetDeviceInterfaceState(&device->interface_link, TRUE);
    if (status == STATUS_OBJECT_NAME_EXISTS)
        return STATUS_SUCCESS;
    return NT_SUCCESS(status) ? status : driverinterface_wine_show(device);
}

void driverinterface_hide(driver_device_t *device)
{
    if (!NT_SUCCESS(IoSetDeviceInterfaceState(&device->interface_link, FALSE)))
        driverinterface_wine_hide(device);
}

void driverinterface_release(driver_device_t *device)
{
    RtlFreeUnicodeString(&device->interface_link);
    device->interface_link = {};
}
