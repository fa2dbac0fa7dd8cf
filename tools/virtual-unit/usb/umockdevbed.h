#pragma once

#include "virtualusb.h"

#include <cstdint>
#include <memory>
#include <string>
#include <umockdev.h>

/**
 * USB devices in a test bed: what a program finds below /sys and /dev when it runs under umockdev-wrapper.
 *
 * The devices have the files that the kernel makes for them: an entry for each device and each interface, and a node
 * that holds the descriptors. One bed in a process, on one thread.
 */
class UmockdevBed
{
public:
    /// Where a device is plugged in.
    struct Place
    {
        std::string name; ///< bus and port chain: "1-3.2"
        unsigned address = 0; ///< on bus 1, where all the devices are; 1 is the bus itself
    };

    /// Makes an empty bed: one bus without devices. Programs started from now on find it.
    UmockdevBed();

    /// Lets a device appear. Its interfaces are those of its descriptors; audio interfaces are bound to the driver.
    void add(const Place &place, const virtualusb::Device &device);

    /// Lets a hub appear, for places below its own.
    void add_hub(const Place &place);

    /// Lets a device disappear, its node included.
    void remove(const Place &place, const virtualusb::Device &device);

    /// Who may open a node, as the mode of the file.
    void set_mode(const Place &place, unsigned mode);

    UMockdevTestbed *testbed() const { return m_testbed.get(); }

    /// Path of the node of a device.
    static std::string node(const Place &place);

private:
    struct Unref
    {
        void operator()(UMockdevTestbed *testbed) const { g_object_unref(testbed); }
    };

    void add_from(const std::string &text);

    std::unique_ptr<UMockdevTestbed, Unref> m_testbed;
};
