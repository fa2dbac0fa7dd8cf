#include "virtualscript.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

virtualunit_t factory()
{
    virtualunit_t unit;
    virtualunit_init(&unit);
    return unit;
}

virtualunit_t described_by(const std::string &text)
{
    virtualunit_t unit = factory();
    std::string error = "none";
    EXPECT_TRUE(virtualscript::apply(text, &unit, &error)) << text << ": " << error;
    EXPECT_EQ(error, "none") << text;
    return unit;
}

bool same(const virtualunit_t &left, const virtualunit_t &right)
{
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

struct Fault
{
    std::string text;
    virtualunit_fault_t fault;
};

bool operator==(const virtualunit_fault_t &left, const virtualunit_fault_t &right)
{
    return left.kind == right.kind && left.first == right.first && left.count == right.count
        && left.parameter == right.parameter;
}

} // namespace

TEST(VirtualScript, EmptyTextChangesNothing)
{
    EXPECT_TRUE(same(described_by(""), factory()));
}

TEST(VirtualScript, SettingsAreTaken)
{
    EXPECT_STREQ(described_by("product=KD-MX4").product, "KD-MX4");
    EXPECT_EQ(described_by("allowance=100").firmware.allowance, 100U);
    EXPECT_EQ(described_by("busy=3").busy_reads_after_write, 3U);
    EXPECT_EQ(described_by("hz=96000").hz, 96000U);
    EXPECT_EQ(described_by("hz=4294967295").hz, 4294967295U);
}

TEST(VirtualScript, AShorterNameLeavesNothingOfTheLongerOne)
{
    const virtualunit_t unit = described_by("product=KD");
    EXPECT_EQ(std::string(unit.product, sizeof(unit.product)), "KD" + std::string(sizeof(unit.product) - 2, '\0'));
}

TEST(VirtualScript, LongestNameIsTakenWhole)
{
    const std::string name(VIRTUALUNIT_TEXT_SIZE - 1, 'x');
    EXPECT_EQ(described_by("product=" + name).product, name);
}

TEST(VirtualScript, DebugTextStandsInTheFirstBlock)
{
    virtualunit_t unit = described_by("debug=a=b*@:");
    uint8_t block[VIRTUALUNIT_BLOCK_SIZE];
    uint32_t length = 0;
    ASSERT_EQ(virtualunit_read(&unit, block, &length), VIRTUALUNIT_OK);
    const uint8_t expected[] = {0xA1, 2, 1, 0x12, 5, 6, 'a', '=', 'b', '*', '@', ':', 0, 0};
    EXPECT_EQ(std::memcmp(block, expected, sizeof(expected)), 0);
}

TEST(VirtualScript, FaultsAreTaken)
{
    const Fault rows[] = {
        {"stall", {VIRTUALUNIT_FAULT_STALL, 0, 1, 0}},
        {"late*2", {VIRTUALUNIT_FAULT_LATE, 0, 2, 0}},
        {"hard@7", {VIRTUALUNIT_FAULT_HARD, 7, 1, 0}},
        {"short:0", {VIRTUALUNIT_FAULT_SHORT, 0, 1, 0}},
        {"short:63*4@5", {VIRTUALUNIT_FAULT_SHORT, 5, 4, 63}},
        {"stale*ever", {VIRTUALUNIT_FAULT_STALE, 0, VIRTUALUNIT_FOREVER, 0}},
        {"garbled*ever@12", {VIRTUALUNIT_FAULT_GARBLED, 12, VIRTUALUNIT_FOREVER, 0}},
        {"busy", {VIRTUALUNIT_FAULT_BUSY, 0, 1, 0}},
        {"mute*1@0", {VIRTUALUNIT_FAULT_MUTE, 0, 1, 0}},
        {"unplug*10@3", {VIRTUALUNIT_FAULT_UNPLUG, 3, 10, 0}},
    };
    for (const Fault &row : rows) {
        const virtualunit_t unit = described_by(row.text);
        ASSERT_EQ(unit.fault_count, 1U) << row.text;
        EXPECT_TRUE(unit.faults[0] == row.fault) << row.text;
    }
}

TEST(VirtualScript, ItemsStandSideBySide)
{
    const virtualunit_t unit = described_by("busy=2,busy,hz=44100,unplug@9,product=KD-MX4");
    EXPECT_EQ(unit.busy_reads_after_write, 2U);
    EXPECT_EQ(unit.hz, 44100U);
    EXPECT_STREQ(unit.product, "KD-MX4");
    ASSERT_EQ(unit.fault_count, 2U);
    EXPECT_EQ(unit.faults[0].kind, VIRTUALUNIT_FAULT_BUSY);
    EXPECT_EQ(unit.faults[1].kind, VIRTUALUNIT_FAULT_UNPLUG);
}

TEST(VirtualScript, WhatIsNotUnderstoodIsSaidAndChangesNothing)
{
    const struct
    {
        std::string text;
        std::string error;
    } rows[] = {
        {"colour=red", "\"colour\" is no setting of a virtual unit"},
        {"=5", "\"\" is no setting of a virtual unit"},
        {"explode", "\"explode\" is no fault of a virtual unit"},
        {"Stall", "\"Stall\" is no fault of a virtual unit"},
        {"stall ", "\"stall \" is no fault of a virtual unit"},
        {",", "\"\" is no fault of a virtual unit"},
        {"stall,,late", "\"\" is no fault of a virtual unit"},
        {"stall,", "nothing stands behind the last comma"},
        {"hz=", "\"\" is no number"},
        {"hz=48k", "\"48k\" is no number"},
        {"hz=-1", "\"-1\" is no number"},
        {"hz= 1", "\" 1\" is no number"},
        {"hz=0x10", "\"0x10\" is no number"},
        {"hz=4294967296", "\"4294967296\" is no number"},
        {"allowance=many", "\"many\" is no number"},
        {"busy=", "\"\" is no number"},
        {"product=", "a product's name has 1 to 47 bytes"},
        {"product=" + std::string(48, 'x'), "a product's name has 1 to 47 bytes"},
        {"stall*0", "a fault lasts for one transfer at least"},
        {"stall*", "\"\" is no number"},
        {"stall*often", "\"often\" is no number"},
        {"stall@", "\"\" is no number"},
        {"stall@ever", "\"ever\" is no number"},
        {"stall@1*2", "\"1*2\" is no number"},
        {"stall:1", "only short takes a number of bytes"},
        {"unplug:", "only short takes a number of bytes"},
        {"short", "short needs a number of bytes from 0 to 63"},
        {"short:", "short needs a number of bytes from 0 to 63"},
        {"short:64", "short needs a number of bytes from 0 to 63"},
        {"short*2:5", "\"2:5\" is no number"},
    };
    for (const auto &row : rows) {
        virtualunit_t unit = factory();
        std::string error;
        // What stands before the item that is wrong must not be applied either.
        EXPECT_FALSE(virtualscript::apply("hz=1,debug=x," + row.text, &unit, &error)) << row.text;
        EXPECT_EQ(error, row.error) << row.text;
        EXPECT_TRUE(same(unit, factory())) << row.text;
    }
}

TEST(VirtualScript, AScriptThatIsTooLongIsRefused)
{
    std::string text = "stall";
    for (uint32_t fault = 1; fault < VIRTUALUNIT_FAULTS; ++fault)
        text += ",stall@" + std::to_string(fault);
    EXPECT_EQ(described_by(text).fault_count, VIRTUALUNIT_FAULTS);
    virtualunit_t unit = factory();
    std::string error;
    EXPECT_FALSE(virtualscript::apply(text + ",late", &unit, &error));
    EXPECT_EQ(error, "a virtual unit has 32 faults at most");
    EXPECT_TRUE(same(unit, factory()));
}
