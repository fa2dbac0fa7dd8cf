#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kdmxctl {

/// What a key of the live view means.
enum class MonitorKey {
    None, ///< nothing
    VolumeUp,
    VolumeDown,
    VolumeUpFine,
    VolumeDownFine,
    Input1,
    Input2,
    Stereo,
    PowerSave,
    Refresh,
    Suspend,
    Quit,
};

/// Tells keys apart in what a terminal sends. Special keys are sequences that may come in pieces.
class MonitorKeyReader
{
public:
    /// The keys that are complete now, those without a meaning left out.
    std::vector<MonitorKey> take(std::string_view bytes);

private:
    MonitorKey take(char byte);

    std::string m_sequence; ///< of a special key, as far as it came
};

} // namespace kdmxctl
