// The programs that people get, unmodified, against the kernel's own USB.

#include "guestdevice.h"
#include "guestlink.h"
#include "guestprocess.h"

#include "usctl.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

#include <unistd.h>

using Json = nlohmann::json;
using Words = std::vector<std::string>;

namespace {

const GuestUser root = {};
const GuestUser ordinary = {.is_ordinary = true, .group = {}};
const GuestUser in_group = {.is_ordinary = true, .group = "audio"};

// Of kdmxctl, as its man page has them.
constexpr int no_unit = 3;
constexpr int no_permission = 4;

} // namespace

class GuestKdmxctl : public testing::Test
{
protected:
    void SetUp() override
    {
        if (access("./kdmxctl", X_OK) != 0)
            GTEST_SKIP() << "kdmxctl was not built";
    }

    /// Runs it with --json; what it printed must be one object.
    static Json run(const GuestUser &user, Words words, int expected_status)
    {
        words.insert(words.begin(), "kdmxctl");
        words.push_back("--json");
        const GuestEnd end = run_program(user, words);
        EXPECT_EQ(end.status, expected_status) << end.output;
        return Json::parse(end.output, nullptr, false);
    }
};

TEST_F(GuestKdmxctl, SaysThatThereIsNoUnit)
{
    const Json answer = run(root, {"info"}, no_unit);
    ASSERT_TRUE(answer.is_object());
    EXPECT_EQ(answer["ok"], false);
    EXPECT_EQ(answer["error"]["code"], "no-unit");
}

TEST_F(GuestKdmxctl, TellsWhatTheUnitIs)
{
    GuestUnit unit(0, "KD-MX4");
    const Json info = run(root, {"info"}, 0);
    ASSERT_TRUE(info.is_object());
    EXPECT_EQ(info["product"], "KD-MX4");
    unit.with([&](const virtualunit_t &model) {
        EXPECT_EQ(info["version"], model.version);
        EXPECT_EQ(info["build"], model.build);
    });
    const Json rate = run(root, {"rate"}, 0);
    ASSERT_TRUE(rate.is_object());
    EXPECT_EQ(rate["rate_hz"], unit.with([](const virtualunit_t &model) { return model.hz; }));
}

TEST_F(GuestKdmxctl, SetsAFaderAndReadsItBack)
{
    GuestUnit unit(0);
    EXPECT_EQ(run(root, {"fader", "set", "analog-in", "2", "123", "--verify"}, 0)["verified"], true);
    EXPECT_EQ(
        unit.with([](virtualunit_t &model) { return virtualunit_strip(&model, USMSG_DATA_CH_ANALOG_IN, 2)->fader; }),
        123);
    EXPECT_EQ(run(root, {"fader", "get", "analog-in", "2"}, 0)["fader"], 123);
}

TEST_F(GuestKdmxctl, MovesFirmware)
{
    GuestUnit unit(0);
    unit.with([](virtualunit_t &model) { model.firmware.allowance = 4096; });
    const std::string image(10000, 'F');
    std::ofstream("/tmp/image") << image;
    EXPECT_EQ(run(root, {"firmware", "/tmp/image", "--yes"}, 0)["ok"], true);
    unit.with([&](const virtualunit_t &model) {
        EXPECT_EQ(model.firmware.received, image.size());
        EXPECT_EQ(model.firmware.misfits, 0U);
    });
}

TEST_F(GuestKdmxctl, SaysThatTheUnitWentAway)
{
    GuestUnit unit(0);
    unit.strike(VIRTUALUNIT_FAULT_UNPLUG, 1);
    EXPECT_EQ(run(root, {"rate"}, no_unit)["error"]["code"], "no-unit");
    EXPECT_FALSE(unit.usb.usb().is_plugged());
}

TEST_F(GuestKdmxctl, IsForThoseWhomTheRuleLets)
{
    GuestUnit unit(0);
    EXPECT_EQ(run(ordinary, {"rate"}, no_permission)["error"]["code"], "no-permission");
    EXPECT_EQ(unit.transfers(), 0U);
    EXPECT_EQ(run(in_group, {"rate"}, 0)["ok"], true);
    EXPECT_GT(unit.transfers(), 0U);
}

TEST(GuestUsbipUnit, PlugsUnitsInAndFollowsTheirScripts)
{
    ASSERT_FALSE(GuestLink().find());
    GuestProgram program({"kdmx-usbip-unit", "product=KD-MX2", "product=KD-MX4,unplug*3@1"});
    GuestLink link;
    const auto finds = [&](const std::string &port) {
        return wait_until([&] { return link.find() && link.path().ends_with("-" + port + "\\global"); });
    };
    ASSERT_TRUE(finds("2"));
    uint8_t block[64];
    // The first transfer comes through, the next pulls it out; then the other unit is the last one.
    EXPECT_EQ(usdev_read(link.unit, USDEV_REQ_READ, 0, 0, sizeof block, block), 0);
    EXPECT_EQ(usdev_read(link.unit, USDEV_REQ_READ, 0, 0, sizeof block, block), 1);
    EXPECT_TRUE(finds("1"));
    EXPECT_TRUE(finds("2"));
    uint8_t name[8];
    uint8_t length = 0;
    EXPECT_EQ(usctl_get_productname(&link.unit, name, sizeof name, &length), 0);
    EXPECT_EQ(std::string(name, name + length), "KD-MX4");

    EXPECT_EQ(program.interrupt(), 0);
    EXPECT_TRUE(wait_until([&] { return !link.find(); }));
}
