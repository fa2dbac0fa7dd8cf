#include "driverinterface_wine.h"

#include "drivername.h"

namespace {

constexpr const WCHAR *control_path = L"\\kd-mx";

/// A GUID as text has this many units.
constexpr USHORT category_units = 38;

/// Where the link's reference string begins, at its backslash; 0 when it has none.
USHORT reference_at(const UNICODE_STRING &link)
{
    USHORT at = static_cast<USHORT>(link.Length / sizeof(WCHAR));
    while (at > 0 && link.Buffer[at - 1] != L'\\')
        --at;
    return at > category_units ? static_cast<USHORT>(at - 1) : static_cast<USHORT>(0);
}

/// A part of a text, which is not copied.
UNICODE_STRING part_of(const UNICODE_STRING &text, USHORT begin, USHORT end)
{
    const auto size = static_cast<USHORT>((end - begin) * sizeof(WCHAR));
    return {size, size, text.Buffer + begin};
}

/// The link as its parts; they live in the link.
struct parts_t
{
    explicit parts_t(const UNICODE_STRING &link)
        : whole(link)
        , folder(part_of(link, 0, reference_at(link)))
    {
        const USHORT at = reference_at(link);
        const auto end = static_cast<USHORT>(link.Length / sizeof(WCHAR));
        if (at == 0)
            return;
        category = part_of(link, static_cast<USHORT>(at - category_units), at);
        // After the system's prefix, which the registry writes in its own way.
        device = part_of(link, 4, at);
        reference = part_of(link, static_cast<USHORT>(at + 1), end);
    }

    UNICODE_STRING whole;
    UNICODE_STRING folder;
    UNICODE_STRING category = {};
    UNICODE_STRING device = {};
    UNICODE_STRING reference = {};
};

/// Makes the object that stands for a folder of names, unless it is there.
NTSTATUS make_folder(const UNICODE_STRING &path)
{
    DriverName name;
    name.add(path);
    OBJECT_ATTRIBUTES attributes =
        name.attributes(OBJ_CASE_INSENSITIVE | OBJ_OPENIF | OBJ_PERMANENT | OBJ_KERNEL_HANDLE);
    HANDLE handle = nullptr;
    const NTSTATUS status = ZwCreateDirectoryObject(&handle, DIRECTORY_ALL_ACCESS, &attributes);
    if (NT_SUCCESS(status))
        ZwClose(handle);
    return status;
}

NTSTATUS make_link(UNICODE_STRING *name, UNICODE_STRING *target)
{
    // One left over from an earlier driver points nowhere.
    IoDeleteSymbolicLink(name);
    return IoCreateSymbolicLink(name, target);
}

NTSTATUS make_links(driver_device_t *device, const parts_t &parts)
{
    WCHAR units[64];
    ULONG size = 0;
    NTSTATUS status =
        IoGetDeviceProperty(device->physical, DevicePropertyPhysicalDeviceObjectName, sizeof(units), units, &size);
    if (!NT_SUCCESS(status))
        return status;
    UNICODE_STRING target;
    RtlInitUnicodeString(&target, units);

    UNICODE_STRING link = parts.whole;
    status = make_link(&link, &target);
    if (!NT_SUCCESS(status))
        return status;
    DriverName control;
    control.add(parts.folder).add(control_path);
    return make_link(control.text(), &target);
}

/// Marks the interface as present or not. The mark goes with the system's session, as the system's own does.
NTSTATUS mark(const parts_t &parts, ULONG is_present)
{
    DriverName name;
    name.add(L"\\Registry\\Machine\\System\\CurrentControlSet\\Control\\DeviceClasses\\")
        .add(parts.category)
        .add(L"\\##?#")
        .add(parts.device)
        .add(L"\\#")
        .add(parts.reference)
        .add(L"\\Control");
    OBJECT_ATTRIBUTES attributes = name.attributes(OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE);
    HANDLE key = nullptr;
    NTSTATUS status = ZwCreateKey(&key, KEY_SET_VALUE, &attributes, 0, nullptr, REG_OPTION_VOLATILE, nullptr);
    if (!NT_SUCCESS(status))
        return status;
    DriverName value;
    value.add(L"Linked");
    status = ZwSetValueKey(key, value.text(), 0, REG_DWORD, &is_present, sizeof(is_present));
    ZwClose(key);
    return status;
}

} // namespace

NTSTATUS driverinterface_wine_show(driver_device_t *device)
{
    const parts_t parts(device->interface_link);
    NTSTATUS status = make_folder(parts.folder);
    if (NT_SUCCESS(status))
        status = make_links(device, parts);
    return NT_SUCCESS(status) ? mark(parts, 1) : status;
}

void driverinterface_wine_hide(driver_device_t *device)
{
    const parts_t parts(device->interface_link);
    if (parts.folder.Length == 0)
        return;
    mark(parts, 0);
    UNICODE_STRING link = parts.whole;
    IoDeleteSymbolicLink(&link);
    DriverName control;
    control.add(parts.folder).add(control_path);
    IoDeleteSymbolicLink(control.text());
    // The folder stays until the session ends. Programs get the error of a missing unit (2) and not that of a missing
    // path (3), as where it is no folder.
}
