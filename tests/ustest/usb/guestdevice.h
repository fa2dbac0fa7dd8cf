#pragma once

#include "usbipdevice.h"
#include "virtualusb.h"

#include <functional>
#include <string>
#include <vector>

/// Waits until a condition holds; false when it does not within ten seconds.
bool wait_until(const std::function<bool()> &condition);

/**
 * A virtual device plugged into the guest's kernel, and what the system there says about it.
 *
 * What goes wrong with plugging is thrown as std::runtime_error: without the device a test has nothing to test.
 */
class GuestDevice
{
public:
    /// @param unit  the model behind it; null for a device without one
    GuestDevice(const virtualusb::Description &description, virtualunit_t *unit, int port);
    ~GuestDevice(); ///< Pulls it out.
    GuestDevice(const GuestDevice &) = delete;
    GuestDevice &operator=(const GuestDevice &) = delete;

    /// Plugs it in and waits until driver and udev have done their part.
    void plug();

    /// Pulls it out and waits until the system has noticed.
    void unplug();

    /// Waits until the system has noticed that the device went away by itself.
    void wait_until_gone() const;

    UsbipDevice &usb() { return m_usb; }
    const virtualusb::Device &device() const { return m_device; }

    /// Bus and port, "1-3".
    std::string name() const;
    /// The node through which programs use it; another one after each plug.
    std::string node() const;
    /// The lines of its record in udev's database.
    std::vector<std::string> udev_record() const;
    /// The driver of each interface, in order; empty for none.
    std::vector<std::string> drivers() const;
    /// Number of its sound card; -1 for none.
    int card() const;

private:
    std::string folder() const;
    std::string udev_record_file() const;
    bool is_known() const;
    bool is_forgotten() const;

    virtualusb::Device m_device;
    UsbipDevice m_usb;
    int m_port;
};

/// A recorder, plugged in as long as it lives.
class GuestUnit
{
public:
    explicit GuestUnit(int port, const std::string &product = "KD-MX2");

    /// Reads or changes the model while it does not answer.
    template <typename Use>
    auto with(Use use)
    {
        const auto held = usb.usb().hold();
        return use(m_model);
    }

    /// Lets a fault befall transfers from the next one on.
    void strike(virtualunit_fault_kind_t kind, uint32_t count, uint32_t parameter = 0);

    /// How many messages and blocks were asked of it so far.
    uint32_t transfers();

private:
    virtualunit_t m_model;

public:
    GuestDevice usb;
};
