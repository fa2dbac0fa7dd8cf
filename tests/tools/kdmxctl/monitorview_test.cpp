#include "monitorkeys.h"
#include "monitorview.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// What the live view draws at any size, and how it reads keys, without a terminal.

namespace {

using namespace kdmxctl;

MonitorState full_state()
{
    MonitorState state;
    state.status = UnitStatus::Connected;
    state.product = "KD-MX2";
    state.version = 0x0123;
    state.build = 0x0456;
    state.build_date = "Apr  1 2025";
    state.build_time = "12:34:56";
    state.hz = 48000;
    state.volume.report(151);
    state.inputs[0].report(true);
    state.inputs[1].report(false);
    state.stereo.report(4);
    state.power_save.report(true);
    for (int line = 0; line < 50; ++line)
        state.debug.push_back("line " + std::to_string(line));
    return state;
}

/// The rows as text, without styles.
std::vector<std::string> texts(const MonitorState &state, Screen::Size size, bool is_utf8 = false)
{
    std::vector<std::string> texts;
    for (const MonitorLine &row : monitor_rows(state, size, is_utf8)) {
        std::string text = row.sequence(size.columns);
        for (const char *const style : {"\x1b[0m", "\x1b[1m", "\x1b[2m"}) {
            for (size_t at = text.find(style); at != std::string::npos; at = text.find(style))
                text.erase(at, 4);
        }
        texts.push_back(text);
    }
    return texts;
}

/// The row that begins with a name; empty when there is none.
std::string row_of(const std::vector<std::string> &rows, const std::string &name)
{
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&](const std::string &text) { return text.starts_with(name); });
    return row == rows.end() ? "" : *row;
}

TEST(MonitorView, fitsIntoAnySize)
{
    MonitorState state = full_state();
    for (const UnitStatus status : {UnitStatus::Connected, UnitStatus::NoUnit, UnitStatus::NoPermission}) {
        state.status = status;
        for (unsigned columns = 1; columns <= 100; ++columns) {
            for (unsigned rows = 1; rows <= 40; ++rows) {
                const std::vector<std::string> shown = texts(state, {columns, rows}, true);
                ASSERT_LE(shown.size(), rows);
                for (const std::string &row : shown)
                    ASSERT_LE(columns_of(row), columns) << row;
            }
        }
    }
}

TEST(MonitorView, theKeysStandInTheLastRows)
{
    const std::vector<std::string> wide = texts(full_state(), {80, 24});
    ASSERT_EQ(wide.size(), 24U);
    EXPECT_EQ(wide.back(), "+/- volume  1 2 inputs  m mono/stereo  p power save  r refresh  q quit");
    const std::vector<std::string> narrow = texts(full_state(), {40, 24});
    ASSERT_EQ(narrow.size(), 24U);
    EXPECT_EQ(narrow[22], "+/- volume  1 2 inputs  m mono/stereo");
    EXPECT_EQ(narrow[23], "p power save  r refresh  q quit");
}

TEST(MonitorView, alignsValues)
{
    const std::vector<std::string> rows = texts(full_state(), {80, 24});
    EXPECT_EQ(row_of(rows, "Firmware"), "Firmware         291 (0x0123), build 1110 (0x0456)");
    EXPECT_EQ(row_of(rows, "Built"), "Built            Apr  1 2025, 12:34:56");
    EXPECT_EQ(row_of(rows, "Sample rate"), "Sample rate      48000 Hz");
    EXPECT_EQ(row_of(rows, "Input 1"), "Input 1          on");
    EXPECT_EQ(row_of(rows, "Input 2"), "Input 2          off");
    EXPECT_EQ(row_of(rows, "Direct monitor"), "Direct monitor   stereo");
    EXPECT_EQ(row_of(rows, "Auto power save"), "Auto power save  on");
    EXPECT_TRUE(rows.front().starts_with("KD-MX2 ")) << rows.front();
    EXPECT_TRUE(rows.front().ends_with(" connected")) << rows.front();
    EXPECT_EQ(rows.front().size(), 79U);
}

TEST(MonitorView, theBarShowsTheLevel)
{
    MonitorState state = full_state();
    for (const unsigned level : {0U, 1U, 127U, 254U, 255U}) {
        state.volume.report(static_cast<uint8_t>(level));
        const std::string row = row_of(texts(state, {80, 24}), "Input volume");
        EXPECT_EQ(row.find_first_of("#-"), 25U) << row;
        EXPECT_EQ(row.size(), 25U + 51U) << row;
        EXPECT_NEAR(static_cast<double>(std::count(row.begin(), row.end(), '#')), level / 255.0 * 51, 0.51) << row;
    }
    EXPECT_EQ(row_of(texts(state, {32, 24}), "Input volume"), "Input volume     255");
}

TEST(MonitorView, aMarkStandsBehindWhatIsNotConfirmed)
{
    MonitorState state = full_state();
    state.inputs[0].want(false);
    EXPECT_EQ(row_of(texts(state, {80, 24}), "Input 1"), "Input 1          off ...");
    state.inputs[0].report(true);
    EXPECT_EQ(row_of(texts(state, {80, 24}), "Input 1"), "Input 1          off ...");
    state.inputs[0].report(false);
    EXPECT_EQ(row_of(texts(state, {80, 24}), "Input 1"), "Input 1          off");
}

TEST(MonitorView, whatTheUnitDoesNotTakeComesBack)
{
    Setting<bool> setting;
    setting.report(true);
    setting.want(false);
    for (int question = 0; question < 5; ++question)
        setting.ask();
    EXPECT_TRUE(setting.is_pending());
    setting.ask();
    EXPECT_FALSE(setting.is_pending());
    EXPECT_EQ(setting.expected(), true);
}

TEST(MonitorView, whatIsNotToldIsADash)
{
    const std::vector<std::string> rows = texts(MonitorState(), {80, 24});
    for (const char *const name : {"Firmware", "Built", "Sample rate", "Input volume", "Input 1", "Direct monitor"})
        EXPECT_TRUE(row_of(rows, name).ends_with("  -")) << name;
    EXPECT_TRUE(rows.front().ends_with("looking for the unit"));
}

TEST(MonitorView, theNewestDebugLinesAreShown)
{
    const std::vector<std::string> rows = texts(full_state(), {80, 24});
    EXPECT_EQ(rows[rows.size() - 2], "line 49");
    EXPECT_EQ(row_of(rows, "Debug text"), "Debug text");
    EXPECT_EQ(row_of(rows, "line 0"), "");
}

TEST(MonitorView, asciiHoldsNothingElse)
{
    MonitorState state = full_state();
    state.product = "KD–MX ミックス";
    state.volume.want(10);
    for (const std::string &row : texts(state, {80, 24}, false))
        EXPECT_TRUE(std::all_of(row.begin(), row.end(), [](char c) { return c >= ' ' && c <= '~'; })) << row;
    EXPECT_TRUE(texts(state, {80, 24}, false).front().starts_with("KD?MX ???? "));
    const std::string wide = texts(state, {80, 24}, true).front();
    EXPECT_EQ(columns_of(wide), 79U) << wide;
}

TEST(MonitorPainter, drawsOnlyWhatHasChanged)
{
    MonitorState state = full_state();
    const Screen::Size size = {80, 24};
    MonitorPainter painter;
    EXPECT_TRUE(painter.update(monitor_rows(state, size, true), size).starts_with("\x1b[2J"));
    EXPECT_EQ(painter.update(monitor_rows(state, size, true), size), "");
    state.inputs[1].report(true);
    EXPECT_EQ(painter.update(monitor_rows(state, size, true), size), "\x1b[9;1HInput 2          on\x1b[K");
    const Screen::Size other = {81, 24};
    EXPECT_TRUE(painter.update(monitor_rows(state, other, true), other).starts_with("\x1b[2J"));
}

TEST(MonitorKeys, arePlainOrSpecial)
{
    MonitorKeyReader reader;
    const std::vector<MonitorKey> plain = {MonitorKey::VolumeUp, MonitorKey::VolumeDown, MonitorKey::Input1,
                                           MonitorKey::Input2,   MonitorKey::Stereo,     MonitorKey::PowerSave,
                                           MonitorKey::Refresh,  MonitorKey::Suspend,    MonitorKey::Quit};
    EXPECT_EQ(reader.take("+-12mpr\x1aq"), plain);
    const std::vector<MonitorKey> arrows = {MonitorKey::VolumeUp, MonitorKey::VolumeDown, MonitorKey::VolumeUpFine,
                                            MonitorKey::VolumeDownFine};
    EXPECT_EQ(reader.take("\x1b[A\x1b[B\x1b[C\x1b[D"), arrows);
    EXPECT_EQ(reader.take("\x1bOA\x1bOB\x1bOC\x1bOD"), arrows);
}

TEST(MonitorKeys, sequencesMayComeInPieces)
{
    MonitorKeyReader reader;
    EXPECT_TRUE(reader.take("\x1b").empty());
    EXPECT_TRUE(reader.take("[").empty());
    EXPECT_EQ(reader.take("A"), std::vector{MonitorKey::VolumeUp});
}

TEST(MonitorKeys, othersMeanNothing)
{
    MonitorKeyReader reader;
    // F5, delete, control and arrow up: their letters and digits are not keys by themselves.
    EXPECT_TRUE(reader.take("\x1b[15~\x1b[3~\x1b[1;5A\x1b[1;2P").empty());
    EXPECT_TRUE(reader.take("xyz 0\x01").empty());
    // The escape key alone does not swallow what is typed next.
    EXPECT_EQ(reader.take("\x1bq"), std::vector{MonitorKey::Quit});
    EXPECT_TRUE(reader.take("\x1b\x1b[").empty());
    EXPECT_EQ(reader.take("A"), std::vector{MonitorKey::VolumeUp});
}

} // namespace
