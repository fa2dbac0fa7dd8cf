// Who may use the unit: what our rule makes a real udev do, and what an ordinary user gets.

#include "guestdevice.h"
#include "guestlink.h"
#include "guestprocess.h"

#include "usctl.h"
#include "usplatform.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <grp.h>
#include <sys/stat.h>

using virtualusb::foreign_description;
using virtualusb::Function;

namespace {

const char *const unit_group = "audio";

/// Finds the unit and reads from it: 0, or the error code of the system; 240 when there is no unit.
int find_and_read()
{
    GuestLink link;
    uint8_t block[64];
    if (link.unit == nullptr)
        return 240;
    const int result = usdev_read(link.unit, USDEV_REQ_READ, 0, 0, sizeof block, block);
    return result == 0 ? 0 : static_cast<int>(usplatform()->last_error());
}

bool has_line(const GuestDevice &device, const std::string &line)
{
    const std::vector<std::string> lines = device.udev_record();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

unsigned mode_of(const GuestDevice &device)
{
    struct stat status = {};
    EXPECT_EQ(stat(device.node().c_str(), &status), 0);
    return status.st_mode & 0777U;
}

std::string group_of(const GuestDevice &device)
{
    struct stat status = {};
    EXPECT_EQ(stat(device.node().c_str(), &status), 0);
    return getgrgid(status.st_gid)->gr_name;
}

} // namespace

TEST(GuestAccess, RuleTagsTheUnitForTheUserAtTheSeat)
{
    for (const std::string product : {"KD-MX2", "KD-MX4"}) {
        SCOPED_TRACE(product);
        GuestUnit unit(0, product);
        EXPECT_TRUE(has_line(unit.usb, "G:uaccess")); // tagged ever
        EXPECT_TRUE(has_line(unit.usb, "Q:uaccess")); // tagged now
        EXPECT_TRUE(has_line(unit.usb, "E:KDMX_SEAT_RULE_SAW_TAG=1")); // early enough
        EXPECT_EQ(mode_of(unit.usb), 0660U);
        EXPECT_EQ(group_of(unit.usb), unit_group);
    }
}

TEST(GuestAccess, RuleLeavesOtherDevicesAlone)
{
    GuestDevice devices[] = {
        {foreign_description(Function::Audio, "Sonora", "KD-MX2"), nullptr, 0},
        {foreign_description(Function::Audio, "VELMAR", "Speaker"), nullptr, 1},
    };
    for (GuestDevice &device : devices) {
        SCOPED_TRACE(device.device().description().product);
        device.plug();
        EXPECT_FALSE(device.udev_record().empty());
        EXPECT_FALSE(has_line(device, "G:uaccess"));
        EXPECT_EQ(mode_of(device), 0664U); // as udev's own rules have it
        EXPECT_EQ(group_of(device), "root");
    }
}

TEST(GuestAccess, IsRefusedToAnOrdinaryUser)
{
    GuestUnit unit(0);
    EXPECT_EQ(run_as({.is_ordinary = true, .group = {}}, find_and_read).status,
              static_cast<int>(USPLATFORM_ERROR_ACCESS_DENIED));
    EXPECT_EQ(unit.transfers(), 0U);
}

TEST(GuestAccess, IsGrantedToTheGroupOfTheRule)
{
    GuestUnit unit(0);
    EXPECT_EQ(run_as({.is_ordinary = true, .group = unit_group}, find_and_read).status, 0);
    EXPECT_EQ(unit.transfers(), 1U);
}
