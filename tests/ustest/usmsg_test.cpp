#include "usmsg.h"

#include "printed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t sentinel = 0xEE;

/// A message in memory of its own exact size, so that a sanitizer sees every byte touched beside it.
struct Message
{
    explicit Message(size_t size, uint8_t pos = 0)
        : bytes(size, sentinel)
    {
        usmsg_init(&buf, bytes.data(), static_cast<uint8_t>(size));
        buf.pos = pos;
    }

    explicit Message(Bytes content)
        : bytes(std::move(content))
    {
        usmsg_init(&buf, bytes.data(), static_cast<uint8_t>(bytes.size()));
    }

    Bytes written() const { return Bytes(bytes.begin(), bytes.begin() + buf.pos); }

    Bytes bytes;
    usmsg_buf_t buf = {};
};

struct Element
{
    uint32_t id = 0xAAAAAAAA;
    uint32_t type = 0xAAAAAAAA;
    uint64_t value = 0xAAAAAAAA;
    uint8_t length = 0xAA;
};

int get(Message &message, Element &element)
{
    return usmsg_get(&message.buf, &element.id, &element.type, &element.value, &element.length);
}

uint64_t address(const void *bytes)
{
    return reinterpret_cast<uintptr_t>(bytes);
}

const std::string error_line = "../../ustest/usmsg.cpp:#:ERROR\n";

struct Row
{
    const char *name;
    uint32_t id;
    uint32_t type;
    uint64_t number;
    const char *text;
    Bytes wire;
};

/// Every row of the vocabulary in the form that is sent, byte for byte.
const std::vector<Row> &vocabulary()
{
    static const std::vector<Row> rows = {
        {"debug text", USMSG_ID_DEBUG, 5, 0, "dbg", {0x12, 5, 3, 'd', 'b', 'g'}},
        {"8-bit setting", USMSG_ID_SET_U8, 2, 0x7F, nullptr, {0x13, 2, 0x7F}},
        {"power save request", USMSG_ID_GET_AUTOPOWERSAVE, 1, 0, nullptr, {0x14, 1}},
        {"power save answer", USMSG_ID_GET_AUTOPOWERSAVE, 2, 1, nullptr, {0x14, 2, 1}},
        {"power save", USMSG_ID_AUTOPOWERSAVE, 2, 1, nullptr, {0x15, 2, 1}},
        {"32-bit setting", USMSG_ID_SET_U32, 4, 0x01020304, nullptr, {0x17, 4, 4, 3, 2, 1}},
        {"rate request", USMSG_ID_HZ, 1, 0, nullptr, {0x18, 1}},
        {"rate", USMSG_ID_HZ, 4, 96000, nullptr, {0x18, 4, 0x00, 0x77, 0x01, 0x00}},
        {"firmware begin", USMSG_ID_FW_BEGIN, 4, 0x00010000, nullptr, {0x21, 4, 0, 0, 1, 0}},
        {"firmware status request", USMSG_ID_FW_STATUS, 1, 0, nullptr, {0x22, 1}},
        {"firmware room", USMSG_ID_FW_ROOM, 4, 4096, nullptr, {0x23, 4, 0x00, 0x10, 0, 0}},
        {"firmware offset", USMSG_ID_FW_OFFSET, 4, 61, nullptr, {0x24, 4, 61, 0, 0, 0}},
        {"firmware data", USMSG_ID_FW_DATA, 5, 0, "abc", {0x25, 5, 3, 'a', 'b', 'c'}},
        {"last firmware data", USMSG_ID_FW_DATA_LAST, 5, 0, "z", {0x26, 5, 1, 'z'}},
        {"32-bit query", USMSG_ID_QUERY_U32, 4, 0xFFFFFFFF, nullptr, {0x27, 4, 0xFF, 0xFF, 0xFF, 0xFF}},
        {"32-bit answer", USMSG_ID_ANSWER_U32, 4, 1, nullptr, {0x28, 4, 1, 0, 0, 0}},
        {"identity request", USMSG_ID_IDENTITY, 1, 0, nullptr, {0x31, 1}},
        {"version", USMSG_ID_VERSION, 3, 110, nullptr, {0x32, 3, 110, 0}},
        {"build", USMSG_ID_BUILD, 3, 0x1234, nullptr, {0x33, 3, 0x34, 0x12}},
        {"product name", USMSG_ID_PRODUCTNAME, 5, 0, "KD-MX2", {0x34, 5, 6, 'K', 'D', '-', 'M', 'X', '2'}},
        {"build date", USMSG_ID_BUILDDATE, 5, 0, "d", {0x35, 5, 1, 'd'}},
        {"build time", USMSG_ID_BUILDTIME, 5, 0, "t", {0x36, 5, 1, 't'}},
        {"further identity", USMSG_ID_INFO, 5, 0, "i", {0x37, 5, 1, 'i'}},
        {"route source", USMSG_ID_ROUTE_SOURCE, 1, 0, nullptr, {0x41, 1}},
        {"route destination", USMSG_ID_ROUTE_DESTINATION, 1, 0, nullptr, {0x42, 1}},
        {"route complete", USMSG_ID_ROUTE_COMPLETE, 1, 0, nullptr, {0x43, 1}},
        {"channel", USMSG_ID_CH, 2, USMSG_DATA_CH_DIRECTMONITOR_OUT, nullptr, {0x61, 2, 5}},
        {"channel number", USMSG_ID_CH_NO, 2, 1, nullptr, {0x62, 2, 1}},
        {"set fader", USMSG_ID_SET_FADER, 2, 200, nullptr, {0x81, 2, 200}},
        {"set mute", USMSG_ID_SET_MUTE, 2, 1, nullptr, {0x83, 2, 1}},
        {"set stereo", USMSG_ID_SET_STEREO, 2, USMSG_DATA_CH_TYPE_STEREO, nullptr, {0x86, 2, 4}},
        {"ready", USMSG_ID_READY, 2, 1, nullptr, {0xA1, 2, 1}},
        {"command", USMSG_ID_COMMAND_A2, 2, 0, nullptr, {0xA2, 2, 0}},
        {"get fader", USMSG_ID_GET_FADER, 1, 0, nullptr, {0xC1, 1}},
        {"fader", USMSG_ID_GET_FADER, 2, 99, nullptr, {0xC1, 2, 99}},
        {"get mute", USMSG_ID_GET_MUTE, 1, 0, nullptr, {0xC3, 1}},
        {"mute", USMSG_ID_GET_MUTE, 2, 1, nullptr, {0xC3, 2, 1}},
        {"get stereo", USMSG_ID_GET_STEREO, 1, 0, nullptr, {0xC6, 1}},
        {"stereo", USMSG_ID_GET_STEREO, 2, 4, nullptr, {0xC6, 2, 4}},
        {"end", USMSG_ID_END, 0, 0, nullptr, {0, 0}},
    };
    return rows;
}

int put(Message &message, const Row &row)
{
    const uint64_t value = row.text != nullptr ? address(row.text) : row.number;
    const auto length = static_cast<uint8_t>(row.text != nullptr ? std::strlen(row.text) : 0);
    return usmsg_put(&message.buf, row.id, row.type, value, length);
}

} // namespace

TEST(UsmsgVocabulary, EveryRowIsWrittenByteForByte)
{
    for (const Row &row : vocabulary()) {
        Message message(64);
        EXPECT_EQ(put(message, row), 0) << row.name;
        EXPECT_EQ(message.written(), row.wire) << row.name;
        EXPECT_TRUE(std::all_of(message.bytes.begin() + message.buf.pos, message.bytes.end(), [](uint8_t byte) {
            return byte == sentinel;
        })) << row.name;
    }
}

TEST(UsmsgVocabulary, EveryRowIsReadBack)
{
    for (const Row &row : vocabulary()) {
        Message message(row.wire);
        Element element;
        if (row.type == USMSG_DATA_TYPE_END) {
            EXPECT_EQ(get(message, element), 1);
            continue;
        }
        ASSERT_EQ(get(message, element), 0) << row.name;
        EXPECT_EQ(element.id, row.id) << row.name;
        EXPECT_EQ(element.type, row.type) << row.name;
        EXPECT_EQ(message.buf.pos, row.wire.size()) << row.name;
        if (row.text != nullptr) {
            EXPECT_EQ(element.value, address(message.bytes.data() + 3)) << row.name;
            EXPECT_EQ(element.length, std::strlen(row.text)) << row.name;
        } else {
            EXPECT_EQ(element.value, row.number) << row.name;
            EXPECT_EQ(element.length, row.wire.size() - 2) << row.name;
        }
    }
}

TEST(UsmsgVocabulary, EveryTruncationIsRefusedAndLeavesTheCursor)
{
    for (const Row &row : vocabulary()) {
        for (size_t size = 0; size < row.wire.size(); ++size) {
            Message message(Bytes(row.wire.begin(), row.wire.begin() + static_cast<std::ptrdiff_t>(size)));
            Element element;
            EXPECT_EQ(get(message, element), 1) << row.name << " cut to " << size;
            EXPECT_EQ(message.buf.pos, 0) << row.name;
            EXPECT_EQ(element.id, Element().id) << row.name;
        }
    }
}

TEST(UsmsgVocabulary, EveryRoomTooSmallIsRefused)
{
    for (const Row &row : vocabulary()) {
        for (size_t room = 0; room < row.wire.size(); ++room) {
            Message message(room);
            int result = 0;
            const std::string text = printed([&] { result = put(message, row); });
            const bool dropped_end = row.type == USMSG_DATA_TYPE_END;
            EXPECT_EQ(result, dropped_end ? 0 : 1) << row.name << " in " << room;
            EXPECT_EQ(message.buf.pos, 0) << row.name;
            EXPECT_EQ(text, room < 2 ? "" : error_line) << row.name << " in " << room;
        }
    }
}

TEST(UsmsgPut, EndElementIntoAFullMessageIsLeftOut)
{
    Message message(64, 64);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usmsg_put(&message.buf, 0, 0, 0, 0), 0); }), "");
    EXPECT_EQ(message.bytes, Bytes(64, sentinel));
    EXPECT_EQ(message.buf.pos, 64);
}

TEST(UsmsgPut, OneByteOfRoomIsNotEnoughForAnEndElement)
{
    Message message(64, 63);
    EXPECT_EQ(usmsg_put(&message.buf, 0, 0, 0, 0), 0);
    EXPECT_EQ(message.bytes, Bytes(64, sentinel));
}

TEST(UsmsgPut, IdentifierZeroOfAnyTypeIsLeftOutOfAFullMessage)
{
    for (uint32_t type = 0; type <= 6; ++type) {
        Message message(64, 64);
        EXPECT_EQ(usmsg_put(&message.buf, 0, type, address("abc"), 3), 0) << type;
        EXPECT_EQ(message.bytes, Bytes(64, sentinel)) << type;
    }
}

TEST(UsmsgPut, OtherElementsIntoAFullMessageFailSilently)
{
    Message message(64, 64);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usmsg_put(&message.buf, 0x31, 1, 0, 0), 1); }), "");
}

TEST(UsmsgPut, FailureLeavesHeaderBytesBehindTheCursor)
{
    Message message(64, 62);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usmsg_put(&message.buf, 0x15, 2, 1, 0), 1); }), error_line);
    EXPECT_EQ(message.buf.pos, 62);
    EXPECT_EQ(message.bytes[62], 0x15);
    EXPECT_EQ(message.bytes[63], 2);
}

TEST(UsmsgPut, EndTypeNeedsIdentifierZero)
{
    Message message(64);
    EXPECT_EQ(printed([&] { EXPECT_EQ(usmsg_put(&message.buf, 0x31, 0, 0, 0), 1); }), error_line);
    EXPECT_EQ(message.buf.pos, 0);
}

TEST(UsmsgPut, InvalidTypesAreRefused)
{
    for (const uint32_t type : {6U, 7U, 255U, 256U, 258U, 0xFFFFFFFFU}) {
        Message message(64);
        EXPECT_EQ(printed([&] { EXPECT_EQ(usmsg_put(&message.buf, 0x31, type, 0, 0), 1); }), error_line) << type;
        EXPECT_EQ(message.buf.pos, 0);
    }
}

TEST(UsmsgPut, StringWithoutALengthTakesAllTheRoom)
{
    Message message(64, 54);
    EXPECT_EQ(usmsg_put(&message.buf, 0x12, 5, 0, 0), 0);
    EXPECT_EQ(message.buf.pos, 64);
    EXPECT_EQ(message.bytes[56], 7);
    EXPECT_TRUE(
        std::all_of(message.bytes.begin() + 57, message.bytes.end(), [](uint8_t byte) { return byte == sentinel; }));
}

TEST(UsmsgPut, StringsOfEveryLengthInEveryRoomStayInsideTheMessage)
{
    const Bytes text(255, 'x');
    testing::internal::CaptureStdout();
    for (size_t room = 0; room <= 255; ++room) {
        for (unsigned length = 0; length <= 255; ++length) {
            Message message(room);
            const int result = usmsg_put(&message.buf, 0x12, 5, address(text.data()), static_cast<uint8_t>(length));
            const bool fits = room >= 3 && length + 3 <= room;
            ASSERT_EQ(result, fits ? 0 : 1) << length << " in " << room;
            ASSERT_EQ(message.buf.pos, !fits ? 0 : length == 0 ? room : length + 3) << length << " in " << room;
        }
    }
    testing::internal::GetCapturedStdout();
}

TEST(UsmsgPut, ALargestBlockFillsTheMessageAndLosesItsEnd)
{
    const Bytes block(61, 'b');
    Message message(64);
    EXPECT_EQ(usmsg_put(&message.buf, USMSG_ID_FW_DATA, 5, address(block.data()), 61), 0);
    EXPECT_EQ(message.buf.pos, 64);
    EXPECT_EQ(usmsg_put(&message.buf, 0, 0, 0, 0), 0);
    EXPECT_EQ(message.buf.pos, 64);
}

TEST(UsmsgPutHeader, TellsWhereTheValueGoes)
{
    Message message(64);
    uint8_t *data = nullptr;
    uint8_t length = 0;
    EXPECT_EQ(usmsg_put_header(&message.buf, 0x18, 4, 99, &data, &length), 0);
    EXPECT_EQ(data, message.bytes.data() + 2);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(usmsg_put_header(&message.buf, 0x34, 5, 7, &data, &length), 0);
    EXPECT_EQ(data, message.bytes.data() + 9);
    EXPECT_EQ(length, 7);
    EXPECT_EQ(usmsg_put_header(&message.buf, 0x31, 1, 0, nullptr, nullptr), 0);
    EXPECT_EQ(message.buf.pos, 18);
}

TEST(UsmsgPut, RequestForTheStereoModeOfTheDirectMonitor)
{
    Message message(64);
    usmsg_put(&message.buf, USMSG_ID_CH, 2, USMSG_DATA_CH_DIRECTMONITOR_OUT, 0);
    usmsg_put(&message.buf, USMSG_ID_CH_NO, 2, 1, 0);
    usmsg_put(&message.buf, USMSG_ID_GET_STEREO, 2, 0, 0);
    usmsg_put(&message.buf, USMSG_ID_END, 0, 0, 0);
    EXPECT_EQ(message.written(), (Bytes{0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 0, 0, 0}));
}

TEST(UsmsgGet, EndStopsTheReadingForGood)
{
    Message message(Bytes{0, 0, 0x31, 1});
    Element element;
    EXPECT_EQ(get(message, element), 1);
    EXPECT_EQ(get(message, element), 1);
    EXPECT_EQ(message.buf.pos, 0);
}

TEST(UsmsgGet, TypeZeroOfAnyIdentifierStopsTheReading)
{
    Message message(Bytes{0x31, 0, 0x31, 1});
    Element element;
    EXPECT_EQ(get(message, element), 1);
}

TEST(UsmsgGet, IdentifierZeroOfAnotherTypeIsDelivered)
{
    Message message(Bytes{0, 1});
    Element element;
    EXPECT_EQ(get(message, element), 0);
    EXPECT_EQ(element.id, 0U);
}

TEST(UsmsgGet, StringThatClaimsMoreThanThereIs)
{
    Message message(Bytes{0x12, 5, 4, 'a', 'b', 'c'});
    Element element;
    EXPECT_EQ(get(message, element), 1);
    EXPECT_EQ(message.buf.pos, 0);
    for (const uint8_t claimed : {uint8_t{253}, uint8_t{254}, uint8_t{255}}) {
        Message wrapping(Bytes{0x12, 5, claimed, 'a'});
        EXPECT_EQ(get(wrapping, element), 1);
    }
}

TEST(UsmsgGet, InvalidTypePrintsIt)
{
    Message message(Bytes{0x31, 6, 0x31, 1});
    Element element;
    EXPECT_EQ(printed([&] { EXPECT_EQ(get(message, element), 1); }), "../../ustest/usmsg.cpp:#:ERROR 0x6\n");
    EXPECT_EQ(message.buf.pos, 0);
}

TEST(UsmsgGet, OutputsMayBeNull)
{
    Message message(Bytes{0x34, 5, 1, 'x', 0x31, 1});
    EXPECT_EQ(usmsg_get(&message.buf, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(message.buf.pos, 4);
}

TEST(UsmsgRoom, IsTheLongestStringThatFits)
{
    for (unsigned size = 0; size <= 255; ++size) {
        for (unsigned pos = 0; pos <= size; ++pos) {
            Message message(size, static_cast<uint8_t>(pos));
            EXPECT_EQ(usmsg_room(&message.buf), size < pos + 3 ? 0 : size - 3 - pos);
        }
    }
}

TEST(UsmsgCursor, InitAndRewindStartAtZero)
{
    uint8_t bytes[4] = {};
    usmsg_buf_t buf = {nullptr, 9, 9};
    EXPECT_EQ(usmsg_init(&buf, bytes, 4), 0);
    EXPECT_EQ(buf.data, bytes);
    EXPECT_EQ(buf.size, 4);
    EXPECT_EQ(buf.pos, 0);
    buf.pos = 3;
    EXPECT_EQ(usmsg_rewind(&buf), 0);
    EXPECT_EQ(buf.pos, 0);
}

TEST(UsmsgChannelName, NamesTheFiveAndNoOther)
{
    EXPECT_STREQ(usmsg_data_ch_name(1), "USMSG_DATA_CH_LINE_OUT");
    EXPECT_STREQ(usmsg_data_ch_name(2), "USMSG_DATA_CH_MASTER_OUT");
    EXPECT_STREQ(usmsg_data_ch_name(3), "USMSG_DATA_CH_COMPUTER_OUT");
    EXPECT_STREQ(usmsg_data_ch_name(4), "USMSG_DATA_CH_ANALOG_IN");
    EXPECT_STREQ(usmsg_data_ch_name(5), "USMSG_DATA_CH_DIRECTMONITOR_OUT");
    EXPECT_STREQ(usmsg_data_ch_name(0), "UNKNOWN");
    EXPECT_STREQ(usmsg_data_ch_name(6), "UNKNOWN");
    EXPECT_STREQ(usmsg_data_ch_name(257), "UNKNOWN");
}
