#include "unitreport.h"

#include <array>
#include <cstdio>

namespace {

/// Builds the text.
class Report
{
public:
    template <typename... Values>
    void line(const char *format, Values... values)
    {
        std::array<char, 200> text = {};
        std::snprintf(text.data(), text.size(), format, values...);
        m_text += text.data();
        m_text += '\n';
    }

    const std::string &text() const { return m_text; }

private:
    std::string m_text;
};

void identity(Report *report, const virtualunit_t &unit)
{
    report->line("product %s", unit.product);
    report->line("version %u", unsigned{unit.version});
    report->line("build %u", unsigned{unit.build});
}

void settings(Report *report, const virtualunit_t &unit)
{
    report->line("hz %u", unit.hz);
    report->line("autopowersave %u", unsigned{unit.autopowersave});
    report->line("setting-u8 %u", unsigned{unit.setting_u8});
    report->line("setting-u32 %u", unit.setting_u32);
    report->line("commands-a2 %u", unit.commands_a2);
}

/// Channels and numbers as in usmsg_data_ch_t.
void strips(Report *report, const virtualunit_t &unit)
{
    for (uint32_t ch = 1; ch <= VIRTUALUNIT_CHANNELS; ++ch) {
        for (uint32_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no) {
            const virtualunit_strip_t &strip = unit.strips[ch - 1][ch_no - 1];
            report->line("strip %u:%u fader %u mute %u stereo %u", ch, ch_no, unsigned{strip.fader},
                         unsigned{strip.mute}, unsigned{strip.stereo});
        }
    }
}

void routes(Report *report, const virtualunit_t &unit)
{
    for (uint32_t index = 0; index < unit.route_count && index < VIRTUALUNIT_ROUTES; ++index) {
        const virtualunit_route_t &route = unit.routes[index];
        report->line("route %u:%u -> %u:%u", unsigned{route.source.ch}, unsigned{route.source.ch_no},
                     unsigned{route.destination.ch}, unsigned{route.destination.ch_no});
    }
}

void firmware(Report *report, const virtualunit_firmware_t &image)
{
    report->line("firmware-size %u", image.size);
    report->line("firmware-received %u", image.received);
    report->line("firmware-checksum %08x", image.checksum);
    report->line("firmware-blocks %u", image.blocks);
    report->line("firmware-misfits %u", image.misfits);
}

void driver(Report *report, const unitcontrol_state_t &state)
{
    report->line("plugged %d", virtualunit_is_plugged(&state.unit));
    report->line("transfers %u", state.unit.transfers);
    report->line("lost-answers %u", state.unit.lost_answers);
    report->line("opened %u", state.opened);
    report->line("closed %u", state.closed);
    report->line("holding %u", state.is_holding);
    report->line("held %u", state.held);
    report->line("called-off %u", state.called_off);
}

} // namespace

std::string unitreport(const unitcontrol_state_t &state)
{
    Report report;
    identity(&report, state.unit);
    settings(&report, state.unit);
    strips(&report, state.unit);
    routes(&report, state.unit);
    firmware(&report, state.unit.firmware);
    driver(&report, state);
    return report.text();
}
