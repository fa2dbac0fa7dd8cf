#include "virtualunit.h"

#include "usmsg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ios>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes joined(Bytes left, const Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes text(uint8_t id, const std::string &value)
{
    return joined({id, 5, static_cast<uint8_t>(value.size())}, Bytes(value.begin(), value.end()));
}

Bytes u32(uint8_t id, uint32_t value)
{
    Bytes bytes = {id, 4};
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    return bytes;
}

/// A whole block of a ready unit that holds these bytes.
Bytes ready_block(const Bytes &bytes)
{
    Bytes block = joined({0xA1, 2, 1}, bytes);
    block.resize(64);
    return block;
}

Bytes busy_block()
{
    Bytes block = {0xA1, 2, 0};
    block.resize(64);
    return block;
}

class Unit : public testing::Test
{
protected:
    Unit() { virtualunit_init(&unit); }

    virtualunit_result_t write(const Bytes &message)
    {
        return virtualunit_write(&unit, message.data(), static_cast<uint32_t>(message.size()));
    }

    void send(const Bytes &message) { ASSERT_EQ(write(message), VIRTUALUNIT_OK); }

    virtualunit_result_t read(Bytes *block)
    {
        *block = Bytes(64, 0xEE);
        uint32_t length = 0xEEEE;
        const virtualunit_result_t result = virtualunit_read(&unit, block->data(), &length);
        // Nothing beyond the reported length may be touched.
        EXPECT_EQ(Bytes(block->begin() + length, block->end()), Bytes(64 - length, 0xEE));
        block->resize(length);
        return result;
    }

    Bytes receive()
    {
        Bytes block;
        EXPECT_EQ(read(&block), VIRTUALUNIT_OK);
        return block;
    }

    void add_fault(uint32_t kind, uint32_t first = 0, uint32_t count = 1, uint32_t parameter = 0)
    {
        ASSERT_EQ(virtualunit_add_fault(&unit, {kind, first, count, parameter}), 0);
    }

    /// Whether a message leaves everything as it is, the count of transfers excepted.
    bool is_ignored(const Bytes &message)
    {
        virtualunit_t before = unit;
        send(message);
        before.transfers = unit.transfers;
        return std::memcmp(&before, &unit, sizeof(unit)) == 0;
    }

    virtualunit_t unit;
};

using VirtualUnit = Unit;
using VirtualUnitFirmware = Unit;
using VirtualUnitFault = Unit;

} // namespace

TEST_F(VirtualUnit, FactoryHasNoTwoStripsAlike)
{
    std::set<uint8_t> faders;
    size_t strips = 0;
    for (uint32_t ch = 0; ch <= 255; ++ch) {
        for (uint32_t ch_no = 0; ch_no <= 255; ++ch_no) {
            const virtualunit_strip_t *const strip = virtualunit_strip(&unit, ch, ch_no);
            EXPECT_EQ(strip != nullptr, ch_no >= 1 && ch_no <= virtualunit_channel_numbers(ch));
            if (strip == nullptr)
                continue;
            ++strips;
            faders.insert(strip->fader);
            EXPECT_NE(strip->stereo, 0);
        }
    }
    EXPECT_EQ(strips, 10U);
    EXPECT_EQ(faders.size(), strips);
    EXPECT_EQ(faders.count(0), 0U);
}

TEST_F(VirtualUnit, IsReadyAndHasNothingToSay)
{
    EXPECT_EQ(receive(), ready_block({}));
    EXPECT_EQ(receive(), ready_block({}));
    EXPECT_EQ(unit.transfers, 2U);
}

TEST_F(VirtualUnit, AnswersByteForByte)
{
    const struct
    {
        std::string name;
        Bytes request;
        Bytes answer;
    } rows[] = {
        {"rate", {0x18, 1, 0, 0}, u32(0x18, 48000)},
        {"auto power save", {0x14, 1, 0, 0}, {0x15, 2, 1}},
        {"query", u32(0x27, 0xFFFFFFFF), u32(0x28, 999)},
        {"command", {0xA2, 2, 0}, text(0x12, "command A2")},
        {"fader", {0x61, 2, 3, 0x62, 2, 4, 0xC1, 1, 0, 0}, {0x61, 2, 3, 0x62, 2, 4, 0xC1, 2, 134}},
        {"fader asked with a value", {0x61, 2, 1, 0x62, 2, 1, 0xC1, 2, 0}, {0x61, 2, 1, 0x62, 2, 1, 0xC1, 2, 111}},
        {"mute", {0x61, 2, 5, 0x62, 2, 1, 0xC3, 1, 0, 0}, {0x61, 2, 5, 0x62, 2, 1, 0xC3, 2, 1}},
        {"mute asked with a value", {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 9}, {0x61, 2, 4, 0x62, 2, 2, 0xC3, 2, 0}},
        {"stereo", {0x61, 2, 4, 0x62, 2, 1, 0xC6, 1, 0, 0}, {0x61, 2, 4, 0x62, 2, 1, 0xC6, 2, 1}},
        {"stereo asked with a value", {0x61, 2, 2, 0x62, 2, 1, 0xC6, 2, 0}, {0x61, 2, 2, 0x62, 2, 1, 0xC6, 2, 4}},
        {"several at once",
         {0x14, 1, 0x61, 2, 4, 0x62, 2, 1, 0xC1, 1, 0x62, 2, 2, 0xC1, 1, 0x18, 1},
         {0x15, 2,    1, 0x61, 2,    4, 0x62, 2,    1, 0xC1, 2,    141, 0x61, 2,
          4,    0x62, 2, 2,    0xC1, 2, 142,  0x18, 4, 0x80, 0xBB, 0,   0}},
        {"behind what is unknown", {0xEE, 5, 2, 1, 2, 0, 1, 0x14, 1}, {0x15, 2, 1}},
        {"not behind the end", {0, 0, 0x14, 1}, {}},
        {"not behind an end with an identifier", {0x31, 0, 0x14, 1}, {}},
        {"not behind an invalid type", {0x14, 6, 0x14, 1}, {}},
        {"not behind a string that is too long", {0xEE, 5, 4, 0x14, 1, 0}, {}},
        {"firmware status before any transfer", {0x22, 1, 0, 0}, joined(u32(0x23, 0), u32(0x24, 0))},
    };
    for (const auto &row : rows) {
        virtualunit_init(&unit);
        send(row.request);
        EXPECT_EQ(receive(), ready_block(row.answer)) << row.name;
        EXPECT_EQ(receive(), ready_block({})) << row.name;
    }
}

TEST_F(VirtualUnit, IdentityTakesTwoBlocks)
{
    send({0x31, 1, 0, 0});
    Bytes first = {0x32, 3, 0x23, 0x01, 0x33, 3, 0x56, 0x04};
    first = joined(first, text(0x34, "KD-MX2"));
    first = joined(first, text(0x35, "Apr  1 2025"));
    first = joined(first, text(0x36, "12:34:56"));
    EXPECT_EQ(receive(), ready_block(first));
    EXPECT_EQ(receive(), ready_block(text(0x37, "VELMAR KD-MX Series")));
    EXPECT_EQ(receive(), ready_block({}));
}

TEST_F(VirtualUnit, LongestAndEmptyIdentityTextsAreTold)
{
    std::memset(unit.product, 'x', sizeof(unit.product) - 1);
    unit.build_date[0] = 0;
    send({0x31, 1});
    Bytes first = {0x32, 3, 0x23, 0x01, 0x33, 3, 0x56, 0x04};
    first = joined(first, text(0x34, std::string(47, 'x')));
    first = joined(first, text(0x35, ""));
    ASSERT_EQ(first.size(), 61U); // the block is full to the last byte
    EXPECT_EQ(receive(), ready_block(first));
    EXPECT_EQ(receive(), ready_block(joined(text(0x36, "12:34:56"), text(0x37, "VELMAR KD-MX Series"))));
}

TEST_F(VirtualUnit, SettingsAreKept)
{
    send({0x15, 2, 0});
    send({0x13, 2, 201});
    send(u32(0x17, 0xFEDCBA98));
    send({0xA2, 2, 0, 0xA2, 2, 0});
    EXPECT_EQ(unit.autopowersave, 0);
    EXPECT_EQ(unit.setting_u8, 201);
    EXPECT_EQ(unit.setting_u32, 0xFEDCBA98);
    EXPECT_EQ(unit.commands_a2, 2U);
    send({0x15, 2, 7});
    EXPECT_EQ(unit.autopowersave, 7);
}

TEST_F(VirtualUnit, EveryStripIsSetAndToldAlone)
{
    for (uint8_t ch = 1; ch <= 5; ++ch) {
        for (uint8_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no) {
            virtualunit_init(&unit);
            virtualunit_t expected = unit;
            *virtualunit_strip(&expected, ch, ch_no) = {10, 20, 30};
            send({0x61, 2, ch, 0x62, 2, ch_no, 0x81, 2, 10, 0x83, 2, 20, 0x86, 2, 30, 0, 0});
            EXPECT_EQ(std::memcmp(unit.strips, expected.strips, sizeof(unit.strips)), 0)
                << int(ch) << ':' << int(ch_no);
            send({0x61, 2, ch, 0x62, 2, ch_no, 0xC1, 1, 0xC3, 1, 0xC6, 1, 0, 0});
            EXPECT_EQ(receive(), ready_block({0x61, 2, ch, 0x62, 2, ch_no, 0xC1, 2, 10,    0x61, 2, ch, 0x62, 2, ch_no,
                                              0xC3, 2, 20, 0x61, 2, ch,    0x62, 2, ch_no, 0xC6, 2, 30}));
        }
    }
}

TEST_F(VirtualUnit, UnknownChannelsAreIgnored)
{
    for (uint32_t ch = 0; ch <= 255; ++ch) {
        for (uint32_t ch_no = 0; ch_no <= 255; ++ch_no) {
            if (virtualunit_strip(&unit, ch, ch_no) != nullptr)
                continue;
            const Bytes message = {0x61, 2,    static_cast<uint8_t>(ch),
                                   0x62, 2,    static_cast<uint8_t>(ch_no),
                                   0x81, 2,    5,
                                   0x83, 2,    5,
                                   0x86, 2,    5,
                                   0xC1, 1,    0xC3,
                                   1,    0xC6, 2,
                                   0};
            ASSERT_TRUE(is_ignored(message)) << ch << ':' << ch_no;
        }
    }
}

TEST_F(VirtualUnit, AChannelIsNamedAnewInEachMessage)
{
    send({0x61, 2, 1, 0x62, 2, 1});
    EXPECT_TRUE(is_ignored({0x81, 2, 5}));
    EXPECT_TRUE(is_ignored({0x61, 2, 1, 0x81, 2, 5}));
    EXPECT_TRUE(is_ignored({0x62, 2, 1, 0x81, 2, 5}));
}

TEST_F(VirtualUnit, IdentifiersOfTheUnitAndOtherTypesAreIgnored)
{
    // What a host may send, with its type.
    const std::set<std::pair<int, int>> vocabulary = {
        {0x13, 2}, {0x14, 1}, {0x15, 2}, {0x17, 4}, {0x18, 1}, {0x21, 4}, {0x22, 1},
        {0x25, 5}, {0x26, 5}, {0x27, 4}, {0x31, 1}, {0x81, 2}, {0x83, 2}, {0x86, 2},
        {0xA2, 2}, {0xC1, 1}, {0xC1, 2}, {0xC3, 1}, {0xC3, 2}, {0xC6, 1}, {0xC6, 2},
    };
    for (int id = 0; id <= 255; ++id) {
        for (int type = 0; type <= 255; ++type) {
            const Bytes element = {static_cast<uint8_t>(id), static_cast<uint8_t>(type), 3, 3, 3, 3};
            const Bytes message = joined({0x61, 2, 1, 0x62, 2, 1}, element);
            virtualunit_init(&unit);
            ASSERT_EQ(is_ignored(message), vocabulary.count({id, type}) == 0) << std::hex << "0x" << id << ' ' << type;
        }
    }
}

TEST_F(VirtualUnit, AnElementThatIsCutIsIgnored)
{
    const Bytes elements[] = {
        {0x15, 2, 0}, {0x14, 1}, u32(0x17, 5), u32(0x21, 5), {0x61, 2, 1, 0x62, 2, 1, 0x81, 2, 5}, text(0x26, "abc")};
    for (const Bytes &element : elements) {
        for (size_t length = 0; length < element.size(); ++length) {
            // An own block of memory of the exact size: nothing beyond the message may be read.
            const Bytes message(element.begin(), element.begin() + static_cast<std::ptrdiff_t>(length));
            EXPECT_TRUE(is_ignored(message)) << int(element[0]) << " cut to " << length;
        }
        virtualunit_init(&unit);
        EXPECT_FALSE(is_ignored(element)) << int(element[0]);
    }
}

TEST_F(VirtualUnit, TakesSixtyFourBytesAndRefusesMore)
{
    Bytes message(62, 0);
    for (size_t at = 0; at < 62; at += 2)
        message[at + 1] = 1; // identifier 0 without a value
    message = joined(message, {0x14, 1});
    send(message);
    EXPECT_EQ(receive(), ready_block({0x15, 2, 1}));
    message.push_back(0);
    virtualunit_t before = unit;
    EXPECT_EQ(write(message), VIRTUALUNIT_STALLED);
    ++before.transfers;
    EXPECT_EQ(std::memcmp(&before, &unit, sizeof(unit)), 0);
}

TEST_F(VirtualUnit, RoutesAreToldWholeThreeToABlock)
{
    send({0x61, 2, 0, 0x62, 2, 0, 0x41, 1, 0x61, 2, 0, 0x62, 2, 0, 0x42, 1, 0x43, 1, 0, 0});
    const auto route = [](uint8_t ch, uint8_t ch_no, uint8_t to, uint8_t to_no) {
        return Bytes{0x61, 2, ch, 0x62, 2, ch_no, 0x41, 1, 0x61, 2, to, 0x62, 2, to_no, 0x42, 1, 0x43, 1};
    };
    EXPECT_EQ(receive(), ready_block(joined(joined(route(4, 1, 3, 1), route(4, 2, 3, 2)), route(5, 1, 2, 1))));
    EXPECT_EQ(receive(), ready_block(route(2, 1, 1, 1)));
    EXPECT_EQ(receive(), ready_block({}));
}

TEST_F(VirtualUnit, ARouteReplacesThatOfItsDestination)
{
    send({0x61, 2, 3, 0x62, 2, 4, 0x41, 1, 0x61, 2, 1, 0x62, 2, 2, 0x42, 1, 0x43, 1, 0, 0});
    ASSERT_EQ(unit.route_count, 5U);
    EXPECT_EQ(unit.routes[4].source.ch, 3);
    EXPECT_EQ(unit.routes[4].source.ch_no, 4);
    EXPECT_EQ(unit.routes[4].destination.ch, 1);
    EXPECT_EQ(unit.routes[4].destination.ch_no, 2);
    send({0x61, 2, 5, 0x62, 2, 1, 0x41, 1, 0x61, 2, 1, 0x62, 2, 1, 0x42, 1, 0x43, 1, 0, 0});
    ASSERT_EQ(unit.route_count, 5U);
    EXPECT_EQ(unit.routes[3].source.ch, 5);
}

TEST_F(VirtualUnit, RoutesOfUnknownChannelsAreIgnored)
{
    const auto route = [](uint8_t ch, uint8_t ch_no, uint8_t to, uint8_t to_no) {
        return Bytes{0x61, 2, ch, 0x62, 2, ch_no, 0x41, 1, 0x61, 2, to, 0x62, 2, to_no, 0x42, 1, 0x43, 1};
    };
    EXPECT_TRUE(is_ignored(route(0, 1, 1, 1)));
    EXPECT_TRUE(is_ignored(route(1, 1, 0, 1)));
    EXPECT_TRUE(is_ignored(route(6, 1, 1, 1)));
    EXPECT_TRUE(is_ignored(route(1, 3, 1, 1)));
    EXPECT_TRUE(is_ignored(route(1, 1, 2, 2)));
}

TEST_F(VirtualUnit, ARouteNeedsBothItsSides)
{
    EXPECT_TRUE(is_ignored({0x43, 1}));
    EXPECT_TRUE(is_ignored({0x61, 2, 1, 0x62, 2, 1, 0x41, 1, 0x43, 1}));
    EXPECT_TRUE(is_ignored({0x61, 2, 1, 0x62, 2, 1, 0x42, 1, 0x43, 1}));
    EXPECT_FALSE(is_ignored({0x61, 2, 1, 0x62, 2, 1, 0x41, 1, 0x42, 1, 0x43, 1}));
}

TEST_F(VirtualUnit, AllDestinationsFitIntoTheRoutes)
{
    for (uint8_t ch = 1; ch <= 5; ++ch) {
        for (uint8_t ch_no = 1; ch_no <= virtualunit_channel_numbers(ch); ++ch_no)
            send({0x61, 2, 1, 0x62, 2, 1, 0x41, 1, 0x61, 2, ch, 0x62, 2, ch_no, 0x42, 1, 0x43, 1});
    }
    EXPECT_EQ(unit.route_count, 10U);
    // The owner may have filled them.
    unit.route_count = VIRTUALUNIT_ROUTES;
    for (virtualunit_route_t &route : unit.routes)
        route = {{1, 1}, {1, 1}};
    EXPECT_TRUE(is_ignored({0x61, 2, 1, 0x62, 2, 1, 0x41, 1, 0x61, 2, 2, 0x62, 2, 1, 0x42, 1, 0x43, 1}));
}

TEST_F(VirtualUnit, AGroupIsNotTornApart)
{
    // After the ready flag and this text three bytes fewer are left than the next answer needs.
    const auto say = [&](size_t length) {
        virtualunit_say(&unit, std::string(length, 'x').c_str(), static_cast<uint32_t>(length));
    };
    say(61 - 3 - 9 + 3);
    send({0x61, 2, 1, 0x62, 2, 1, 0xC1, 1});
    receive();
    EXPECT_EQ(receive(), ready_block({0x61, 2, 1, 0x62, 2, 1, 0xC1, 2, 111}));
    say(61 - 3 - 12 + 3);
    send({0x22, 1});
    receive();
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 0), u32(0x24, 0))));
}

TEST_F(VirtualUnit, TheEndElementNeedsTwoBytes)
{
    for (uint8_t length = 55; length <= 58; ++length) {
        const std::string said(length, 'x');
        virtualunit_say(&unit, said.c_str(), length);
        virtualunit_say(&unit, "y", 1);
        EXPECT_EQ(receive(), ready_block(text(0x12, said))) << int(length);
        EXPECT_EQ(receive(), ready_block(text(0x12, "y"))) << int(length);
    }
}

TEST_F(VirtualUnit, ALongTextIsCut)
{
    virtualunit_say(&unit, std::string(100, 'x').c_str(), 100);
    EXPECT_EQ(receive(), ready_block(text(0x12, std::string(58, 'x'))));
    virtualunit_say(&unit, "a\0b", 3);
    EXPECT_EQ(receive(), ready_block(text(0x12, std::string("a\0b", 3))));
}

TEST_F(VirtualUnit, IsBusyAfterEachMessage)
{
    unit.busy_reads_after_write = 2;
    EXPECT_EQ(receive(), ready_block({}));
    send({0x14, 1});
    EXPECT_EQ(receive(), busy_block());
    send({0x14, 1});
    EXPECT_EQ(receive(), busy_block());
    EXPECT_EQ(receive(), busy_block());
    EXPECT_EQ(receive(), ready_block({0x15, 2, 1, 0x15, 2, 1}));
}

TEST_F(VirtualUnit, AFullQueueLosesWholeAnswersAndCountsThem)
{
    const uint32_t each = 1 + 9;
    const uint32_t fitting = VIRTUALUNIT_QUEUE_SIZE / each;
    for (uint32_t request = 0; request < fitting + 5; ++request)
        send({0x61, 2, 1, 0x62, 2, 1, 0xC1, 1});
    EXPECT_EQ(unit.lost_answers, 5U);
    uint32_t answers = 0;
    for (Bytes block = receive(); block != ready_block({}); block = receive()) {
        for (size_t at = 3; at + 9 <= 64 && block[at] == 0x61; at += 9)
            ++answers;
    }
    EXPECT_EQ(answers, fitting);
    EXPECT_EQ(unit.queue_used, 0U);
}

// The firmware transfer.

TEST_F(VirtualUnitFirmware, ChecksumIsThatOfEthernet)
{
    send(u32(0x21, 9));
    send({0x22, 1});
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 1024), u32(0x24, 0))));
    send(text(0x26, "123456789"));
    EXPECT_EQ(unit.firmware.checksum, 0xCBF43926);
    EXPECT_EQ(unit.firmware.received, 9U);
    EXPECT_EQ(unit.firmware.blocks, 1U);
    EXPECT_EQ(unit.firmware.misfits, 0U);
    send({0x22, 1});
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 0), u32(0x24, 9))));
}

TEST_F(VirtualUnitFirmware, ChecksumGoesOnFromBlockToBlock)
{
    unit.firmware.allowance = 4;
    send(u32(0x21, 9));
    for (const char *part : {"1234", "5678", "9"}) {
        send({0x22, 1});
        send(text(0x26, part));
    }
    EXPECT_EQ(unit.firmware.checksum, 0xCBF43926);
    EXPECT_EQ(unit.firmware.misfits, 0U);
}

TEST_F(VirtualUnitFirmware, AFullMessageNeedsNoEndElement)
{
    unit.firmware.allowance = 100;
    send(u32(0x21, 200));
    send({0x22, 1});
    const Bytes block = text(0x25, std::string(61, 'x'));
    ASSERT_EQ(block.size(), 64U);
    send(block);
    EXPECT_EQ(unit.firmware.received, 61U);
    EXPECT_EQ(unit.firmware.room, 39U);
    send(text(0x26, std::string(39, 'x')));
    EXPECT_EQ(unit.firmware.received, 100U);
    EXPECT_EQ(unit.firmware.misfits, 0U);
    receive();
    send({0x22, 1});
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 100), u32(0x24, 100))));
}

TEST_F(VirtualUnitFirmware, MisfitsAreCountedAndNotTaken)
{
    const struct
    {
        std::string name;
        uint32_t allowance;
        Bytes block;
    } rows[] = {
        {"the wrong end", 100, text(0x26, std::string(61, 'x'))},
        {"too short for more to follow", 100, text(0x25, std::string(60, 'x'))},
        {"no end", 61, text(0x25, std::string(61, 'x'))},
        {"too long", 10, text(0x26, std::string(11, 'x'))},
        {"too short", 10, text(0x26, std::string(9, 'x'))},
        {"empty", 10, text(0x26, "")},
        {"no room", 0, text(0x26, "x")},
        {"no room for nothing", 0, text(0x26, "")},
    };
    for (const auto &row : rows) {
        virtualunit_init(&unit);
        unit.firmware.allowance = row.allowance;
        send(u32(0x21, 200));
        send({0x22, 1});
        send(row.block);
        EXPECT_EQ(unit.firmware.misfits, 1U) << row.name;
        EXPECT_EQ(unit.firmware.blocks, 1U) << row.name;
        EXPECT_EQ(unit.firmware.received, 0U) << row.name;
        EXPECT_EQ(unit.firmware.checksum, 0U) << row.name;
    }
}

TEST_F(VirtualUnitFirmware, DataNeedsABeginningAndAStatus)
{
    send(text(0x26, "x"));
    EXPECT_EQ(unit.firmware.misfits, 1U);
    send(u32(0x21, 1));
    EXPECT_EQ(unit.firmware.misfits, 0U);
    send(text(0x26, "x"));
    EXPECT_EQ(unit.firmware.misfits, 1U);
    send({0x22, 1});
    send(text(0x26, "x"));
    send(text(0x26, "x"));
    EXPECT_EQ(unit.firmware.misfits, 2U);
    EXPECT_EQ(unit.firmware.received, 1U);
}

TEST_F(VirtualUnitFirmware, EmptyImageIsWholeAtOnce)
{
    send(u32(0x21, 0));
    send({0x22, 1});
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 0), u32(0x24, 0))));
}

TEST_F(VirtualUnitFirmware, AUnitMayLie)
{
    unit.firmware.lied_room = 5;
    unit.firmware.lied_offset = 0xFFFFFFFF;
    unit.firmware.allowance = 10;
    send(u32(0x21, 100));
    send({0x22, 1});
    EXPECT_EQ(receive(), ready_block(joined(u32(0x23, 15), u32(0x24, 0xFFFFFFFF))));
    EXPECT_EQ(unit.firmware.room, 10U);
}

// Faults.

TEST_F(VirtualUnitFault, LastsAsLongAsToldAndThenIsOver)
{
    add_fault(VIRTUALUNIT_FAULT_STALL, 2, 3);
    Bytes block;
    for (uint32_t transfer = 0; transfer < 8; ++transfer)
        EXPECT_EQ(read(&block), transfer >= 2 && transfer < 5 ? VIRTUALUNIT_STALLED : VIRTUALUNIT_OK) << transfer;
}

TEST_F(VirtualUnitFault, ForeverHasNoEnd)
{
    add_fault(VIRTUALUNIT_FAULT_HARD, 1, VIRTUALUNIT_FOREVER);
    EXPECT_EQ(write({0, 0}), VIRTUALUNIT_OK);
    unit.transfers = 0xFFFFFFFE;
    EXPECT_EQ(write({0, 0}), VIRTUALUNIT_FAILED);
    EXPECT_EQ(write({0, 0}), VIRTUALUNIT_FAILED);
}

TEST_F(VirtualUnitFault, TheFirstOfTheScriptComesFirstButAPulledPlugBeforeAll)
{
    add_fault(VIRTUALUNIT_FAULT_STALL, 0, 4);
    add_fault(VIRTUALUNIT_FAULT_HARD, 0, 5);
    add_fault(VIRTUALUNIT_FAULT_UNPLUG, 2, 1);
    const virtualunit_result_t expected[] = {VIRTUALUNIT_STALLED, VIRTUALUNIT_STALLED, VIRTUALUNIT_GONE,
                                             VIRTUALUNIT_STALLED, VIRTUALUNIT_FAILED,  VIRTUALUNIT_OK};
    for (const virtualunit_result_t result : expected)
        EXPECT_EQ(write({0, 0}), result);
}

TEST_F(VirtualUnitFault, AScriptHasItsEnd)
{
    for (uint32_t fault = 0; fault < VIRTUALUNIT_FAULTS; ++fault)
        add_fault(VIRTUALUNIT_FAULT_BUSY);
    EXPECT_EQ(virtualunit_add_fault(&unit, {VIRTUALUNIT_FAULT_BUSY, 0, 1, 0}), 1);
    EXPECT_EQ(unit.fault_count, VIRTUALUNIT_FAULTS);
}

TEST_F(VirtualUnitFault, OfAWriteIsToldOrLosesTheMessageOrDoesNothing)
{
    const struct
    {
        uint32_t kind;
        virtualunit_result_t result;
        bool carried_out;
    } rows[] = {
        {VIRTUALUNIT_FAULT_STALL, VIRTUALUNIT_STALLED, false}, {VIRTUALUNIT_FAULT_LATE, VIRTUALUNIT_LATE, false},
        {VIRTUALUNIT_FAULT_HARD, VIRTUALUNIT_FAILED, false},   {VIRTUALUNIT_FAULT_SHORT, VIRTUALUNIT_OK, true},
        {VIRTUALUNIT_FAULT_STALE, VIRTUALUNIT_OK, true},       {VIRTUALUNIT_FAULT_GARBLED, VIRTUALUNIT_OK, false},
        {VIRTUALUNIT_FAULT_BUSY, VIRTUALUNIT_OK, true},        {VIRTUALUNIT_FAULT_MUTE, VIRTUALUNIT_OK, true},
        {VIRTUALUNIT_FAULT_UNPLUG, VIRTUALUNIT_GONE, false},
    };
    for (const auto &row : rows) {
        virtualunit_init(&unit);
        unit.busy_reads_after_write = 1;
        add_fault(row.kind);
        EXPECT_EQ(write({0x13, 2, 99}), row.result) << row.kind;
        EXPECT_EQ(unit.setting_u8, row.carried_out ? 99 : 7) << row.kind;
        EXPECT_EQ(unit.busy_reads, row.carried_out ? 1U : 0U) << row.kind;
        EXPECT_EQ(unit.transfers, 1U);
    }
}

TEST_F(VirtualUnitFault, OfAReadFailsAndKeepsTheAnswers)
{
    const std::pair<uint32_t, virtualunit_result_t> rows[] = {
        {VIRTUALUNIT_FAULT_STALL, VIRTUALUNIT_STALLED},
        {VIRTUALUNIT_FAULT_LATE, VIRTUALUNIT_LATE},
        {VIRTUALUNIT_FAULT_HARD, VIRTUALUNIT_FAILED},
    };
    for (const auto &[kind, result] : rows) {
        virtualunit_init(&unit);
        send({0x14, 1});
        add_fault(kind, 1);
        Bytes block;
        EXPECT_EQ(read(&block), result);
        EXPECT_TRUE(block.empty());
        EXPECT_EQ(receive(), ready_block({0x15, 2, 1}));
    }
}

TEST_F(VirtualUnitFault, AShortBlockIsCutAndItsAnswersAreLost)
{
    for (uint32_t length = 0; length <= 70; ++length) {
        virtualunit_init(&unit);
        send({0x14, 1});
        add_fault(VIRTUALUNIT_FAULT_SHORT, 1, 1, length);
        Bytes expected = ready_block({0x15, 2, 1});
        expected.resize(std::min(length, 63U));
        EXPECT_EQ(receive(), expected);
        EXPECT_EQ(receive(), ready_block({}));
    }
}

TEST_F(VirtualUnitFault, AStaleBlockComesBeforeTheAnswers)
{
    add_fault(VIRTUALUNIT_FAULT_STALE, 0);
    EXPECT_EQ(receive(), Bytes(64));
    send({0x14, 1});
    receive();
    send({0x18, 1});
    add_fault(VIRTUALUNIT_FAULT_STALE, 4, 2);
    EXPECT_EQ(receive(), ready_block({0x15, 2, 1}));
    EXPECT_EQ(receive(), ready_block({0x15, 2, 1}));
    EXPECT_EQ(receive(), ready_block(u32(0x18, 48000)));
}

TEST_F(VirtualUnitFault, ABusyOrMuteBlockKeepsTheAnswers)
{
    for (const uint32_t kind : {VIRTUALUNIT_FAULT_BUSY, VIRTUALUNIT_FAULT_MUTE}) {
        virtualunit_init(&unit);
        send({0x14, 1});
        add_fault(kind, 1, 2);
        for (int transfer = 0; transfer < 2; ++transfer)
            EXPECT_EQ(receive(), kind == VIRTUALUNIT_FAULT_BUSY ? busy_block() : ready_block({}));
        EXPECT_EQ(receive(), ready_block({0x15, 2, 1}));
    }
}

TEST_F(VirtualUnitFault, AMuteUnitStillTellsThatItIsBusy)
{
    unit.busy_reads_after_write = 1;
    send({0x14, 1});
    add_fault(VIRTUALUNIT_FAULT_MUTE, 0, VIRTUALUNIT_FOREVER);
    EXPECT_EQ(receive(), busy_block());
    EXPECT_EQ(receive(), ready_block({}));
}

TEST_F(VirtualUnitFault, GarbledBlocksAreTheSameInEveryRun)
{
    std::vector<Bytes> runs[2];
    for (std::vector<Bytes> &run : runs) {
        virtualunit_init(&unit);
        add_fault(VIRTUALUNIT_FAULT_GARBLED, 0, VIRTUALUNIT_FOREVER);
        for (int transfer = 0; transfer < 50; ++transfer)
            run.push_back(receive());
    }
    EXPECT_EQ(runs[0], runs[1]);
    std::set<std::string> blocks;
    for (const Bytes &block : runs[0])
        blocks.emplace(block.begin(), block.end());
    EXPECT_EQ(blocks.size(), 50U);
}

TEST_F(VirtualUnitFault, GarbledBlocksHoldNoKnownElementAndBreakInEveryWay)
{
    add_fault(VIRTUALUNIT_FAULT_GARBLED, 0, VIRTUALUNIT_FOREVER);
    size_t invalid_types = 0;
    size_t cut_elements = 0;
    size_t whole_elements = 0;
    for (int transfer = 0; transfer < 600; ++transfer) {
        const Bytes block = receive();
        ASSERT_EQ(block.size(), 64U);
        const size_t size_of_type[] = {0, 2, 3, 4, 6};
        size_t at = 0;
        for (;;) {
            ASSERT_LE(at + 3, 64U) << transfer; // no block may look as if it ended well
            const uint8_t type = block[at + 1];
            ASSERT_NE(type, 0) << transfer;
            if (type > 5) {
                ++invalid_types;
                break;
            }
            const size_t size = type == 5 ? size_t{3} + block[at + 2] : size_of_type[type];
            if (at + size > 64) {
                ++cut_elements;
                break;
            }
            ASSERT_TRUE(block[at] == 0xEE || (block[at] == 0 && type == 1)) << transfer;
            ++whole_elements;
            at += size;
        }
    }
    EXPECT_EQ(invalid_types, 400U);
    EXPECT_EQ(cut_elements, 200U);
    EXPECT_EQ(whole_elements, 300U);
}

TEST_F(VirtualUnitFault, AGarbledBlockLosesItsAnswers)
{
    send({0x14, 1});
    add_fault(VIRTUALUNIT_FAULT_GARBLED, 1);
    receive();
    EXPECT_EQ(receive(), ready_block({}));
}

TEST_F(VirtualUnitFault, APulledPlugLosesAnswersAndKeepsSettings)
{
    unit.busy_reads_after_write = 5;
    send({0x13, 2, 99, 0x14, 1});
    add_fault(VIRTUALUNIT_FAULT_UNPLUG, 1, 3);
    EXPECT_EQ(virtualunit_is_plugged(&unit), 1);
    Bytes block;
    EXPECT_EQ(read(&block), VIRTUALUNIT_GONE);
    EXPECT_EQ(virtualunit_is_plugged(&unit), 0);
    virtualunit_skip(&unit);
    EXPECT_EQ(virtualunit_is_plugged(&unit), 0);
    // An owner that does not ask gets no further.
    EXPECT_EQ(write({0x13, 2, 100}), VIRTUALUNIT_GONE);
    EXPECT_EQ(virtualunit_is_plugged(&unit), 1);
    EXPECT_EQ(receive(), ready_block({}));
    EXPECT_EQ(unit.setting_u8, 99);
    EXPECT_EQ(unit.transfers, 5U);
}

TEST_F(VirtualUnitFault, APulledPlugLosesAnImageThatIsNotWhole)
{
    for (const uint32_t size : {9U, 10U}) {
        virtualunit_init(&unit);
        unit.firmware.allowance = 9;
        send(u32(0x21, size));
        send({0x22, 1});
        send(text(0x26, "123456789"));
        add_fault(VIRTUALUNIT_FAULT_UNPLUG, 3);
        EXPECT_EQ(write({0x22, 1}), VIRTUALUNIT_GONE);
        const bool whole = size == 9;
        EXPECT_EQ(unit.firmware.received, whole ? 9U : 0U);
        EXPECT_EQ(unit.firmware.checksum, whole ? 0xCBF43926 : 0U);
        EXPECT_EQ(unit.firmware.allowance, 9U);
    }
}

TEST_F(VirtualUnitFault, AfterAPulledPlugNoOldBlockComesBack)
{
    send({0x14, 1});
    receive();
    add_fault(VIRTUALUNIT_FAULT_UNPLUG, 2);
    add_fault(VIRTUALUNIT_FAULT_STALE, 3);
    Bytes block;
    EXPECT_EQ(read(&block), VIRTUALUNIT_GONE);
    EXPECT_EQ(receive(), Bytes(64));
}
