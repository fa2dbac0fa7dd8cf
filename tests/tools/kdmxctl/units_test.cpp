#include "elements.h"
#include "failure.h"
#include "help.h"
#include "progress.h"
#include "replayplatform.h"
#include "trace.h"
#include "usmsg.h"
#include "values.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// The parts of kdmxctl that have more cases than a test of the whole program can go through.

namespace {

using namespace kdmxctl;

std::string described(const std::vector<uint8_t> &bytes)
{
    return describe(decode(bytes.data(), bytes.size()));
}

struct MeaningCase
{
    std::vector<uint8_t> bytes;
    const char *meaning;
};

class Meaning : public testing::TestWithParam<MeaningCase>
{
};

TEST_P(Meaning, ofAMessage)
{
    EXPECT_EQ(described(GetParam().bytes), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(Elements, Meaning,
                         testing::Values(MeaningCase{{0, 0}, "nothing"}, MeaningCase{{}, "nothing"},
                                         MeaningCase{{0xA1, 2, 0}, "ready 0"}, MeaningCase{{0x31, 1, 0, 0}, "identity"},
                                         MeaningCase{{0x61, 2, 5, 0x62, 2, 1, 0xC6, 2, 4},
                                                     "channel direct-monitor, number 1, stereo stereo"},
                                         MeaningCase{{0x61, 2, 9}, "channel 9"}, MeaningCase{{0xC6, 2, 2}, "stereo 2"},
                                         MeaningCase{{0x18, 4, 0x80, 0xBB, 0, 0}, "rate 48000"},
                                         MeaningCase{{0x34, 5, 2, 'K', 0x1B}, "product \"K\\x1b\""},
                                         MeaningCase{{0x26, 5, 3, 1, 2, 3}, "firmware-data-last 3 bytes"},
                                         MeaningCase{{0x99, 3, 1, 2}, "element 0x99 513"},
                                         MeaningCase{{0xA1, 2, 1, 0xA1}, "ready 1, half an element at the end"},
                                         MeaningCase{{0xA1, 2}, "ready is cut short at byte 0"},
                                         MeaningCase{{0x34, 5, 9, 'K'}, "product is cut short at byte 0"},
                                         MeaningCase{{0x12, 7, 0}, "unknown type 0x07 at byte 0"}));

TEST(Elements, areNotPrintedByTheirReading)
{
    testing::internal::CaptureStdout();
    described({0x12, 7, 0});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Trace, packsEqualBytesAtTheEnd)
{
    EXPECT_EQ(trace_line({TraceStep::Kind::Write, 0, {0x31, 1, 0, 0}}, 0), "   0.000 write ok 31 01 00 00 ; identity");
    const std::string line = trace_line({TraceStep::Kind::Read, 0, std::vector<uint8_t>(64)}, 1.5);
    EXPECT_EQ(line, "   1.500 read  ok 00*64 ; nothing");
}

TEST(Trace, readsWhatItWrites)
{
    const std::vector<TraceStep> steps = {
        {TraceStep::Kind::Find},
        {TraceStep::Kind::Find, USPLATFORM_ERROR_NOT_FOUND},
        {TraceStep::Kind::Open, USPLATFORM_ERROR_ACCESS_DENIED},
        {TraceStep::Kind::Write, 0, {0x31, 1, 0, 0}},
        {TraceStep::Kind::Write, USPLATFORM_ERROR_TRANSIENT, {7, 7, 7, 7}},
        {TraceStep::Kind::Read, 0, std::vector<uint8_t>(64, 0xFF)},
        {TraceStep::Kind::Read, 0, {}},
        {TraceStep::Kind::Read, USPLATFORM_ERROR_IO},
    };
    for (const TraceStep &step : steps) {
        std::string error;
        const std::optional<TraceStep> read = parse_trace_line(trace_line(step, 12.25), &error);
        ASSERT_TRUE(read) << error;
        EXPECT_EQ(read->kind, step.kind);
        EXPECT_EQ(read->error, step.error);
        EXPECT_EQ(read->bytes, step.bytes);
    }
}

TEST(Trace, passesOverCommentsAndEmptyLines)
{
    for (const char *const line : {"", "   ", "# 0.0 read", "  # x", "; x"}) {
        std::string error;
        EXPECT_FALSE(parse_trace_line(line, &error)) << line;
        EXPECT_EQ(error, "") << line;
    }
}

TEST(Trace, refusesWrongLines)
{
    for (const char *const line : {"read ok",
                                   "0.0",
                                   "0.0 dance ok",
                                   "0.0 read",
                                   "0.0 read fine",
                                   "0.0 read error",
                                   "0.0 read error 0",
                                   "0.0 read error x",
                                   "0.0 read none",
                                   "0.0 find error 2",
                                   "0.0 open ok",
                                   "0.0 find ok 01",
                                   "0.0 read error 31 00",
                                   "0.0 read ok 1",
                                   "0.0 read ok 123",
                                   "0.0 read ok zz",
                                   "0.0 read ok 00*",
                                   "0.0 read ok 00*65",
                                   "0.0 read ok 00*-1",
                                   "0.0 read ok 00*64 00",
                                   "0.0 read ok 00x3"}) {
        std::string error;
        EXPECT_FALSE(parse_trace_line(line, &error)) << line;
        EXPECT_NE(error, "") << line;
    }
}

TEST(Values, areHarmlessOnATerminal)
{
    EXPECT_EQ(printable("Größe \x1b[2J\x7f\n"), "Größe \\x1b[2J\\x7f\\x0a");
    // U+009B begins a terminal's commands too. Neither its first byte nor its last makes a control character elsewhere.
    EXPECT_EQ(printable("\xc2\x9b"
                        "2J \xc2\x80\xc2\x9f"),
              "\\xc2\\x9b2J \\xc2\\x80\\xc2\\x9f");
    EXPECT_EQ(printable("10 \xc2\xb5s \xd0\x9b \xc2"), "10 \xc2\xb5s \xd0\x9b \xc2");
}

TEST(Values, readHexadecimalWordsOfAnyLength)
{
    EXPECT_EQ(bytes_argument("HEX", {"31", "0100FF"}), (std::vector<uint8_t>{0x31, 1, 0, 0xFF}));
    EXPECT_EQ(bytes_argument("HEX", {std::string(128, 'a')}).size(), 64U);
    EXPECT_THROW(bytes_argument("HEX", {std::string(130, 'a')}), Failure);
    EXPECT_THROW(bytes_argument("HEX", {""}), Failure);
}

TEST(Progress, goesOnTo100PercentOfALargeImage)
{
    constexpr uint32_t size = 200'000'000;
    testing::internal::CaptureStderr();
    Progress progress(size, false);
    progress.update(size / 2);
    progress.update(size);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find(" 50 %  100000000 of 200000000 bytes"), std::string::npos) << told;
    EXPECT_NE(told.find("100 %  200000000 of 200000000 bytes"), std::string::npos) << told;
}

TEST(Help, breaksLinesAtBlanks)
{
    const std::string word(50, 'x');
    EXPECT_EQ(wrapped(word + ' ' + word + "\n\nshort\n  " + word + ' ' + word + '\n'),
              word + '\n' + word + "\n\nshort\n  " + word + ' ' + word + '\n');
}

} // namespace
