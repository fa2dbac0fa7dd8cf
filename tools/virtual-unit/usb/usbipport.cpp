#include "usbipport.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace usbip {

namespace {

const char *const status_file = "/sys/devices/platform/vhci_hcd.0/status";
const char *const attach_file = "/sys/devices/platform/vhci_hcd.0/attach";

// Of the table of ports.
const char *const high_speed_hub = "hs";
constexpr int free_state = 4;

constexpr int high_speed = 3;
constexpr unsigned device_bus = 1;

struct Port
{
    std::string hub;
    int number = -1;
    int state = 0;
};

/// Reads one line of the table; nothing for its heading.
std::optional<Port> port_from(const std::string &line)
{
    Port port;
    std::istringstream words(line);
    if (words >> port.hub >> port.number >> port.state)
        return port;
    return std::nullopt;
}

/// The first free high-speed port, or the wanted one if free; -1 when there is none.
int find_free(std::optional<int> wanted)
{
    std::ifstream table(status_file);
    for (std::string line; std::getline(table, line);) {
        const std::optional<Port> port = port_from(line);
        if (port && port->hub == high_speed_hub && port->state == free_state && (!wanted || port->number == *wanted))
            return port->number;
    }
    return -1;
}

} // namespace

bool has_ports()
{
    return std::filesystem::exists(attach_file);
}

int free_port()
{
    return find_free(std::nullopt);
}

bool wait_for_port(int port, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (find_free(port) != port) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

int plug_into(int port, int socket)
{
    // The controller tells devices by the bus and the number that they have on the machine they come from.
    const unsigned device = device_bus << 16U | static_cast<unsigned>(port + 1);
    const std::string request = std::to_string(port) + ' ' + std::to_string(socket) + ' ' + std::to_string(device) + ' '
        + std::to_string(high_speed) + '\n';
    const int file = open(attach_file, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return errno;
    // One write, since each is a request of its own.
    const ssize_t written = write(file, request.data(), request.size());
    const int error = written < 0 ? errno : written == static_cast<ssize_t>(request.size()) ? 0 : EIO;
    close(file);
    return error;
}

} // namespace usbip
