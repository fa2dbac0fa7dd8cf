#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <libusb.h>
#include <string>
#include <unistd.h>

// What no program beside a sound driver may do: takes an interface of the unit for itself, or detaches its driver. A
// bus that lets this pass unnoticed proves nothing about programs that do not do it.
//
//   umockdev_claim claim|detach

namespace {

std::string line_of(const std::string &file)
{
    char text[16] = {};
    const int descriptor = ::open(file.c_str(), O_RDONLY);
    const ssize_t length = ::read(descriptor, text, sizeof(text) - 1);
    ::close(descriptor);
    return length > 0 ? std::string(text, static_cast<size_t>(length) - 1) : std::string();
}

} // namespace

int main(int, char **arguments)
{
    const std::string address = line_of("/sys/bus/usb/devices/1-3.2/devnum");
    const std::string node = "/dev/bus/usb/001/" + std::string(3 - address.size(), '0') + address;
    const int descriptor = ::open(node.c_str(), O_RDWR);
    libusb_context *context = nullptr;
    libusb_device_handle *device = nullptr;
    libusb_set_option(nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    if (libusb_init(&context) != 0 || libusb_wrap_sys_device(context, descriptor, &device) != 0) {
        std::fprintf(stderr, "%s cannot be opened\n", node.c_str());
        return 1;
    }
    if (std::strcmp(arguments[1], "claim") == 0)
        libusb_claim_interface(device, 0);
    else
        libusb_detach_kernel_driver(device, 0);
    libusb_close(device);
    libusb_exit(context);
    ::close(descriptor);
    return 0;
}
