#include "usplatform.h"

#include <windows.h>

#include <setupapi.h>

#include <algorithm>
#include <iterator>

// Windows: SetupAPI finds the devices, kernel32 talks to them.

static_assert(sizeof(WCHAR) == sizeof(char16_t));
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == sizeof(usplatform_detail_t),
              "the caller makes the detail record and tells its size");
static_assert(sizeof(GUID) == sizeof(usplatform_class_t));

namespace {

constexpr DWORD neutral_language = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

HDEVINFO set_of(intptr_t set)
{
    return reinterpret_cast<HDEVINFO>(set);
}

HANDLE handle_of(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

GUID guid_of(const usplatform_class_t &interface_class)
{
    GUID guid = {interface_class.data1, interface_class.data2, interface_class.data3, {}};
    std::copy(std::begin(interface_class.data4), std::end(interface_class.data4), std::begin(guid.Data4));
    return guid;
}

/// Looks up a device of a set by its index.
bool find_device(intptr_t set, uint32_t device, SP_DEVINFO_DATA *found)
{
    *found = {};
    found->cbSize = sizeof(*found);
    return SetupDiEnumDeviceInfo(set_of(set), device, found) != FALSE;
}

/// Looks up an interface of a device by its number.
bool find_interface(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number,
                    SP_DEVICE_INTERFACE_DATA *found)
{
    SP_DEVINFO_DATA owner;
    if (!find_device(set, device, &owner))
        return false;
    const GUID guid = guid_of(*interface_class);
    *found = {};
    found->cbSize = sizeof(*found);
    return SetupDiEnumDeviceInterfaces(set_of(set), &owner, &guid, number, found) != FALSE;
}

int start()
{
    return 0;
}

intptr_t enumerate(const usplatform_class_t *interface_class)
{
    const GUID guid = guid_of(*interface_class);
    const HDEVINFO set = SetupDiGetClassDevsW(&guid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    return reinterpret_cast<intptr_t>(set);
}

void end_enumeration(intptr_t set)
{
    SetupDiDestroyDeviceInfoList(set_of(set));
}

int has_device(intptr_t set, uint32_t device)
{
    SP_DEVINFO_DATA found;
    return find_device(set, device, &found) ? 1 : 0;
}

int service(intptr_t set, uint32_t device, char16_t *text, uint32_t size)
{
    SP_DEVINFO_DATA found;
    if (!find_device(set, device, &found))
        return 0;
    const BOOL read = SetupDiGetDeviceRegistryPropertyW(set_of(set), &found, SPDRP_SERVICE, nullptr,
                                                        reinterpret_cast<BYTE *>(text), size, nullptr);
    return read != FALSE ? 1 : 0;
}

int instance_id(intptr_t set, uint32_t device, char16_t *text, uint32_t units)
{
    SP_DEVINFO_DATA found;
    if (!find_device(set, device, &found))
        return 0;
    const BOOL read = SetupDiGetDeviceInstanceIdW(set_of(set), &found, reinterpret_cast<WCHAR *>(text), units, nullptr);
    return read != FALSE ? 1 : 0;
}

int has_interface(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number)
{
    SP_DEVICE_INTERFACE_DATA found;
    return find_interface(set, device, interface_class, number, &found) ? 1 : 0;
}

uint32_t detail_size(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number)
{
    SP_DEVICE_INTERFACE_DATA found;
    if (!find_interface(set, device, interface_class, number, &found))
        return 0;
    DWORD size = 0;
    // Fails without a buffer, as expected: only the size is wanted.
    SetupDiGetDeviceInterfaceDetailW(set_of(set), &found, nullptr, 0, &size, nullptr);
    return size;
}

int detail(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number,
           usplatform_detail_t *record, uint32_t size)
{
    SP_DEVICE_INTERFACE_DATA found;
    if (!find_interface(set, device, interface_class, number, &found))
        return 0;
    auto *const system_record = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W *>(record);
    const BOOL read = SetupDiGetDeviceInterfaceDetailW(set_of(set), &found, system_record, size, nullptr, nullptr);
    return read != FALSE ? 1 : 0;
}

/// Registers this thread as the one that cancel() interrupts, for as long as the object lives. If several threads wait
/// for a driver, the first keeps the place.
class CancellableThread
{
public:
    CancellableThread()
    {
        const HANDLE process = GetCurrentProcess();
        DuplicateHandle(process, GetCurrentThread(), process, &m_thread, 0, FALSE, DUPLICATE_SAME_ACCESS);
        replace(nullptr, m_thread);
    }

    ~CancellableThread()
    {
        const DWORD error = GetLastError();
        replace(m_thread, nullptr);
        CloseHandle(m_thread);
        // The caller still needs the error of its wait.
        SetLastError(error);
    }

    CancellableThread(const CancellableThread &) = delete;
    CancellableThread &operator=(const CancellableThread &) = delete;

    static void cancel()
    {
        AcquireSRWLockExclusive(&lock);
        if (waiting != nullptr)
            CancelSynchronousIo(waiting);
        ReleaseSRWLockExclusive(&lock);
    }

private:
    static void replace(HANDLE expected, HANDLE thread)
    {
        AcquireSRWLockExclusive(&lock);
        if (waiting == expected)
            waiting = thread;
        ReleaseSRWLockExclusive(&lock);
    }

    HANDLE m_thread = nullptr;
    static inline constinit SRWLOCK lock = SRWLOCK_INIT;
    static inline constinit HANDLE waiting = nullptr;
};

intptr_t open(const char16_t *path)
{
    const CancellableThread cancellable;
    const HANDLE handle = CreateFileW(reinterpret_cast<const WCHAR *>(path), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    return reinterpret_cast<intptr_t>(handle);
}

int control(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
            uint32_t *returned)
{
    DWORD count = 0;
    const CancellableThread cancellable;
    // The system takes the input as writable but does not write it.
    const BOOL done =
        DeviceIoControl(handle_of(handle), code, const_cast<void *>(in), in_length, out, out_length, &count, nullptr);
    *returned = count;
    return done != FALSE ? 1 : 0;
}

void close(intptr_t handle)
{
    CloseHandle(handle_of(handle));
}

void *allocate(uint32_t size)
{
    return VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_READWRITE);
}

void release(void *memory)
{
    VirtualFree(memory, 0, MEM_RELEASE);
}

uint32_t last_error()
{
    return GetLastError();
}

void error_text(uint32_t code, char16_t *text, uint32_t units)
{
    WCHAR *message = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, code, neutral_language, reinterpret_cast<WCHAR *>(&message), 0, nullptr);
    uint32_t used = 0;
    for (DWORD at = 0; at < length; ++at) {
        const auto unit = static_cast<char16_t>(message[at]);
        const uint32_t copies = unit == u'%' ? 2 : 1;
        if (used + copies >= units)
            break;
        std::fill_n(text + used, copies, unit);
        used += copies;
    }
    text[used] = 0;
    LocalFree(message);
}

void sleep(uint32_t milliseconds)
{
    Sleep(milliseconds);
}

} // namespace

constinit const usplatform_t usplatform_default = {
    .start = start,
    .enumerate = enumerate,
    .end_enumeration = end_enumeration,
    .has_device = has_device,
    .service = service,
    .instance_id = instance_id,
    .has_interface = has_interface,
    .detail_size = detail_size,
    .detail = detail,
    .open = open,
    .control = control,
    .close = close,
    .allocate = allocate,
    .release = release,
    .last_error = last_error,
    .error_text = error_text,
    .sleep = sleep,
    .cancel = CancellableThread::cancel,
};
