#include "guestdevice.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

namespace {

const fs::path devices = "/sys/bus/usb/devices";
const fs::path controller = "/sys/devices/platform/vhci_hcd.0";

std::string text_of(const fs::path &file)
{
    std::string text;
    std::ifstream(file) >> text;
    return text;
}

/// Number of the bus on which the controller's high-speed ports are.
std::string high_speed_bus()
{
    for (const fs::directory_entry &entry : fs::directory_iterator(controller)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("usb") && text_of(entry.path() / "speed") == "480")
            return name.substr(std::strlen("usb"));
    }
    throw std::runtime_error("there is no virtual host controller");
}

virtualunit_t new_unit(const std::string &product)
{
    virtualunit_t unit;
    virtualunit_init(&unit);
    unit.product[product.copy(unit.product, VIRTUALUNIT_TEXT_SIZE - 1)] = 0;
    return unit;
}

} // namespace

bool wait_until(const std::function<bool()> &condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

GuestDevice::GuestDevice(const virtualusb::Description &description, virtualunit_t *unit, int port)
    : m_device(description, unit)
    , m_usb(&m_device)
    , m_port(port)
{
}

GuestDevice::~GuestDevice()
{
    // The next device on this port is to find nothing of this one.
    m_usb.unplug();
    wait_until([this] { return is_forgotten(); });
}

void GuestDevice::plug()
{
    const int error = m_usb.plug(m_port);
    if (error != 0)
        throw std::runtime_error("cannot plug in: " + std::string(std::strerror(error)));
    if (!wait_until([this] { return is_known(); }))
        throw std::runtime_error("the system does not recognise " + m_device.description().product);
}

void GuestDevice::unplug()
{
    m_usb.unplug();
    wait_until_gone();
}

void GuestDevice::wait_until_gone() const
{
    if (!wait_until([this] { return is_forgotten(); }))
        throw std::runtime_error("the system does not notice the unplug");
}

std::string GuestDevice::folder() const
{
    return devices / name();
}

/// Whether kernel, drivers and udev are through with it.
bool GuestDevice::is_known() const
{
    const bool is_audio = m_device.description().function == virtualusb::Function::Audio;
    if (!fs::exists(folder() + "/dev") || (is_audio && card() < 0))
        return false;
    return fs::exists(udev_record_file()) && !fs::exists("/run/udev/queue");
}

bool GuestDevice::is_forgotten() const
{
    return !fs::exists(folder()) && !fs::exists("/run/udev/queue");
}

std::string GuestDevice::name() const
{
    static const std::string bus = high_speed_bus();
    return bus + '-' + std::to_string(m_port + 1);
}

std::string GuestDevice::node() const
{
    char path[40];
    std::snprintf(path, sizeof path, "/dev/bus/usb/%03d/%03d", std::stoi(text_of(folder() + "/busnum")),
                  std::stoi(text_of(folder() + "/devnum")));
    return path;
}

std::string GuestDevice::udev_record_file() const
{
    return "/run/udev/data/c" + text_of(folder() + "/dev");
}

std::vector<std::string> GuestDevice::udev_record() const
{
    std::vector<std::string> lines;
    std::ifstream record(udev_record_file());
    for (std::string line; std::getline(record, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> GuestDevice::drivers() const
{
    std::vector<std::string> names;
    for (int number = 0;; ++number) {
        const fs::path interface = devices / (name() + ":1." + std::to_string(number));
        if (!fs::exists(interface))
            return names;
        const fs::path driver = interface / "driver";
        names.push_back(fs::exists(driver) ? fs::read_symlink(driver).filename().string() : std::string());
    }
}

int GuestDevice::card() const
{
    const fs::path sound = devices / (name() + ":1.0") / "sound";
    if (!fs::exists(sound))
        return -1;
    for (const fs::directory_entry &entry : fs::directory_iterator(sound)) {
        const std::string number = entry.path().filename().string().substr(std::strlen("card"));
        // The card comes before the nodes of its streams.
        if (fs::exists("/dev/snd/pcmC" + number + "D0p") && fs::exists("/dev/snd/pcmC" + number + "D0c"))
            return std::stoi(number);
    }
    return -1;
}

GuestUnit::GuestUnit(int port, const std::string &product)
    : m_model(new_unit(product))
    , usb(virtualusb::unit_description(m_model, std::to_string(port + 1)), &m_model, port)
{
    usb.plug();
}

void GuestUnit::strike(virtualunit_fault_kind_t kind, uint32_t count, uint32_t parameter)
{
    with([&](virtualunit_t &unit) {
        unit.fault_count = 0; // earlier ones are over
        virtualunit_add_fault(&unit, {kind, unit.transfers, count, parameter});
    });
}

uint32_t GuestUnit::transfers()
{
    return with([](const virtualunit_t &unit) { return unit.transfers; });
}
