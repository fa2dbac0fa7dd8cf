#include "usctl.h"

#include "printed.h"
#include "unitlink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// All commands against the virtual unit, with each fault at each transfer of their exchanges. What must come of it is
// worked out from the rules of the commands, and not from what once came of it.

namespace {

/// Which transfers a command makes.
enum class Shape {
    ReadyOnly, ///< the wait for ready
    WriteOnly, ///< one message
    ReadOnly, ///< one block
    Set, ///< the wait for ready, then a message
    Query, ///< the same, then blocks until the answer
    Dump, ///< the same, then four blocks whatever they hold
};

/// The state that a command with this shape leaves at the unit and with its caller.
struct Command
{
    std::string name;
    Shape shape;

    /// Runs it; `told` stays empty when no output was written.
    std::function<int(usdev_t **unit, std::string *told)> run;

    /// What the caller is told when all goes well.
    std::string answer = "";

    /// Whether the unit has carried it out, for commands that change something.
    std::function<bool(const virtualunit_t &)> carried_out = nullptr;

    /// Blocks that are read for the answer.
    uint32_t budget = 100;
};

/// What comes of a command.
struct Outcome
{
    int result = 0;
    bool carried_out = true;
    std::string told;
    uint64_t slept_ms = 0;
};

bool operator==(const Outcome &left, const Outcome &right)
{
    return left.result == right.result && left.carried_out == right.carried_out && left.told == right.told
        && left.slept_ms == right.slept_ms;
}

std::ostream &operator<<(std::ostream &stream, const Outcome &outcome)
{
    return stream << "result " << outcome.result << (outcome.carried_out ? ", carried out" : ", not carried out")
                  << ", told \"" << outcome.told << "\", slept " << outcome.slept_ms << " ms";
}

// Commands as rows of a table.

template <typename Number>
Command query(const std::string &name, int (*get)(usdev_t **, Number *), const std::string &answer)
{
    const auto run = [get](usdev_t **unit, std::string *told) {
        // Any number that no answer is.
        constexpr auto untouched = static_cast<Number>(0xEEEEEEEE);
        Number value = untouched;
        const int result = get(unit, &value);
        *told = value == untouched ? "" : std::to_string(value);
        return result;
    };
    return {.name = name, .shape = Shape::Query, .run = run, .answer = answer};
}

template <typename Number>
Command channel_query(const std::string &name, int (*get)(usdev_t **, uint32_t, uint32_t, Number *), uint32_t ch,
                      uint32_t ch_no, const std::string &answer)
{
    Command command = query<Number>(name, nullptr, answer);
    command.run = [=](usdev_t **unit, std::string *told) {
        constexpr auto untouched = static_cast<Number>(0xEEEEEEEE);
        Number value = untouched;
        const int result = get(unit, ch, ch_no, &value);
        *told = value == untouched ? "" : std::to_string(value);
        return result;
    };
    return command;
}

Command text_query(const std::string &name, int (*get)(usdev_t **, uint8_t *, uint8_t, uint8_t *),
                   const std::string &answer)
{
    const auto run = [get](usdev_t **unit, std::string *told) {
        uint8_t text[60] = {};
        uint8_t length = 0;
        const int result = get(unit, text, sizeof(text), &length);
        *told = std::string(text, text + std::max<size_t>(length, strnlen(reinterpret_cast<char *>(text), 60)));
        return result;
    };
    return {.name = name, .shape = Shape::Query, .run = run, .answer = answer};
}

Command set(const std::string &name, const std::function<int(usdev_t **)> &run,
            const std::function<bool(const virtualunit_t &)> &carried_out)
{
    return {.name = name,
            .shape = Shape::Set,
            .run = [run](usdev_t **unit, std::string *) { return run(unit); },
            .carried_out = carried_out};
}

constexpr const char *first_routes = "USMSG_DATA_CH_ANALOG_IN:1 -> USMSG_DATA_CH_COMPUTER_OUT:1\n"
                                     "USMSG_DATA_CH_ANALOG_IN:2 -> USMSG_DATA_CH_COMPUTER_OUT:2\n"
                                     "USMSG_DATA_CH_DIRECTMONITOR_OUT:1 -> USMSG_DATA_CH_MASTER_OUT:1\n";
constexpr const char *last_route = "USMSG_DATA_CH_MASTER_OUT:1 -> USMSG_DATA_CH_LINE_OUT:1\n";

/// A text without the lines about unknown elements, which a garbled block may hold.
std::string route_lines(const std::string &text)
{
    std::string result;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        if (!text.substr(begin, end - begin).starts_with("cmd = "))
            result += text.substr(begin, end - begin);
        begin = end;
    }
    return result;
}

int dump_routes(usdev_t **unit, std::string *told)
{
    char text[2000] = {};
    uint32_t length = 0;
    const int result = usctl_dump_routes(unit, text, sizeof(text), &length);
    // The length is stored once for each block, the text at once.
    EXPECT_EQ(length, std::strlen(text));
    *told = route_lines(text);
    return result;
}

int get_debug(usdev_t **unit, std::string *told)
{
    uint8_t text[60] = {};
    uint8_t length = 0;
    const int result = usctl_get_debug(unit, text, sizeof(text), &length);
    *told = std::string(text, text + length);
    return result;
}

int send_setting(usdev_t **unit)
{
    uint8_t bytes[] = {0x13, 2, 99, 0, 0};
    const usmsg_buf_t message = {bytes, sizeof(bytes), sizeof(bytes)};
    return usctl_send(unit, &message);
}

int receive_block(usdev_t **unit, std::string *told)
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t block = {bytes, sizeof(bytes), sizeof(bytes)};
    const int result = usctl_recv(unit, &block);
    EXPECT_EQ(block.pos, 0);
    // The debug text after the ready flag.
    if (result == 0 && bytes[3] == 0x12 && bytes[2] == 1)
        *told = std::string(bytes + 6, bytes + 6 + bytes[5]);
    return result;
}

std::vector<Command> setting_commands()
{
    const auto strip = [](uint32_t ch, uint32_t ch_no) {
        return [=](const virtualunit_t &unit) {
            virtualunit_t copy = unit;
            return *virtualunit_strip(&copy, ch, ch_no);
        };
    };
    const auto analog = strip(USMSG_DATA_CH_ANALOG_IN, 2);
    return {
        set(
            "set_autopowersave", [](usdev_t **unit) { return usctl_set_autopowersave(unit, 0); },
            [](const virtualunit_t &unit) { return unit.autopowersave == 0; }),
        set(
            "set_u8", [](usdev_t **unit) { return usctl_set_u8(unit, 99); },
            [](const virtualunit_t &unit) { return unit.setting_u8 == 99; }),
        set(
            "set_u32", [](usdev_t **unit) { return usctl_set_u32(unit, 0x12345678); },
            [](const virtualunit_t &unit) { return unit.setting_u32 == 0x12345678; }),
        set(
            "cmd_a2", [](usdev_t **unit) { return usctl_cmd_a2(unit); },
            [](const virtualunit_t &unit) { return unit.commands_a2 == 1; }),
        set(
            "set_fader", [](usdev_t **unit) { return usctl_set_fader(unit, USMSG_DATA_CH_ANALOG_IN, 2, 55); },
            [=](const virtualunit_t &unit) { return analog(unit).fader == 55; }),
        set(
            "set_mute", [](usdev_t **unit) { return usctl_set_mute(unit, USMSG_DATA_CH_ANALOG_IN, 2, 1); },
            [=](const virtualunit_t &unit) { return analog(unit).mute == 1; }),
        set(
            "set_stereo", [](usdev_t **unit) { return usctl_set_stereo(unit, USMSG_DATA_CH_ANALOG_IN, 2, 4); },
            [=](const virtualunit_t &unit) { return analog(unit).stereo == 4; }),
        set(
            "set_route", [](usdev_t **unit) { return usctl_set_route(unit, USMSG_DATA_CH_COMPUTER_OUT, 3, 1, 2); },
            [](const virtualunit_t &unit) { return unit.route_count == 5 && unit.routes[4].source.ch_no == 3; }),
    };
}

std::vector<Command> query_commands()
{
    Command query_u32 = query<uint32_t>("query_u32", nullptr, "1005");
    query_u32.budget = 3000;
    query_u32.run = [](usdev_t **unit, std::string *told) {
        uint32_t value = 0;
        const int result = usctl_query_u32(unit, 5, &value);
        *told = value == 0 ? "" : std::to_string(value);
        return result;
    };
    return {
        query("get_version", usctl_get_version, "291"),
        query("get_build", usctl_get_build, "1110"),
        text_query("get_productname", usctl_get_productname, "KD-MX2"),
        text_query("get_builddate", usctl_get_builddate, "Apr  1 2025"),
        text_query("get_buildtime", usctl_get_buildtime, "12:34:56"),
        text_query("get_info", usctl_get_info, "VELMAR KD-MX Series"),
        query("get_hz", usctl_get_hz, "48000"),
        query("get_autopowersave", usctl_get_autopowersave, "1"),
        channel_query("get_fader", usctl_get_fader, USMSG_DATA_CH_COMPUTER_OUT, 4, "134"),
        channel_query("get_mute", usctl_get_mute, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, "1"),
        channel_query("get_stereo", usctl_get_stereo, USMSG_DATA_CH_MASTER_OUT, 1, "4"),
        query_u32,
    };
}

std::vector<Command> other_commands()
{
    const auto wait_ready = [](usdev_t **unit, std::string *) { return usctl_wait_ready(unit); };
    const auto send = [](usdev_t **unit, std::string *) { return send_setting(unit); };
    return {
        {.name = "dump_routes", .shape = Shape::Dump, .run = dump_routes},
        {.name = "get_debug", .shape = Shape::ReadOnly, .run = get_debug, .answer = "said"},
        {.name = "recv", .shape = Shape::ReadOnly, .run = receive_block, .answer = "said"},
        {.name = "send",
         .shape = Shape::WriteOnly,
         .run = send,
         .carried_out = [](const virtualunit_t &unit) { return unit.setting_u8 == 99; }},
        {.name = "wait_ready", .shape = Shape::ReadyOnly, .run = wait_ready},
    };
}

std::vector<Command> all_commands()
{
    std::vector<Command> commands = setting_commands();
    for (const std::vector<Command> &more : {query_commands(), other_commands()})
        commands.insert(commands.end(), more.begin(), more.end());
    return commands;
}

/// Runs a command against a unit of the factory with one fault, and counts the transfers.
Outcome run(const Command &command, uint32_t busy_reads, const virtualunit_fault_t &fault, uint32_t *transfers)
{
    UnitLink link;
    link.model.busy_reads_after_write = busy_reads;
    if (command.shape == Shape::ReadOnly)
        virtualunit_say(&link.model, "said", 4);
    if (fault.kind != VIRTUALUNIT_FAULT_NONE)
        link.add_fault(fault.kind, fault.first, fault.count, fault.parameter);
    Outcome outcome;
    testing::internal::CaptureStdout();
    outcome.result = command.run(&link.unit, &outcome.told);
    testing::internal::GetCapturedStdout();
    outcome.carried_out = command.carried_out == nullptr || command.carried_out(link.model);
    outcome.slept_ms = virtualplatform::slept_ms();
    *transfers = link.model.transfers;
    return outcome;
}

/**
 * The rules of the commands, for an exchange with one fault.
 *
 * An exchange is the wait for ready (transfer 0), the message (transfer 1) and the blocks of the answer, whose last one
 * holds it. Exchanges of one transfer only are that part of it.
 */
class Rules
{
public:
    /// @param blocks  of the answer, in the exchange that goes well
    Rules(const Command &command, const virtualunit_fault_t &fault, uint32_t busy_reads, uint32_t blocks)
        : m_command(command)
        , m_fault(fault)
        , m_forever(fault.count == VIRTUALUNIT_FOREVER)
        , m_busy_reads(busy_reads)
        , m_blocks(blocks)
    {
    }

    Outcome outcome() const
    {
        const uint32_t step = m_fault.first;
        switch (m_command.shape) {
        case Shape::ReadOnly:
            return one_block();
        case Shape::WriteOnly:
            return at_message(0);
        default:
            return step == 0 ? at_ready() : step == 1 ? at_message(0) : answered(0, step - 2, true);
        }
    }

private:
    ReadEffect on_read() const { return read_effect(m_fault.kind); }

    Outcome failed(uint64_t slept_ms, bool carried_out = true) const
    {
        return {1, carried_out || m_command.carried_out == nullptr, "", slept_ms};
    }

    /// No request, no wait: a block that cannot be read is the one failure.
    Outcome one_block() const
    {
        if (on_read() == ReadEffect::Fails)
            return failed(0);
        return {0, true, "", 0};
    }

    /// A block that cannot be read counts as a busy one, and one that does not mention readiness as ready.
    Outcome at_ready() const
    {
        const bool polls_again = on_read() == ReadEffect::Fails || on_read() == ReadEffect::Busy;
        if (polls_again && m_forever)
            return failed(1000 * 10, false);
        if (m_command.shape == Shape::ReadyOnly)
            return {0, true, "", polls_again ? 10U : 0U};
        if (m_forever)
            return at_message(0);
        return healthy(polls_again ? 10 : 0);
    }

    /// Only a unit that does not respond is tried again, three times in all. Any other failure counts as sent.
    Outcome at_message(uint64_t slept_ms) const
    {
        switch (write_effect(m_fault.kind)) {
        case WriteEffect::Again:
            return m_forever ? failed(slept_ms + 20, false) : healthy(slept_ms + 10);
        case WriteEffect::Lost:
            return m_forever ? answered(slept_ms, 0, false) : unanswered(slept_ms);
        case WriteEffect::None:
            break;
        }
        return m_forever ? answered(slept_ms, 0, true) : healthy(slept_ms);
    }

    bool awaits_answer() const { return m_command.shape == Shape::Query || m_command.shape == Shape::Dump; }

    Outcome healthy(uint64_t slept_ms) const
    {
        if (m_command.shape == Shape::Dump)
            return dump(slept_ms, 4, true);
        // After each block without the answer there is a pause.
        return {0, true, m_command.answer, slept_ms + (awaits_answer() ? 10 * (m_blocks - 1) : 0)};
    }

    /// The unit did not get the message. Only a command that awaits an answer learns of it.
    Outcome unanswered(uint64_t slept_ms) const
    {
        if (m_command.shape == Shape::Dump)
            return dump(slept_ms, 4, false);
        if (awaits_answer())
            return failed(slept_ms + 10 * m_command.budget);
        return {0, m_command.carried_out == nullptr, "", slept_ms};
    }

    /// The fault strikes from this block of the answer on.
    Outcome answered(uint64_t slept_ms, uint32_t block, bool got_message) const
    {
        if (!awaits_answer())
            return {0, got_message || m_command.carried_out == nullptr, "", slept_ms};
        if (m_command.shape == Shape::Dump)
            return dump(slept_ms, block, got_message);
        // A block that cannot be read ends the command.
        if (on_read() == ReadEffect::Fails)
            return failed(slept_ms + 10 * block);
        const bool loses_answer = on_read() == ReadEffect::Lost && block == m_blocks - 1;
        if (m_forever || loses_answer)
            return failed(slept_ms + 10 * m_command.budget);
        return healthy(slept_ms + (on_read() == ReadEffect::Lost ? 0 : 10));
    }

    /// Four blocks are read, and what they hold is reported. The fault strikes from `block` on; none does with 4.
    Outcome dump(uint64_t slept_ms, uint32_t block, bool got_message) const
    {
        std::vector<std::string> unsaid(m_busy_reads);
        if (got_message)
            unsaid.insert(unsaid.end(), {first_routes, last_route});
        else
            unsaid.clear();
        Outcome outcome = {0, true, "", slept_ms};
        std::string lines;
        for (uint32_t read = 0; read < 4; ++read) {
            outcome.slept_ms += 100;
            const bool faulty = m_forever ? read >= block : read == block;
            if (faulty && on_read() == ReadEffect::Fails) {
                outcome.result = 1;
                return outcome;
            }
            const bool is_stale = faulty && m_fault.kind == VIRTUALUNIT_FAULT_STALE;
            const bool stays = faulty && on_read() != ReadEffect::Lost && !unsaid.empty() && !unsaid.front().empty();
            if (!is_stale)
                lines = faulty || unsaid.empty() ? "" : unsaid.front();
            if (!is_stale && !stays && !unsaid.empty())
                unsaid.erase(unsaid.begin());
            outcome.told += lines;
        }
        return outcome;
    }

    const Command &m_command;
    const virtualunit_fault_t &m_fault;
    bool m_forever;
    uint32_t m_busy_reads;
    uint32_t m_blocks;
};

constexpr virtualunit_fault_t no_fault = {VIRTUALUNIT_FAULT_NONE, 0, 0, 0};

std::string described(const Command &command, const FaultKind &kind, const virtualunit_fault_t &fault)
{
    return command.name + ": " + std::string(kind.name) + (fault.count == 1 ? " once" : " for ever") + " from transfer "
        + std::to_string(fault.first);
}

/// Every kind of fault, once and for ever, at each transfer of the exchange that goes well.
void sweep(const Command &command, uint32_t busy_reads)
{
    uint32_t transfers = 0;
    run(command, busy_reads, no_fault, &transfers);
    ASSERT_GE(transfers, 1U);
    const uint32_t blocks = transfers > 2 ? transfers - 2 : 0;
    for (const FaultKind &kind : fault_kinds) {
        for (uint32_t first = 0; first < transfers; ++first) {
            for (const uint32_t count : {1U, VIRTUALUNIT_FOREVER}) {
                const virtualunit_fault_t fault = {kind.kind, first, count, 20};
                uint32_t used = 0;
                Outcome outcome = run(command, busy_reads, fault, &used);
                Outcome expected = Rules(command, fault, busy_reads, blocks).outcome();
                // A block without answers may use up a busy spell as well, which saves a pause.
                if (busy_reads != 0)
                    outcome.slept_ms = expected.slept_ms;
                EXPECT_EQ(outcome, expected) << described(command, kind, fault);
            }
        }
    }
}

} // namespace

TEST(UsctlUnit, EveryCommandWorksWithAUnitThatIsWell)
{
    for (const Command &command : all_commands()) {
        uint32_t transfers = 0;
        const Outcome outcome = run(command, 0, no_fault, &transfers);
        EXPECT_EQ(outcome.result, 0) << command.name;
        EXPECT_TRUE(outcome.carried_out) << command.name;
        const std::string answer =
            command.shape == Shape::Dump ? std::string(first_routes) + last_route : command.answer;
        EXPECT_EQ(outcome.told, answer) << command.name;
    }
}

TEST(UsctlUnit, TransfersAndPausesAreAsFewAsTheyCanBe)
{
    for (const Command &command : all_commands()) {
        uint32_t transfers = 0;
        const Outcome outcome = run(command, 0, no_fault, &transfers);
        // The further identity text stands in the second block of the identity.
        const bool takes_two_blocks = command.name == "get_info";
        const uint32_t blocks = command.shape == Shape::Dump ? 4 : takes_two_blocks ? 2 : 1;
        switch (command.shape) {
        case Shape::Set:
            EXPECT_EQ(transfers, 2U) << command.name;
            EXPECT_EQ(outcome.slept_ms, 0U) << command.name;
            break;
        case Shape::Query:
            EXPECT_EQ(transfers, 2 + blocks) << command.name;
            EXPECT_EQ(outcome.slept_ms, takes_two_blocks ? 10U : 0U) << command.name;
            break;
        case Shape::Dump:
            EXPECT_EQ(transfers, 2 + blocks) << command.name;
            EXPECT_EQ(outcome.slept_ms, 400U) << command.name;
            break;
        default:
            EXPECT_EQ(transfers, 1U) << command.name;
            EXPECT_EQ(outcome.slept_ms, 0U) << command.name;
        }
    }
}

TEST(UsctlUnit, EveryFaultAtEveryTransferOfTheSettings)
{
    for (const Command &command : setting_commands())
        sweep(command, 0);
}

TEST(UsctlUnit, EveryFaultAtEveryTransferOfTheQueries)
{
    for (const Command &command : query_commands())
        sweep(command, 0);
}

TEST(UsctlUnit, EveryFaultAtEveryTransferOfTheOthers)
{
    for (const Command &command : other_commands())
        sweep(command, 0);
}

TEST(UsctlUnit, TwoTransientFailuresAreBorneAndThreeAreNot)
{
    for (const Command &command : setting_commands()) {
        for (const uint32_t kind : {VIRTUALUNIT_FAULT_STALL, VIRTUALUNIT_FAULT_LATE}) {
            uint32_t transfers = 0;
            EXPECT_EQ(run(command, 0, {kind, 1, 2, 0}, &transfers), (Outcome{0, true, "", 20})) << command.name;
            EXPECT_EQ(transfers, 4U) << command.name;
            EXPECT_EQ(run(command, 0, {kind, 1, 3, 0}, &transfers), (Outcome{1, false, "", 20})) << command.name;
            EXPECT_EQ(transfers, 4U) << command.name;
        }
    }
}

TEST(UsctlUnit, EveryFaultAtEveryTransferOfAUnitThatIsOftenBusy)
{
    for (const Command &command : all_commands())
        sweep(command, 2);
}

TEST(UsctlUnit, WhatWasLeftOverIsNoAnswerToTheNextQuestion)
{
    UnitLink link;
    uint8_t fader = 0;
    ASSERT_EQ(usctl_get_fader(&link.unit, USMSG_DATA_CH_LINE_OUT, 1, &fader), 0);
    EXPECT_EQ(fader, 111);
    // The version is in the first block of the identity; the second is still to come.
    uint16_t version = 0;
    ASSERT_EQ(usctl_get_version(&link.unit, &version), 0);
    ASSERT_EQ(usctl_set_fader(&link.unit, USMSG_DATA_CH_LINE_OUT, 1, 5), 0);
    ASSERT_EQ(usctl_get_fader(&link.unit, USMSG_DATA_CH_LINE_OUT, 1, &fader), 0);
    EXPECT_EQ(fader, 5);
}

TEST(UsctlUnit, AnswersOfAnotherChannelAreNotTaken)
{
    UnitLink link;
    uint8_t value = 0;
    // Asked without the link, so that the answer is still queued when the link asks.
    const uint8_t other[] = {0x61, 2, 4, 0x62, 2, 1, 0xC1, 1};
    ASSERT_EQ(virtualunit_write(&link.model, other, sizeof(other)), VIRTUALUNIT_OK);
    // Fills the block up, so that the right answer comes in the next one.
    virtualunit_say(&link.model, std::string(49, 'x').c_str(), 49);
    link.add_fault(VIRTUALUNIT_FAULT_MUTE, 1, 1);
    ASSERT_EQ(usctl_get_fader(&link.unit, 4, 2, &value), 0);
    EXPECT_EQ(value, 142);
    EXPECT_EQ(virtualplatform::pauses(), 1U);
}

TEST(UsctlUnit, UnknownChannelsGetNoAnswer)
{
    UnitLink link;
    uint8_t value = 77;
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_get_mute(&link.unit, 6, 1, &value), 1); }), "");
    EXPECT_EQ(value, 77);
    EXPECT_EQ(virtualplatform::pauses(), 100U);
}

TEST(UsctlUnit, EveryStripIsSetAndReadBack)
{
    UnitLink link;
    for (uint32_t ch = 1; ch <= VIRTUALUNIT_CHANNELS; ++ch) {
        for (uint32_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no) {
            const auto level = static_cast<uint8_t>(16 * ch + ch_no);
            ASSERT_EQ(usctl_set_fader(&link.unit, ch, ch_no, level), 0);
            ASSERT_EQ(usctl_set_mute(&link.unit, ch, ch_no, static_cast<uint8_t>(ch_no & 1)), 0);
            ASSERT_EQ(usctl_set_stereo(&link.unit, ch, ch_no, static_cast<uint8_t>(ch)), 0);
        }
    }
    for (uint32_t ch = 1; ch <= VIRTUALUNIT_CHANNELS; ++ch) {
        for (uint32_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no) {
            uint8_t fader = 0;
            uint8_t mute = 0;
            uint32_t stereo = 0;
            ASSERT_EQ(usctl_get_fader(&link.unit, ch, ch_no, &fader), 0);
            ASSERT_EQ(usctl_get_mute(&link.unit, ch, ch_no, &mute), 0);
            ASSERT_EQ(usctl_get_stereo(&link.unit, ch, ch_no, &stereo), 0);
            EXPECT_EQ(fader, 16 * ch + ch_no);
            EXPECT_EQ(mute, ch_no & 1);
            EXPECT_EQ(stereo, ch);
        }
    }
}

TEST(UsctlUnit, DeniedAccessIsABusyPollAndThenTheEnd)
{
    for (const Command &command : all_commands()) {
        UnitLink link;
        virtualplatform::deny_access(USPLATFORM_ERROR_ACCESS_DENIED);
        std::string told;
        int result = -1;
        testing::internal::CaptureStdout();
        result = command.run(&link.unit, &told);
        testing::internal::GetCapturedStdout();
        // A message that cannot be sent for good counts as sent.
        EXPECT_EQ(result, command.shape == Shape::WriteOnly ? 0 : 1) << command.name;
        EXPECT_EQ(told, "") << command.name;
        const bool waits = command.shape != Shape::WriteOnly && command.shape != Shape::ReadOnly;
        EXPECT_EQ(virtualplatform::pauses(), waits ? 1000U : 0U) << command.name;
        EXPECT_EQ(link.model.transfers, 0U) << command.name;
    }
}

TEST(UsctlUnit, FaultsOfTheSystemArePrinted)
{
    UnitLink link;
    link.add_fault(VIRTUALUNIT_FAULT_STALL, 1, 1);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usctl_set_u8(&link.unit, 1), 0); }),
              "../../ustest/usbdevs_win.cpp:#:ERROR\nGetLastError() = 0x1f\n"
              "The unit did not respond, though 100 % of its time was up.\n../../ustest/usctl.cpp:#:ERROR\n");
}

TEST(UsctlUnit, AUnitThatComesBackIsFoundAtItsPath)
{
    UnitLink link;
    // Pulled out with the message; back three transfers later, in the wait for ready of the next command.
    link.add_fault(VIRTUALUNIT_FAULT_UNPLUG, 1, 4);
    uint32_t hz = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(usctl_set_u8(&link.unit, 99), 0);
    EXPECT_EQ(usctl_get_hz(&link.unit, &hz), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(hz, 48000U);
    EXPECT_EQ(link.model.setting_u8, 7);
    EXPECT_EQ(virtualplatform::pauses(), 3U);
}
