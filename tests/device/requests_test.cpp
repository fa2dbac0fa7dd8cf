#include "printed.h"
#include "requests.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

/// Everything that can be pending, with values that tell the settings apart.
struct Pending
{
    requests::Queries queries;
    requests::Settings settings;
};

Pending everything()
{
    Pending pending;
    pending.queries = {1, 1, 1, 1, 1, 1};
    pending.settings.autopowersave = {1, 0x51};
    pending.settings.monitorMode = {1, 0x12345604};
    pending.settings.u32 = {1, 0x87654321};
    pending.settings.inputSwitches[0] = {USMSG_DATA_CH_ANALOG_IN, 1, 0x61, 1};
    pending.settings.inputSwitches[1] = {USMSG_DATA_CH_ANALOG_IN, 2, 0x62, 1};
    pending.settings.inputVolume = {USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, 0x63, 1};
    return pending;
}

/// One message of a size; what it holds, and in `lines` what was printed.
Bytes message_of(Pending *pending, size_t size, std::string *lines = nullptr)
{
    Bytes bytes(size + 1, 0xEE); // one more, that must stay
    usmsg_buf_t message;
    usmsg_init(&message, bytes.data(), static_cast<uint8_t>(size));
    const std::string text =
        printed([&] { requests::appendRequests(&pending->queries, &pending->settings, &message); });
    if (lines != nullptr)
        *lines = text;
    EXPECT_EQ(bytes.back(), 0xEE);
    bytes.resize(message.pos);
    return bytes;
}

void append(Bytes *bytes, const Bytes &more)
{
    bytes->insert(bytes->end(), more.begin(), more.end());
}

const Bytes version = {0x31, 1};
const Bytes hz = {0x18, 1};
const Bytes autopowersave = {0x14, 1};
const Bytes stereo = {0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 0};
const Bytes mute1 = {0x61, 2, 4, 0x62, 2, 1, 0xC3, 2, 0};
const Bytes mute2 = {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 0};
const Bytes fader = {0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 0};
const Bytes set_autopowersave = {0x15, 2, 0x51};
const Bytes set_monitor_mode = {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 0x04};
const Bytes set_u32 = {0x17, 4, 0x21, 0x43, 0x65, 0x87};
const Bytes set_input1 = {0x61, 2, 4, 0x62, 2, 1, 0x83, 2, 0x61};
const Bytes set_input2 = {0x61, 2, 4, 0x62, 2, 2, 0x83, 2, 0x62};
const Bytes set_volume = {0x61, 2, 5, 0x62, 2, 1, 0x81, 2, 0x63};

TEST(Requests, nothingPendingLeavesTheMessageEmpty)
{
    Pending pending;
    EXPECT_EQ(message_of(&pending, 64), Bytes());
}

TEST(Requests, eachLeadsToItsElements)
{
    struct Row
    {
        void (*ask)(Pending *pending);
        Bytes elements;
    };
    const Row rows[] = {
        {[](Pending *p) { p->queries.version = 1; }, version},
        {[](Pending *p) { p->queries.hz = 1; }, hz},
        {[](Pending *p) { p->queries.autopowersave = 1; }, autopowersave},
        {[](Pending *p) { p->queries.stereo = 1; }, stereo},
        {[](Pending *p) { p->queries.mute = 2; }, mute2},
        {[](Pending *p) { p->queries.fader = 1; }, fader},
        {[](Pending *p) { p->settings.autopowersave = everything().settings.autopowersave; }, set_autopowersave},
        {[](Pending *p) { p->settings.monitorMode = everything().settings.monitorMode; }, set_monitor_mode},
        {[](Pending *p) { p->settings.u32 = everything().settings.u32; }, set_u32},
        {[](Pending *p) { p->settings.inputSwitches[0] = everything().settings.inputSwitches[0]; }, set_input1},
        {[](Pending *p) { p->settings.inputSwitches[1] = everything().settings.inputSwitches[1]; }, set_input2},
        {[](Pending *p) { p->settings.inputVolume = everything().settings.inputVolume; }, set_volume},
    };
    for (const Row &row : rows) {
        Pending pending;
        row.ask(&pending);
        EXPECT_EQ(message_of(&pending, 64), row.elements);
        EXPECT_EQ(message_of(&pending, 64), Bytes());
    }
}

TEST(Requests, bothMutesGoIntoOneMessage)
{
    Pending pending;
    pending.queries.mute = 1;
    Bytes expected = mute1;
    append(&expected, mute2);
    EXPECT_EQ(message_of(&pending, 64), expected);
    EXPECT_EQ(pending.queries.mute, 0);
}

TEST(Requests, allTogetherFillTwoMessagesInOrder)
{
    Pending pending = everything();
    Bytes first;
    for (const Bytes &part :
         {version, hz, autopowersave, stereo, mute1, mute2, fader, set_autopowersave, set_monitor_mode, set_u32})
        append(&first, part);
    Bytes second;
    for (const Bytes &part : {set_input1, set_input2, set_volume})
        append(&second, part);
    EXPECT_EQ(message_of(&pending, 64), first);
    EXPECT_EQ(message_of(&pending, 64), second);
    EXPECT_EQ(message_of(&pending, 64), Bytes());
}

/**
 * What is to be in a message of each size, worked out from the rules one request after the other: a plain model that
 * shares no code with what it checks.
 */
class Model
{
public:
    explicit Model(size_t size)
        : m_size(size)
    {
    }

    /// The message that a size allows, and in `left` how many requests stay pending.
    Bytes message(std::vector<Bytes> *left)
    {
        const std::vector<Bytes> stopping = {version, hz, autopowersave, stereo};
        const std::vector<Bytes> settings = {set_autopowersave, set_monitor_mode, set_u32,
                                             set_input1,        set_input2,       set_volume};
        bool goes_on = true;
        for (const Bytes &query : stopping)
            goes_on = take(goes_on, query, in_elements, left);
        const bool mutes = take(goes_on, mute1, in_elements, left);
        take(mutes, mute2, in_elements, left);
        take(goes_on, fader, in_elements, left);
        for (const Bytes &setting : settings)
            goes_on = take(goes_on, setting, as_a_whole, left);
        return m_message;
    }

private:
    enum How { in_elements, as_a_whole };

    bool take(bool allowed, const Bytes &request, How how, std::vector<Bytes> *left)
    {
        const size_t room = m_size - m_message.size();
        if (allowed && request.size() <= room) {
            append(&m_message, request);
            return true;
        }
        left->push_back(request);
        // The elements of a query are three bytes each; those that fit stay.
        if (allowed && how == in_elements)
            m_message.insert(m_message.end(), request.begin(), request.begin() + static_cast<long>(room / 3 * 3));
        return false;
    }

    size_t m_size;
    Bytes m_message;
};

/// The requests that are still pending, as their elements.
std::vector<Bytes> still_pending(const Pending &pending)
{
    std::vector<Bytes> left;
    const auto add = [&](bool is_pending, const Bytes &request) {
        if (is_pending)
            left.push_back(request);
    };
    add(pending.queries.version != 0, version);
    add(pending.queries.hz != 0, hz);
    add(pending.queries.autopowersave != 0, autopowersave);
    add(pending.queries.stereo != 0, stereo);
    add(pending.queries.mute == 1, mute1);
    add(pending.queries.mute != 0, mute2);
    add(pending.queries.fader != 0, fader);
    add(pending.settings.autopowersave.pending != 0, set_autopowersave);
    add(pending.settings.monitorMode.pending != 0, set_monitor_mode);
    add(pending.settings.u32.pending != 0, set_u32);
    add(pending.settings.inputSwitches[0].pending != 0, set_input1);
    add(pending.settings.inputSwitches[1].pending != 0, set_input2);
    add(pending.settings.inputVolume.pending != 0, set_volume);
    return left;
}

TEST(Requests, aMessageOfAnySizeHoldsWhatTheRulesAllow)
{
    for (size_t size = 0; size <= 100; ++size) {
        SCOPED_TRACE("size " + std::to_string(size));
        std::vector<Bytes> left;
        const Bytes expected = Model(size).message(&left);
        Pending pending = everything();
        ASSERT_EQ(message_of(&pending, size), expected);
        ASSERT_EQ(still_pending(pending), left);
    }
}

TEST(Requests, nothingIsLostWhateverTheSize)
{
    // Smaller messages cannot hold the largest group, and would wait for ever.
    for (size_t size = 9; size <= 64; ++size) {
        SCOPED_TRACE("size " + std::to_string(size));
        Pending pending = everything();
        int messages = 0;
        while (!still_pending(pending).empty() && messages < 100) {
            message_of(&pending, size);
            ++messages;
        }
        EXPECT_LT(messages, 100);
    }
}

TEST(Requests, mutesResumeAtTheInputThatDidNotFit)
{
    Pending pending;
    pending.queries.mute = 1;
    EXPECT_EQ(message_of(&pending, 9), mute1);
    EXPECT_EQ(pending.queries.mute, 2);
    EXPECT_EQ(message_of(&pending, 9), mute2);
    EXPECT_EQ(pending.queries.mute, 0);
}

TEST(Requests, aFaderQueryIsTriedBehindMutesThatDoNotFit)
{
    // Two bytes are left after the mutes. No element fits, but each that is tried leaves a line.
    Pending pending;
    pending.queries.mute = 1;
    pending.queries.fader = 1;
    pending.settings.autopowersave = {1, 0x51};
    Bytes expected = mute1;
    append(&expected, {0x61, 2, 4}); // input 2, cut short
    std::string lines;
    EXPECT_EQ(message_of(&pending, 14, &lines), expected);
    const std::string line = "../../ustest/usmsg.cpp:#:ERROR\n";
    EXPECT_EQ(lines, line + line + line); // of the mute, the fader and the setting
    EXPECT_EQ(pending.queries.mute, 2);
    EXPECT_EQ(pending.queries.fader, 1);
    EXPECT_EQ(pending.settings.autopowersave.pending, 1);
}

TEST(ChannelSettings, arePendingOnlyWhenTheyChange)
{
    requests::ChannelSetting setting;
    EXPECT_FALSE(setting.store(USMSG_DATA_CH_ANALOG_IN, 1, 0));
    EXPECT_EQ(setting.pending, 0);
    EXPECT_TRUE(setting.store(USMSG_DATA_CH_ANALOG_IN, 1, 1));
    EXPECT_EQ(setting.pending, 1);
    setting.pending = 0;
    EXPECT_FALSE(setting.store(USMSG_DATA_CH_ANALOG_IN, 1, 1));
    EXPECT_EQ(setting.pending, 0);
    EXPECT_TRUE(setting.store(USMSG_DATA_CH_ANALOG_IN, 1, 0));
    EXPECT_EQ(setting.pending, 1);
}

} // namespace
