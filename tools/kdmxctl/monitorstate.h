#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

/**
 * What the live view knows about the unit.
 */
namespace kdmxctl {

/// How the last transfer went.
enum class UnitStatus {
    Searching, ///< no transfer has ended yet
    Connected,
    Busy, ///< the unit is there and says that it is not ready
    NoUnit,
    NoPermission,
    InUse, ///< another program has it
    NotResponding,
    Failed, ///< the transfer failed in another way
};

/// Something that can be set: what the unit reports, and what was set and is not reported yet.
template <typename Value>
class Setting
{
public:
    /// What the unit reported last; nothing when it has not.
    const std::optional<Value> &reported() const { return m_reported; }

    /// What it will be when the unit has carried out what was set.
    const std::optional<Value> &expected() const { return m_wanted ? m_wanted : m_reported; }

    bool is_pending() const { return m_wanted.has_value(); }

    void report(Value value)
    {
        m_reported = value;
        if (m_wanted == m_reported)
            m_wanted.reset();
    }

    void want(Value value)
    {
        m_wanted = value;
        m_patience = questions_until_forgotten;
    }

    /// The unit was asked once more. One that keeps reporting something else has not accepted what was set.
    void ask()
    {
        if (m_wanted && --m_patience == 0)
            m_wanted.reset();
    }

private:
    static constexpr int questions_until_forgotten = 6;

    std::optional<Value> m_reported;
    std::optional<Value> m_wanted;
    int m_patience = 0;
};

/// All of it. Texts are in UTF-8 and hold no control characters. What the unit has not reported is empty.
struct MonitorState
{
    UnitStatus status = UnitStatus::Searching;

    std::optional<std::string> product;
    std::optional<uint16_t> version;
    std::optional<uint16_t> build;
    std::optional<std::string> build_date;
    std::optional<std::string> build_time;

    std::optional<uint32_t> hz;
    Setting<uint8_t> volume; ///< fader level of the direct monitor
    Setting<bool> inputs[2]; ///< whether audio input 1 and 2 is on
    Setting<uint32_t> stereo; ///< mode of the direct monitor, usmsg_data_ch_type_t
    Setting<bool> power_save;

    std::deque<std::string> debug; ///< lines, the newest last
};

} // namespace kdmxctl
