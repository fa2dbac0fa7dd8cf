#include "usctl.h"

#include "conversation.h"
#include "printed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>

namespace {

using Bytes = Conversation::Bytes;

const Bytes ready = {0xA1, 2, 1};
const Bytes busy = {0xA1, 2, 0};

const std::string line = "../../ustest/usctl.cpp:#:ERROR\n";
const std::string transport_line = "../../ustest/usbdevs_win.cpp:#:ERROR\n";

std::string system_error(const char *code)
{
    return transport_line + "GetLastError() = " + code + "\n";
}

usmsg_buf_t message_of(Bytes &bytes)
{
    return {bytes.data(), static_cast<uint8_t>(bytes.size()), static_cast<uint8_t>(bytes.size())};
}

size_t lines_in(const std::string &text)
{
    size_t count = 0;
    for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
        ++count;
    return count;
}

} // namespace

TEST(UsctlSend, SendsTheBytesUpToTheCursor)
{
    Conversation talk;
    Bytes bytes = {0x31, 1, 0, 0, 9, 9};
    usmsg_buf_t buf = message_of(bytes);
    buf.pos = 4;
    EXPECT_EQ(usctl_send(&talk.unit, &buf), 0);
    EXPECT_EQ(talk.written(), std::vector<Bytes>({{0x31, 1, 0, 0}}));
    EXPECT_EQ(talk.sleeps(), 0U);
}

TEST(UsctlSend, RefusesMoreThanSixtyFourBytesWithoutATransfer)
{
    Conversation talk;
    Bytes bytes(65);
    const usmsg_buf_t buf = message_of(bytes);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_send(&talk.unit, &buf), 1); }), line);
    EXPECT_TRUE(talk.platform.opened.empty());
}

TEST(UsctlSend, HardFailureCountsAsSentAfterOneAttempt)
{
    Conversation talk;
    talk.fail_write(5);
    Bytes bytes = {0x31, 1};
    const usmsg_buf_t buf = message_of(bytes);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_send(&talk.unit, &buf), 0); }), system_error("0x5") + line);
    EXPECT_EQ(talk.written().size(), 1U);
    EXPECT_EQ(talk.sleeps(), 0U);
}

TEST(UsctlSend, TransientFailureIsTriedThreeTimes)
{
    Conversation talk;
    for (int attempt = 0; attempt < 3; ++attempt)
        talk.fail_write(31);
    Bytes bytes = {0x31, 1};
    const usmsg_buf_t buf = message_of(bytes);
    const std::string attempt = system_error("0x1f") + line;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_send(&talk.unit, &buf), 1); }), attempt + attempt + attempt + line);
    EXPECT_EQ(talk.written().size(), 3U);
    EXPECT_EQ(talk.platform.sleeps, (std::vector<uint32_t>{10, 10}));
}

TEST(UsctlSend, SecondOrThirdAttemptMaySucceed)
{
    for (size_t failures = 1; failures <= 2; ++failures) {
        Conversation talk;
        for (size_t failure = 0; failure < failures; ++failure)
            talk.fail_write(31);
        Bytes bytes = {0x31, 1};
        const usmsg_buf_t buf = message_of(bytes);
        EXPECT_EQ(usctl_send(&talk.unit, &buf), 0);
        EXPECT_EQ(talk.written().size(), failures + 1);
        EXPECT_EQ(talk.sleeps(), failures);
    }
}

TEST(UsctlSend, WithoutADeviceCountsAsSent)
{
    Conversation talk;
    usdev_t *none = nullptr;
    Bytes bytes = {0x31, 1};
    const usmsg_buf_t buf = message_of(bytes);
    EXPECT_EQ(usctl_send(&none, &buf), 0);
    EXPECT_TRUE(talk.platform.opened.empty());
}

TEST(UsctlRecv, RewindsAndFillsTheBlock)
{
    Conversation talk;
    talk.reply({1, 2, 3});
    Bytes bytes(64, 0xFF);
    usmsg_buf_t buf = message_of(bytes);
    EXPECT_EQ(usctl_recv(&talk.unit, &buf), 0);
    EXPECT_EQ(buf.pos, 0);
    EXPECT_EQ(bytes[2], 3);
    EXPECT_EQ(bytes[63], 0);
}

TEST(UsctlRecv, ReadsSixtyFourBytesAtTheMost)
{
    Conversation talk;
    Bytes bytes(70, 0xFF);
    usmsg_buf_t buf = message_of(bytes);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_recv(&talk.unit, &buf), 0); }), line);
    EXPECT_EQ(talk.platform.requests.at(0).out_length, 64U);
    EXPECT_EQ(bytes[64], 0xFF);
}

TEST(UsctlRecv, AnyFailureIsOne)
{
    for (const uint32_t error : {5U, 31U}) {
        Conversation talk;
        talk.fail_read(error);
        Bytes bytes(64);
        usmsg_buf_t buf = message_of(bytes);
        EXPECT_EQ(usctl_recv(&talk.unit, &buf), 1);
    }
}

TEST(UsctlWaitReady, EndsAtTheReadyFlagOrWithoutOne)
{
    for (const Bytes &reply : {ready, Bytes(), Bytes{0x18, 1}, Bytes{0xA1, 2, 0, 0xA1, 2, 255}}) {
        Conversation talk;
        talk.reply(reply);
        EXPECT_EQ(usctl_wait_ready(&talk.unit), 0);
        EXPECT_EQ(talk.reads(), 1U);
        EXPECT_EQ(talk.sleeps(), 0U);
    }
}

TEST(UsctlWaitReady, BusyForAThousandPollsFailsWithoutALine)
{
    Conversation talk;
    talk.silence = block(busy);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_wait_ready(&talk.unit), 1); }), "");
    EXPECT_EQ(talk.reads(), 1000U);
    EXPECT_EQ(talk.platform.sleeps, std::vector<uint32_t>(1000, 10));
}

TEST(UsctlWaitReady, FailedReadsCountAsBusyWithALineEach)
{
    Conversation talk;
    talk.fail_read(5);
    talk.reply(busy);
    talk.reply(ready);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_wait_ready(&talk.unit), 0); }), system_error("0x5") + line + line);
    EXPECT_EQ(talk.sleeps(), 2U);
}

TEST(UsctlPutChValue, AppendsAllThreeOrNothing)
{
    for (uint8_t room = 0; room <= 20; ++room) {
        Bytes bytes(20, 0xEE);
        usmsg_buf_t buf = {bytes.data(), 20, static_cast<uint8_t>(20 - room)};
        int result = 0;
        const std::string text = printed([&] { result = usctl_put_ch_value(&buf, 5, 1, 0x86, 4); });
        EXPECT_EQ(result, room < 9 ? 1 : 0) << int(room);
        EXPECT_EQ(lines_in(text), room < 9 ? 1U : 0U) << int(room);
        EXPECT_EQ(buf.pos, 20 - room + (room < 9 ? 0 : 9)) << int(room);
        EXPECT_EQ(buf.data, bytes.data());
        EXPECT_EQ(buf.size, 20);
    }
}

TEST(UsctlPutChValue, NullIsASilentFailure)
{
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_put_ch_value(nullptr, 5, 1, 0x86, 4), 1); }), "");
}

TEST(UsctlPutChValue, NumberIsSentAsItsLowByte)
{
    Bytes bytes(64);
    usmsg_buf_t buf = {bytes.data(), 64, 0};
    EXPECT_EQ(usctl_put_ch_value(&buf, 4, 0x102, 0x83, 1), 0);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 9), (Bytes{0x61, 2, 4, 0x62, 2, 2, 0x83, 2, 1}));
}

namespace {

struct Set
{
    const char *name;
    std::function<int(usdev_t **)> call;
    Bytes message;
    size_t extra_lines = 0;
};

const std::vector<Set> &sets()
{
    static const std::vector<Set> all = {
        {"power save", [](usdev_t **u) { return usctl_set_autopowersave(u, 1); }, {0x15, 2, 1, 0, 0}},
        {"u8", [](usdev_t **u) { return usctl_set_u8(u, 7); }, {0x13, 2, 7, 0, 0}},
        {"u32", [](usdev_t **u) { return usctl_set_u32(u, 0x01020304); }, {0x17, 4, 4, 3, 2, 1, 0, 0}},
        {"a2", [](usdev_t **u) { return usctl_cmd_a2(u); }, {0xA2, 2, 0, 0, 0}},
        {"fader",
         [](usdev_t **u) { return usctl_set_fader(u, 2, 1, 99); },
         {0x61, 2, 2, 0x62, 2, 1, 0x81, 2, 99, 0, 0}},
        {"mute", [](usdev_t **u) { return usctl_set_mute(u, 4, 2, 1); }, {0x61, 2, 4, 0x62, 2, 2, 0x83, 2, 1, 0, 0}},
        {"stereo",
         [](usdev_t **u) { return usctl_set_stereo(u, 5, 1, 4); },
         {0x61, 2, 5, 0x62, 2, 1, 0x86, 2, 4, 0, 0},
         1},
        {"route",
         [](usdev_t **u) { return usctl_set_route(u, 4, 1, 2, 3); },
         {0x61, 2, 4, 0x62, 2, 1, 0x41, 1, 0x61, 2, 2, 0x62, 2, 3, 0x42, 1, 0x43, 1, 0, 0}},
    };
    return all;
}

} // namespace

TEST(UsctlSets, WaitForReadyAndSendOnce)
{
    for (const Set &set : sets()) {
        Conversation talk;
        talk.reply(busy);
        talk.reply(ready);
        EXPECT_EQ(printed([&] { EXPECT_EQ(set.call(&talk.unit), 0) << set.name; }), "") << set.name;
        EXPECT_EQ(talk.written(), std::vector<Bytes>({set.message})) << set.name;
        EXPECT_EQ(talk.reads(), 2U) << set.name;
    }
}

TEST(UsctlSets, BusyUnitFailsWithOneLine)
{
    for (const Set &set : sets()) {
        Conversation talk;
        talk.silence = block(busy);
        const std::string text = printed([&] { EXPECT_EQ(set.call(&talk.unit), 1) << set.name; });
        EXPECT_EQ(lines_in(text), 1 + set.extra_lines) << set.name;
        EXPECT_TRUE(talk.written().empty()) << set.name;
    }
}

TEST(UsctlSets, UnitThatDoesNotRespondFailsWithALineMore)
{
    for (const Set &set : sets()) {
        Conversation talk;
        for (int attempt = 0; attempt < 3; ++attempt)
            talk.fail_write(31);
        const std::string text = printed([&] { EXPECT_EQ(set.call(&talk.unit), 1) << set.name; });
        EXPECT_EQ(lines_in(text), 4 + 1 + set.extra_lines) << set.name;
    }
}

TEST(UsctlSets, HardFailureCountsAsSent)
{
    for (const Set &set : sets()) {
        Conversation talk;
        talk.fail_write(5);
        EXPECT_EQ(set.call(&talk.unit), 0) << set.name;
    }
}

namespace {

struct Query
{
    const char *name;
    std::function<int(usdev_t **, uint64_t *)> call;
    std::function<int(usdev_t **)> call_without_output;
    Bytes message;
    Bytes answer;
    uint64_t value;
    size_t polls = 100;
    size_t extra_lines = 0;
};

template <typename Number>
std::function<int(usdev_t **, uint64_t *)> reading(int (*command)(usdev_t **, Number *))
{
    return [command](usdev_t **unit, uint64_t *value) {
        Number number = 0;
        const int result = command(unit, &number);
        *value = number;
        return result;
    };
}

template <typename Number>
std::function<int(usdev_t **, uint64_t *)> reading(int (*command)(usdev_t **, uint32_t, uint32_t, Number *))
{
    return [command](usdev_t **unit, uint64_t *value) {
        Number number = 0;
        const int result = command(unit, 4, 2, &number);
        *value = number;
        return result;
    };
}

const std::vector<Query> &queries()
{
    static const std::vector<Query> all = {
        {"rate",
         reading(usctl_get_hz),
         [](usdev_t **u) { return usctl_get_hz(u, nullptr); },
         {0x18, 1, 0, 0},
         {0x18, 4, 0x00, 0x77, 0x01, 0x00},
         96000},
        {"power save",
         reading(usctl_get_autopowersave),
         [](usdev_t **u) { return usctl_get_autopowersave(u, nullptr); },
         {0x14, 1, 0, 0},
         {0x15, 2, 1},
         1,
         100,
         1},
        {"u32",
         [](usdev_t **u, uint64_t *value) {
             uint32_t number = 0;
             const int result = usctl_query_u32(u, 5, &number);
             *value = number;
             return result;
         },
         [](usdev_t **u) { return usctl_query_u32(u, 5, nullptr); },
         {0x27, 4, 5, 0, 0, 0, 0, 0},
         {0x28, 4, 4, 3, 2, 1},
         0x01020304,
         3000},
        {"fader",
         reading(usctl_get_fader),
         [](usdev_t **u) { return usctl_get_fader(u, 4, 2, nullptr); },
         {0x61, 2, 4, 0x62, 2, 2, 0xC1, 1, 0, 0},
         {0x61, 2, 4, 0x62, 2, 2, 0xC1, 2, 99},
         99},
        {"mute",
         reading(usctl_get_mute),
         [](usdev_t **u) { return usctl_get_mute(u, 4, 2, nullptr); },
         {0x61, 2, 4, 0x62, 2, 2, 0xC3, 1, 0, 0},
         {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 1},
         1},
        {"stereo",
         reading(usctl_get_stereo),
         [](usdev_t **u) { return usctl_get_stereo(u, 4, 2, nullptr); },
         {0x61, 2, 4, 0x62, 2, 2, 0xC6, 1, 0, 0},
         {0x61, 2, 4, 0x62, 2, 2, 0xC6, 2, 4},
         4,
         100,
         1},
    };
    return all;
}

} // namespace

TEST(UsctlQueries, AskOnceAndTakeTheAnswer)
{
    for (const Query &query : queries()) {
        Conversation talk;
        talk.reply(ready);
        talk.reply({0x12, 5, 1, 'x'});
        talk.reply(query.answer);
        uint64_t value = 0;
        EXPECT_EQ(printed([&] { EXPECT_EQ(query.call(&talk.unit, &value), 0) << query.name; }), "") << query.name;
        EXPECT_EQ(value, query.value) << query.name;
        EXPECT_EQ(talk.written(), std::vector<Bytes>({query.message})) << query.name;
        EXPECT_EQ(talk.sleeps(), 1U) << query.name;
        EXPECT_TRUE(talk.all_replies_taken());
    }
}

TEST(UsctlQueries, OutputMayBeNull)
{
    for (const Query &query : queries()) {
        Conversation talk;
        talk.reply(ready);
        talk.reply(query.answer);
        EXPECT_EQ(query.call_without_output(&talk.unit), 0) << query.name;
    }
}

TEST(UsctlQueries, SilentUnitEndsTheBudget)
{
    for (const Query &query : queries()) {
        Conversation talk;
        uint64_t value = 0;
        const std::string text = printed([&] { EXPECT_EQ(query.call(&talk.unit, &value), 1) << query.name; });
        EXPECT_EQ(lines_in(text), query.extra_lines) << query.name;
        EXPECT_EQ(talk.reads(), 1 + query.polls) << query.name;
        EXPECT_EQ(talk.platform.sleeps, std::vector<uint32_t>(query.polls, 10)) << query.name;
    }
}

TEST(UsctlQueries, FailedReadEndsTheCommand)
{
    for (const Query &query : queries()) {
        Conversation talk;
        talk.reply(ready);
        talk.fail_read(31);
        uint64_t value = 0;
        const std::string text = printed([&] { EXPECT_EQ(query.call(&talk.unit, &value), 1) << query.name; });
        EXPECT_EQ(lines_in(text), 2 + query.extra_lines) << query.name;
        EXPECT_EQ(talk.reads(), 2U) << query.name;
    }
}

TEST(UsctlQueries, BusyUnitIsNotAsked)
{
    for (const Query &query : queries()) {
        Conversation talk;
        talk.silence = block(busy);
        uint64_t value = 0;
        const std::string text = printed([&] { EXPECT_EQ(query.call(&talk.unit, &value), 1) << query.name; });
        EXPECT_EQ(lines_in(text), 1 + query.extra_lines) << query.name;
        EXPECT_TRUE(talk.written().empty()) << query.name;
    }
}

TEST(UsctlChannelQueries, NumberMustBeNamedBeforeTheValue)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0xC1, 2, 11, 0x62, 2, 1});
    talk.reply({0xC1, 2, 22});
    uint8_t value = 0;
    EXPECT_EQ(usctl_get_fader(&talk.unit, 5, 1, &value), 0);
    // The number named at the end of the first block still holds in the second.
    EXPECT_EQ(value, 22);
}

TEST(UsctlChannelQueries, OtherChannelsAreSkippedAndTheLastAnswerOfABlockHolds)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x61, 2, 4, 0x62, 2, 1, 0xC1, 2, 1, 0x61, 2, 5, 0xC1, 2, 2, 0x62, 2, 2, 0xC1, 2, 3});
    talk.reply({0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 4, 0xC1, 2, 5});
    uint8_t value = 0;
    EXPECT_EQ(usctl_get_fader(&talk.unit, 5, 1, &value), 0);
    EXPECT_EQ(value, 2);
    Conversation again;
    again.reply(ready);
    again.reply({0x61, 2, 5, 0x62, 2, 1, 0xC1, 2, 4, 0xC1, 2, 5});
    EXPECT_EQ(usctl_get_fader(&again.unit, 5, 1, &value), 0);
    EXPECT_EQ(value, 5);
}

TEST(UsctlPowerSave, OnlyTheReportIsAnAnswer)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x14, 2, 1});
    talk.reply({0x15, 2, 0});
    uint8_t value = 9;
    EXPECT_EQ(usctl_get_autopowersave(&talk.unit, &value), 0);
    EXPECT_EQ(value, 0);
}

TEST(UsctlIdentity, NumbersComeAsTheyAre)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x32, 3, 110, 0, 0x33, 3, 0x34, 0x12});
    uint16_t value = 0;
    EXPECT_EQ(usctl_get_build(&talk.unit, &value), 0);
    EXPECT_EQ(value, 0x1234);
    EXPECT_EQ(talk.written(), std::vector<Bytes>({{0x31, 1, 0, 0}}));
}

TEST(UsctlIdentity, EachCallAsksAnew)
{
    Conversation talk;
    for (int call = 0; call < 2; ++call) {
        talk.reply(ready);
        talk.reply({0x32, 3, 110, 0});
        uint16_t value = 0;
        EXPECT_EQ(usctl_get_version(&talk.unit, &value), 0);
        EXPECT_EQ(value, 110);
    }
    EXPECT_EQ(talk.written().size(), 2U);
}

TEST(UsctlIdentity, TextsAreCutToTheirRoom)
{
    using Command = int (*)(usdev_t **, uint8_t *, uint8_t, uint8_t *);
    const std::vector<std::pair<Command, uint8_t>> commands = {{usctl_get_productname, 0x34},
                                                               {usctl_get_builddate, 0x35},
                                                               {usctl_get_buildtime, 0x36},
                                                               {usctl_get_info, 0x37}};
    const std::string text = "abcdefghijklmnopqrst";
    for (const auto &[command, id] : commands) {
        for (const uint8_t max : {uint8_t{8}, uint8_t{20}, uint8_t{255}}) {
            Conversation talk;
            talk.reply(ready);
            Bytes answer(text.begin(), text.end());
            answer.insert(answer.begin(), {id, 5, 20});
            talk.reply(answer);
            Bytes out(max, 0xEE);
            uint8_t length = 0;
            EXPECT_EQ(command(&talk.unit, out.data(), max, &length), 0);
            EXPECT_EQ(length, std::min<size_t>(max, text.size()));
            EXPECT_EQ(std::string(out.begin(), out.begin() + length), text.substr(0, length));
            EXPECT_TRUE(std::all_of(out.begin() + length, out.end(), [](uint8_t byte) { return byte == 0xEE; }));
        }
    }
}

TEST(UsctlIdentity, EmptyTextIsAskedAgain)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x34, 5, 0});
    talk.reply({0x34, 5, 1, 'K'});
    std::array<uint8_t, 8> out = {};
    uint8_t length = 9;
    EXPECT_EQ(usctl_get_productname(&talk.unit, out.data(), 8, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(talk.sleeps(), 1U);
    EXPECT_EQ(talk.written().size(), 1U);
}

TEST(UsctlIdentity, NumbersNeverFollowAnAddressAndNeverOverflow)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x34, 4, 0xFF, 0xFF, 0xFF, 0xFF});
    talk.reply({0x34, 2, 7});
    talk.reply({0x34, 1});
    talk.reply({0x34, 3, 'h', 'i'});
    Bytes out(1, 0xEE);
    uint8_t length = 0;
    const std::string text = printed([&] { EXPECT_EQ(usctl_get_productname(&talk.unit, out.data(), 1, &length), 0); });
    EXPECT_EQ(lines_in(text), 3U);
    EXPECT_EQ(out, Bytes{'h'});
    EXPECT_EQ(length, 1);
}

TEST(UsctlIdentity, DebugTextsOnTheWayArePrinted)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x12, 5, 4, 'l', 'o', 0, 'g', 0x32, 3, 1, 0, 0x12, 5, 1, 'x'});
    uint16_t value = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_version(&talk.unit, &value), 0); }), "\ndbg:lo\n");
}

TEST(UsctlIdentity, SilentUnitEndsWithALine)
{
    Conversation talk;
    uint16_t value = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_version(&talk.unit, &value), 1); }), line);
    EXPECT_EQ(talk.reads(), 101U);
    EXPECT_EQ(talk.sleeps(), 100U);
}

TEST(UsctlIdentity, BusyUnitIsNotAsked)
{
    Conversation talk;
    talk.silence = block(busy);
    uint16_t value = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_version(&talk.unit, &value), 1); }), line);
    EXPECT_TRUE(talk.written().empty());
}

TEST(UsctlIdentity, FailedReadEndsTheCommand)
{
    Conversation talk;
    talk.reply(ready);
    talk.fail_read(5);
    uint16_t value = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_version(&talk.unit, &value), 1); }), system_error("0x5") + line + line);
    EXPECT_EQ(talk.reads(), 2U);
}

TEST(UsctlRoutes, AreRenderedAsText)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x61, 2, 5, 0x62, 2, 1, 0x41, 1, 0x61, 2, 2, 0x62, 2, 1, 0x42, 1, 0x43, 1});
    talk.reply({0xA1, 2, 1, 0x18, 4, 0x44, 0xAC, 0, 0});
    std::array<char, 512> text = {};
    uint32_t length = 0;
    EXPECT_EQ(usctl_dump_routes(&talk.unit, text.data(), text.size(), &length), 0);
    const std::string expected = "USMSG_DATA_CH_DIRECTMONITOR_OUT:1 -> USMSG_DATA_CH_MASTER_OUT:1\n"
                                 "cmd = 0x18, type=4, data = 44100, size = 4\n";
    EXPECT_EQ(std::string(text.data()), expected);
    EXPECT_EQ(length, expected.size());
    EXPECT_EQ(talk.platform.sleeps, std::vector<uint32_t>(4, 100));
    EXPECT_EQ(talk.written(),
              std::vector<Bytes>({{0x61, 2, 0, 0x62, 2, 0, 0x41, 1, 0x61, 2, 0, 0x62, 2, 0, 0x42, 1, 0x43, 1, 0, 0}}));
}

TEST(UsctlRoutes, NeverWritePastTheirRoom)
{
    for (size_t capacity = 0; capacity <= 40; ++capacity) {
        Conversation talk;
        talk.reply(ready);
        talk.reply({0x41, 1, 0x43, 1, 0x43, 1});
        std::vector<char> text(capacity, '?');
        uint32_t length = 0;
        const std::string output = printed([&] {
            EXPECT_EQ(usctl_dump_routes(&talk.unit, text.data(), static_cast<uint32_t>(capacity), &length), 0);
        });
        const std::string full = "UNKNOWN:0 -> UNKNOWN:0\n";
        EXPECT_EQ(lines_in(output), full.size() > capacity ? 1U : 0U) << capacity;
        EXPECT_EQ(length, full.size() > capacity ? full.size() : 2 * full.size()) << capacity;
    }
}

TEST(UsctlRoutes, OutputsMayBeNullAndFailuresEnd)
{
    Conversation talk;
    talk.reply(ready);
    talk.reply({0x43, 1});
    EXPECT_EQ(usctl_dump_routes(&talk.unit, nullptr, 0, nullptr), 0);
    Conversation failing;
    failing.reply(ready);
    failing.reply({0x43, 1});
    failing.fail_read(5);
    std::array<char, 64> text = {};
    uint32_t length = 0;
    EXPECT_EQ(usctl_dump_routes(&failing.unit, text.data(), text.size(), &length), 1);
    EXPECT_EQ(length, 23U);
}

TEST(UsctlRoutes, BusyUnitIsNotAsked)
{
    Conversation talk;
    talk.silence = block(busy);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_dump_routes(&talk.unit, nullptr, 0, nullptr), 1); }), line + line);
    EXPECT_TRUE(talk.written().empty());
}

TEST(UsctlRoutes, FailedReadEndsTheCommand)
{
    Conversation talk;
    talk.reply(ready);
    talk.fail_read(5);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_dump_routes(&talk.unit, nullptr, 0, nullptr), 1); }),
              system_error("0x5") + line + line);
    EXPECT_EQ(talk.reads(), 2U);
}

TEST(UsctlRoutes, NoLineIsAnEmptyText)
{
    Conversation talk;
    std::array<char, 4> text = {'a', 'b', 'c', 'd'};
    uint32_t length = 7;
    EXPECT_EQ(usctl_dump_routes(&talk.unit, text.data(), text.size(), &length), 0);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(text, (std::array<char, 4>{'\0', 'b', 'c', 'd'}));
}

TEST(UsctlDebug, TakesTheTextOfOneBlockWithoutAsking)
{
    Conversation talk;
    talk.reply({0x12, 5, 5, 'h', 'e', 'l', 'l', 'o', 0x12, 4, 1, 2, 3, 4});
    Bytes out(3, 0xEE);
    uint8_t length = 0;
    EXPECT_EQ(usctl_get_debug(&talk.unit, out.data(), 3, &length), 0);
    EXPECT_EQ(out, (Bytes{'h', 'e', 'l'}));
    EXPECT_EQ(length, 3);
    EXPECT_EQ(talk.reads(), 1U);
    EXPECT_TRUE(talk.written().empty());
    EXPECT_EQ(talk.sleeps(), 0U);
}

TEST(UsctlDebug, FailedReadEndsTheCommand)
{
    Conversation talk;
    talk.fail_read(5);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_debug(&talk.unit, nullptr, 0, nullptr), 1); }),
              system_error("0x5") + line + line);
    EXPECT_EQ(talk.reads(), 1U);
}

TEST(UsctlDebug, PrintsUpToAZeroByte)
{
    const Bytes text = {'a', 'b', 0, 'c'};
    EXPECT_EQ(printed([&] { usctl_print_debug(text.data(), 4); }), "ab");
    EXPECT_EQ(printed([&] { usctl_print_debug(text.data(), 1); }), "a");
    EXPECT_EQ(printed([&] { usctl_print_debug(text.data(), 0); }), "");
}
