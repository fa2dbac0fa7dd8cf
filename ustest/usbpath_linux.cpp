#include "usbpath_linux.h"

#include <algorithm>
#include <charconv>

namespace usbpath {

namespace {

constexpr std::u16string_view scheme = u"usb:";
constexpr std::u16string_view interface_reference = u"\\global";
constexpr std::u16string_view control_reference = u"\\kd-mx";

/// Takes the text before a separator, or all of it, off the front.
std::string_view take_until(char separator, std::string_view *text)
{
    const std::string_view taken = text->substr(0, text->find(separator));
    text->remove_prefix(std::min(taken.size() + 1, text->size()));
    return taken;
}

/// Names are plain ASCII: digits and separators.
std::u16string widened(std::string_view name)
{
    return {name.begin(), name.end()};
}

} // namespace

std::optional<uint32_t> number(std::string_view digits)
{
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return value;
}

std::optional<Place> place(std::string_view name)
{
    // The loop below would not notice a separator at the end.
    if (name.ends_with('.') || name.find('-') == std::string_view::npos)
        return std::nullopt;
    Place numbers;
    for (std::optional<uint32_t> next = number(take_until('-', &name)); next; next = number(take_until('.', &name))) {
        numbers.push_back(*next);
        if (name.empty())
            return numbers.size() > 1 ? std::optional(numbers) : std::nullopt;
    }
    return std::nullopt;
}

std::string_view device_of_interface(std::string_view interface)
{
    return interface_number(interface) ? interface.substr(0, interface.find(':')) : std::string_view();
}

std::optional<uint32_t> interface_number(std::string_view interface)
{
    const std::string_view device = take_until(':', &interface);
    const std::string_view configuration = take_until('.', &interface);
    if (!place(device) || !number(configuration))
        return std::nullopt;
    return number(interface);
}

std::u16string instance(std::string_view name)
{
    return std::u16string(scheme) + widened(name);
}

std::u16string interface_path(std::string_view name)
{
    return instance(name) + std::u16string(interface_reference);
}

std::optional<std::string> device_of_control_path(std::u16string_view path)
{
    if (!path.starts_with(scheme) || !path.ends_with(control_reference))
        return std::nullopt;
    path.remove_prefix(scheme.size());
    path.remove_suffix(control_reference.size());
    // Names are ASCII: no other character may be narrowed into one.
    if (std::any_of(path.begin(), path.end(), [](char16_t unit) { return unit > 0x7F; }))
        return std::nullopt;
    std::string name;
    for (const char16_t unit : path)
        name += static_cast<char>(unit);
    return place(name) ? std::optional(name) : std::nullopt;
}

} // namespace usbpath
