#include "channelnames.h"
#include "command.h"
#include "values.h"

#include <utility>

namespace kdmxctl {

namespace {

/// A value of a channel that can be read and set: what tells the three commands apart.
struct Property
{
    CommandTexts texts;
    uint8_t (*parse)(std::string_view what, const std::string &text);
    std::string (*show)(uint32_t value);
    nlohmann::ordered_json (*json)(uint32_t value);
    bool (*is_same)(uint32_t set, uint32_t found);
    int (*get)(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t *out);
    int (*set)(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint8_t value);
};

/// Adapts a get command with a narrow output.
template <int (*narrow_get)(usdev_t **, uint32_t, uint32_t, uint8_t *)>
int get_wide(usdev_t **unit, uint32_t ch, uint32_t ch_no, uint32_t *out)
{
    uint8_t value = 0;
    const int result = narrow_get(unit, ch, ch_no, &value);
    *out = value;
    return result;
}

uint8_t fader_argument(std::string_view what, const std::string &text)
{
    return static_cast<uint8_t>(number_argument(what, text, 0, UINT8_MAX));
}

bool is_equal(uint32_t set, uint32_t found)
{
    return set == found;
}

/// Any number but 0 means on.
bool is_same_switch(uint32_t set, uint32_t found)
{
    return (set != 0) == (found != 0);
}

const std::string channels_help = "CHANNEL is line-out, master-out, computer-out, analog-in or direct-monitor; NUMBER "
                                  "counts within it from 1.\n";

class ChannelCommand : public Command
{
public:
    explicit ChannelCommand(Property property)
        : m_property(std::move(property))
    {
    }

    CommandTexts texts() const override { return m_property.texts; }

    std::vector<Parameter> parameters() override
    {
        return {{"get|set", &m_action},
                {"CHANNEL", &m_channel},
                {"NUMBER", &m_number},
                {"VALUE", &m_value, Need::Optional}};
    }

    bool check(const Options &) override
    {
        if (m_action != "get" && m_action != "set")
            throw bad_argument("A channel is read with get or set with set, not \"" + printable(m_action) + "\".");
        m_ch = channel_argument("CHANNEL", m_channel);
        m_ch_no = number_argument("NUMBER", m_number, 1, UINT8_MAX);
        if (!is_set() && !m_value.empty())
            throw bad_argument("get takes no VALUE.");
        if (is_set() && m_value.empty())
            throw bad_argument("set needs a VALUE.");
        if (is_set())
            m_setting = m_property.parse("VALUE", m_value);
        return is_set();
    }

    Result run(Session *session, const Options &options) override
    {
        if (!is_set())
            return result(get(session), options);
        session->check(m_property.set(session->unit(), m_ch, m_ch_no, m_setting));
        if (options.verify)
            verify(get(session));
        return result(m_setting, options);
    }

private:
    bool is_set() const { return m_action == "set"; }

    std::string title() const { return m_channel + ' ' + std::to_string(m_ch_no) + ": " + m_property.texts.name; }

    uint32_t get(Session *session) const
    {
        uint32_t value = 0;
        session->check(m_property.get(session->unit(), m_ch, m_ch_no, &value));
        return value;
    }

    void verify(uint32_t found) const
    {
        if (!m_property.is_same(m_setting, found))
            throw not_verified(title(), m_property.show(m_setting), m_property.show(found));
    }

    Result result(uint32_t value, const Options &options) const
    {
        Result result = {title() + ' ' + m_property.show(value) + verified_mark(options) + '\n',
                         {{"action", m_action},
                          {"channel", m_channel},
                          {"number", m_ch_no},
                          {m_property.texts.name, m_property.json(value)}}};
        if (options.verify)
            result.json["verified"] = true;
        return result;
    }

    Property m_property;
    std::string m_action;
    std::string m_channel;
    std::string m_number;
    std::string m_value;
    uint32_t m_ch = 0;
    uint32_t m_ch_no = 0;
    uint8_t m_setting = 0;
};

const Property fader = {
    {"fader", "get|set CHANNEL NUMBER [VALUE]", "show or set a channel's level",
     channels_help
         + "VALUE is 0 to 255.\n\n"
           "Examples:\n"
           "  kdmxctl fader get line-out 1\n"
           "  kdmxctl fader set analog-in 2 100 --verify\n"},
    fader_argument,
    [](uint32_t value) { return std::to_string(value); },
    [](uint32_t value) { return nlohmann::ordered_json(value); },
    is_equal,
    get_wide<usctl_get_fader>,
    usctl_set_fader,
};

const Property mute = {
    {"mute", "get|set CHANNEL NUMBER [VALUE]", "show or switch a channel's mute",
     channels_help
         + "VALUE is on or off.\n\n"
           "Examples:\n"
           "  kdmxctl mute get master-out 1\n"
           "  kdmxctl mute set master-out 1 on\n"},
    switch_argument,
    [](uint32_t value) { return std::string(switch_name(value)); },
    [](uint32_t value) { return nlohmann::ordered_json(value != 0); },
    is_same_switch,
    get_wide<usctl_get_mute>,
    usctl_set_mute,
};

const Property stereo = {
    {"stereo", "get|set CHANNEL NUMBER [VALUE]", "show or set a channel's stereo mode",
     channels_help
         + "VALUE is mono, stereo or a number from 0 to 255 for a mode without a name.\n\n"
           "Examples:\n"
           "  kdmxctl stereo get direct-monitor 1\n"
           "  kdmxctl stereo set analog-in 1 mono\n"},
    stereo_argument,
    stereo_name,
    [](uint32_t value) {
        const std::string name = stereo_name(value);
        return stereo_of(name) ? nlohmann::ordered_json(name) : nlohmann::ordered_json(value);
    },
    is_equal,
    usctl_get_stereo,
    usctl_set_stereo,
};

} // namespace

void add_channel_commands(Commands *commands)
{
    for (const Property &property : {fader, mute, stereo})
        commands->push_back(std::make_unique<ChannelCommand>(property));
}

} // namespace kdmxctl
