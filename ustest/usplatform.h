#pragma once

#include <cstdint>

/**
 * @file
 * The platform seam: the few things that the device link needs of a system, so that its logic never includes a system
 * header and runs against a substitute in tests.
 *
 * A platform is a table of functions. The program links exactly one file that defines usplatform_default
 * (usplatform_windows.cpp, usplatform_linux.cpp or usplatform_null.cpp, chosen by what it links: kdmx_ustest_system or
 * kdmx_ustest_null); usplatform_use() puts another table in its place. Both are constant-initialised, so the link
 * works before main().
 *
 * All functions but cancel() are called on the thread that entered the link, one at a time, and may block as described.
 * Texts are UTF-16 and zero-terminated; sizes in units include the terminating zero.
 */

/// Invalid-handle mark of usplatform_t::open and usplatform_t::enumerate.
inline constexpr intptr_t USPLATFORM_INVALID_HANDLE = -1;

/**
 * Error codes of usplatform_t::last_error, in the numbers of Windows on every system. A platform may report others.
 */
enum usplatform_error_t : uint32_t {
    USPLATFORM_ERROR_NOT_FOUND = 2, ///< there is no such path
    USPLATFORM_ERROR_ACCESS_DENIED = 5, ///< this user may not open the path
    USPLATFORM_ERROR_TRANSIENT = 31, ///< the unit did not respond just then: the one failure worth a retry
    USPLATFORM_ERROR_CANCELLED = 995, ///< the transfer was called off
    USPLATFORM_ERROR_IO = 1117, ///< the transfer failed
    USPLATFORM_ERROR_NOT_CONNECTED = 1167, ///< the unit went away during the transfer
};

/// A device interface class, in the layout of the system's GUID.
struct usplatform_class_t
{
    uint32_t data1; ///< the first eight digits
    uint16_t data2; ///< the next four
    uint16_t data3; ///< the next four
    uint8_t data4[8]; ///< the last sixteen, as bytes in the order of writing
};

/// The detail record of a device interface: its size field, then its path.
struct usplatform_detail_t
{
    uint32_t size; ///< size of the record's fixed part in bytes; set by the caller
    char16_t path[2]; ///< as many units as the record has room for
};

static_assert(sizeof(usplatform_detail_t) == 8, "the fixed part of the system's record has 8 bytes");

/// The functions of a platform. All but cancel() must be set.
struct usplatform_t
{
    /// Called before each scan, for platforms that have something to prepare. 0, always.
    int (*start)();

    /**
     * Opens the set of present devices that have an interface of a class.
     *
     * @return a handle of the set, or USPLATFORM_INVALID_HANDLE
     */
    intptr_t (*enumerate)(const usplatform_class_t *interface_class);

    /// Closes a set of enumerate().
    void (*end_enumeration)(intptr_t set);

    /// Whether the set has a device with this index: 1 or 0. Indices count from 0 without a gap.
    int (*has_device)(intptr_t set, uint32_t device);

    /**
     * Reads the name of the service (driver) of a device.
     *
     * @param text  receives the name
     * @param size  of text, in bytes
     * @return 1 when read, 0 when not; text may then hold anything but is never written past size
     */
    int (*service)(intptr_t set, uint32_t device, char16_t *text, uint32_t size);

    /// Reads the instance identifier of a device; `units` is the size of text. 1 when read, 0 when not.
    int (*instance_id)(intptr_t set, uint32_t device, char16_t *text, uint32_t units);

    /// Whether a device has an interface of the class with this index: 1 or 0. Indices count from 0 without a gap.
    int (*has_interface)(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number);

    /// Size in bytes of the detail record of an interface; 0 when the system does not tell.
    uint32_t (*detail_size)(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number);

    /**
     * Reads the detail record of an interface.
     *
     * @param detail  its size field is set; receives the path
     * @param size    of the whole record, in bytes, from detail_size()
     * @return 1 when read, 0 when not
     */
    int (*detail)(intptr_t set, uint32_t device, const usplatform_class_t *interface_class, uint32_t number,
                  usplatform_detail_t *detail, uint32_t size);

    /**
     * Opens an existing path for reading and writing, shared for both.
     *
     * @return a handle, or USPLATFORM_INVALID_HANDLE (last_error() says why)
     */
    intptr_t (*open)(const char16_t *path);

    /**
     * Performs one I/O control and waits for its end. It has no time-out of its own; the platform's is its own affair.
     *
     * @param in        request; `in_length` bytes, not null
     * @param out       receives the answer, at most `out_length` bytes; null only with a length of 0
     * @param returned  receives the number of bytes of the answer; not null
     * @return 1 on success; 0 on failure, last_error() says why
     */
    int (*control)(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                   uint32_t *returned);

    /// Closes a handle of open().
    void (*close)(intptr_t handle);

    /// Page-backed memory of at least `size` bytes, filled with zeros; null when there is none.
    void *(*allocate)(uint32_t size);

    /// Gives memory of allocate() back.
    void (*release)(void *memory);

    /// Error code of the last operation that failed on this thread.
    uint32_t (*last_error)();

    /**
     * The system's text for an error code.
     *
     * The text is printed as a format: every "%" in it stands twice.
     *
     * @param text   receives the text; empty when the system has none
     * @param units  size of text, at least 1
     */
    void (*error_text)(uint32_t code, char16_t *text, uint32_t units);

    /// Lets the thread sleep for at least this time.
    void (*sleep)(uint32_t milliseconds);

    /**
     * Calls off the open() or control() that is in flight, from another thread: it then fails with
     * USPLATFORM_ERROR_CANCELLED.
     *
     * Does nothing when none is in flight at this moment, so call it again. Null where the system cannot do it.
     */
    void (*cancel)() = nullptr;
};

/// The platform that the build has chosen.
extern const usplatform_t usplatform_default;

/// Replaces functions in the table of a platform.
using usplatform_layer_t = void (*)(usplatform_t *table);

/// The platform in use, with the layer over it if there is one; never null. Any thread.
const usplatform_t *usplatform();

/// The platform in use without the layer; never null. For the layer itself.
const usplatform_t *usplatform_unwatched();

/**
 * Puts another platform in the default one's place.
 *
 * @param platform  must live as long as it is in use; null brings the default one back
 *
 * Call it, and usplatform_interpose(), while no other thread is in the link.
 */
void usplatform_use(const usplatform_t *platform);

/**
 * Lays functions over those of whatever platform is in use; uswatch.h does this.
 *
 * @param layer  called at once and with each change of platform: gets a copy of the platform's table and replaces
 *               functions in it; null takes the layer away
 */
void usplatform_interpose(usplatform_layer_t layer);
