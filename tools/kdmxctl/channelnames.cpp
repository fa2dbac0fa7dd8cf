#include "channelnames.h"

#include "usmsg.h"

#include <algorithm>
#include <array>

namespace kdmxctl {

namespace {

struct Name
{
    uint32_t number;
    std::string_view name;
};

constexpr std::array channels = {
    Name{USMSG_DATA_CH_LINE_OUT, "line-out"},
    Name{USMSG_DATA_CH_MASTER_OUT, "master-out"},
    Name{USMSG_DATA_CH_COMPUTER_OUT, "computer-out"},
    Name{USMSG_DATA_CH_ANALOG_IN, "analog-in"},
    Name{USMSG_DATA_CH_DIRECTMONITOR_OUT, "direct-monitor"},
};

constexpr std::array stereo_modes = {
    Name{USMSG_DATA_CH_TYPE_MONO, "mono"},
    Name{USMSG_DATA_CH_TYPE_STEREO, "stereo"},
};

template <typename Names>
std::string name_in(const Names &names, uint32_t number)
{
    const auto *const found =
        std::find_if(names.begin(), names.end(), [&](const Name &entry) { return entry.number == number; });
    return found != names.end() ? std::string(found->name) : std::to_string(number);
}

template <typename Names>
std::optional<uint32_t> number_in(const Names &names, std::string_view name)
{
    const auto *const found =
        std::find_if(names.begin(), names.end(), [&](const Name &entry) { return entry.name == name; });
    return found != names.end() ? std::optional(found->number) : std::nullopt;
}

} // namespace

std::string channel_name(uint32_t ch)
{
    return name_in(channels, ch);
}

std::optional<uint32_t> channel_of(std::string_view name)
{
    return number_in(channels, name);
}

std::string channel_names()
{
    std::string names;
    for (const Name &entry : channels)
        names.append(names.empty() ? "" : ", ").append(entry.name);
    return names;
}

std::string stereo_name(uint32_t mode)
{
    return name_in(stereo_modes, mode);
}

std::optional<uint32_t> stereo_of(std::string_view name)
{
    return number_in(stereo_modes, name);
}

} // namespace kdmxctl
