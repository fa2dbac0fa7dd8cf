// kdmx-usbip-unit [SCRIPT]...: plugs virtual units into this machine's virtual host controller, until Ctrl-C.

#include "usbipdevice.h"
#include "usbipport.h"
#include "virtualscript.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

const char *const usage = "usage: kdmx-usbip-unit [SCRIPT]...\n"
                          "Plugs a virtual recorder for each SCRIPT, or one as it left the factory, into this machine\n"
                          "as a USB device, until Ctrl-C. Takes root and the kernel module vhci_hcd.\n"
                          "A SCRIPT is a list like product=KD-MX4,busy=3,stall*2@10 (see virtualscript.h).\n";

// How often a unit that was pulled out is looked at: to its script, each look is a transfer that found no unit.
constexpr timespec look_interval = {0, 100'000'000};

/// A unit with all that makes it a device on a port. It never moves: its parts know each other by address.
struct PluggedUnit
{
    PluggedUnit(const virtualunit_t &made, int number)
        : unit(made)
        , device(virtualusb::unit_description(unit, std::to_string(number)), &unit)
        , usb(&device)
    {
    }

    bool plug()
    {
        const int error = usb.plug(port);
        if (error != 0) {
            std::fprintf(stderr, "kdmx-usbip-unit: port %d: %s\n", port, std::strerror(error));
            return false;
        }
        is_in = true;
        std::printf("%s is plugged into port %d\n", unit.product, port);
        return true;
    }

    /// Follows the unit's script: notices that it went away, and plugs it in again when its time has come.
    bool look()
    {
        if (usb.is_plugged())
            return true;
        if (is_in) {
            is_in = false;
            std::printf("%s was pulled out of port %d\n", unit.product, port);
        }
        if (virtualunit_is_plugged(&unit))
            return plug();
        virtualunit_skip(&unit);
        return true;
    }

    virtualunit_t unit;
    virtualusb::Device device;
    UsbipDevice usb;
    int port = usbip::free_port();
    bool is_in = false;
};

/// Makes the unit of a script and plugs it in; null, and a line, when that cannot be.
std::unique_ptr<PluggedUnit> plugged_unit(std::string_view script, int number)
{
    virtualunit_t made;
    virtualunit_init(&made);
    std::string error;
    if (!script.empty() && !virtualscript::apply(script, &made, &error)) {
        std::fprintf(stderr, "kdmx-usbip-unit: %s\n", error.c_str());
        return nullptr;
    }
    auto unit = std::make_unique<PluggedUnit>(made, number);
    if (unit->port < 0) {
        std::fputs("kdmx-usbip-unit: no port is free\n", stderr);
        return nullptr;
    }
    return unit->plug() ? std::move(unit) : nullptr;
}

/// Whether a signal to end has come within one look's time.
bool is_time_to_end(const sigset_t &ends)
{
    return sigtimedwait(&ends, nullptr, &look_interval) > 0;
}

int run(std::vector<std::string_view> scripts)
{
    if (!usbip::has_ports()) {
        std::fputs("kdmx-usbip-unit: no virtual host controller here; as root: modprobe vhci_hcd\n", stderr);
        return 1;
    }
    if (scripts.empty())
        scripts.emplace_back();
    // Blocked before any thread begins, so that they only ever come to is_time_to_end().
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_BLOCK, &ends, nullptr);

    std::vector<std::unique_ptr<PluggedUnit>> units;
    for (const std::string_view script : scripts) {
        auto unit = plugged_unit(script, static_cast<int>(units.size()) + 1);
        if (!unit)
            return 1;
        units.push_back(std::move(unit));
    }
    while (!is_time_to_end(ends)) {
        for (const auto &unit : units) {
            if (!unit->look())
                return 1;
        }
    }
    return 0;
}

} // namespace

int main(int count, char **arguments)
{
    // A reader of the output sees each line at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::vector<std::string_view> scripts(arguments + 1, arguments + count);
    for (const std::string_view script : scripts) {
        if (script == "--help" || script == "-h") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (script.starts_with('-')) {
            std::fputs(usage, stderr);
            return 2;
        }
    }
    return run(scripts);
}
