#pragma once

#include "unitaccess.h"
#include "unitinstaller.h"
#include "usbdevs_win.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/**
 * A virtual unit on the driver of this system, as number 0, as it left the factory and found by the link. Further
 * units are gone after each test.
 *
 * The variable KDMX_DRIVER names the folder of kd-mx.inf and kd-mx.sys, in the system's own way of writing.
 */
class DriverScene : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Plugs a unit in with a script.
    static void plug(uint32_t number, unitinstaller::Variant variant = unitinstaller::Variant::Unit,
                     std::string_view script = "");

    /// Pulls a unit out.
    static void unplug(uint32_t number);

    /// Makes unit 0 one as it left the factory, with a script.
    static void script(std::string_view text);

    /// What a unit holds now.
    static unitcontrol_state_t state(uint32_t number = 0);

    /// Looks for the unit anew; 0 when it is found.
    int find();

    /// Reads a block from the unit as the link does.
    int read();

    /// Writes the message that sets auto power save to 0.
    int write();

    /// What find() has found, as narrow text.
    std::string path() const;

    usdev_list_t list = {};
    usdev_t *unit = nullptr;
    uint8_t block[64] = {};
};

/// What a call prints on standard output, without the line numbers of diagnostics and without carriage returns.
std::string lines_of(const std::function<void()> &call);

/// The line that the link prints for a system error, with the system's text, which this asks for by itself.
std::string error_lines(uint32_t code);
