// kd-mx-unit: installs virtual units, writes their scripts and reads what they hold.

#include "commandline.h"
#include "unitaccess.h"
#include "unitinstaller.h"
#include "unitreport.h"
#include "virtualscript.h"

#include <windows.h>

#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

const char *const usage =
    "usage: kd-mx-unit COMMAND [--number N]\n"
    "\n"
    "  install [FOLDER] [--as VARIANT]\n"
    "                 plugs in a unit as it left the factory; FOLDER has kd-mx.inf and\n"
    "                 kd-mx.sys (this program's folder unless told). VARIANT is unit, or what\n"
    "                 no program may take for one: other-letters, header-category\n"
    "  remove         pulls the unit out; with the last one the driver goes too\n"
    "  list           the units that are plugged in: number and service name\n"
    "  script TEXT    makes it a unit as it left the factory with this script, a list like\n"
    "                 product=KD-MX4,busy=3,stall*2@10 (see virtualscript.h)\n"
    "  state          what the unit holds, and what the driver has counted\n"
    "  hold           lets each further transfer wait in the driver\n"
    "  release        lets them go on\n"
    "\n"
    "N is 0 to 9, and 0 unless told. Ends with 0; 1 when the system or the driver refuses; 2 for\n"
    "a command line that is not understood; 3 when there is no such unit.\n";

enum Ending {
    Done = 0,
    Refused = 1,
    Misunderstood = 2,
    NoUnit = 3,
};

struct arguments_t
{
    std::string command;
    std::optional<std::string> text; ///< what follows the command
    uint32_t number = 0;
    unitinstaller::Variant variant = unitinstaller::Variant::Unit;
};

int refuse(const std::string &why)
{
    std::fprintf(stderr, "kd-mx-unit: %s\n", why.c_str());
    return Refused;
}

bool read_number(std::string_view text, uint32_t *number)
{
    const char *const end = text.data() + text.size();
    const auto [stopped, failure] = std::from_chars(text.data(), end, *number);
    return failure == std::errc() && stopped == end && *number < unitinstaller::numbers;
}

bool read_variant(std::string_view text, unitinstaller::Variant *variant)
{
    if (text == "unit")
        *variant = unitinstaller::Variant::Unit;
    else if (text == "other-letters")
        *variant = unitinstaller::Variant::OtherLetters;
    else if (text == "header-category")
        *variant = unitinstaller::Variant::HeaderCategory;
    else
        return false;
    return true;
}

bool read_option(const std::string &name, const std::string &value, arguments_t *arguments)
{
    if (name == "--number")
        return read_number(value, &arguments->number);
    if (name == "--as" && arguments->command == "install")
        return read_variant(value, &arguments->variant);
    return false;
}

bool read_arguments(const std::vector<std::string> &values, arguments_t *arguments)
{
    if (values.empty())
        return false;
    arguments->command = values.front();
    for (size_t index = 1; index < values.size(); ++index) {
        const std::string &value = values[index];
        if (value.starts_with("--")) {
            if (index + 1 == values.size() || !read_option(value, values[++index], arguments))
                return false;
        } else if (arguments->text) {
            return false;
        } else {
            arguments->text = value;
        }
    }
    return true;
}

std::wstring wide(const std::string &text)
{
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    std::wstring result(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), units);
    result.pop_back();
    return result;
}

int install(const arguments_t &arguments)
{
    std::string error;
    const std::wstring folder = wide(arguments.text.value_or(""));
    if (!unitinstaller::install(folder, arguments.number, arguments.variant, &error))
        return refuse(error);
    return Done;
}

int remove(const arguments_t &arguments)
{
    if (unitinstaller::service(arguments.number).empty())
        return NoUnit;
    std::string error;
    return unitinstaller::remove(arguments.number, &error) ? Done : refuse(error);
}

int list(const arguments_t &)
{
    for (const uint32_t number : unitinstaller::installed())
        std::printf("%u %ls\n", number, unitinstaller::service(number).c_str());
    return Done;
}

int script(const arguments_t &arguments)
{
    virtualunit_t unit;
    virtualunit_init(&unit);
    std::string error;
    if (!virtualscript::apply(*arguments.text, &unit, &error)) {
        refuse(error);
        return Misunderstood;
    }
    const UnitAccess access(arguments.number);
    if (!access.is_open())
        return NoUnit;
    return access.write(unit) ? Done : refuse("the driver does not take the unit");
}

int state(const arguments_t &arguments)
{
    const UnitAccess access(arguments.number);
    if (!access.is_open())
        return NoUnit;
    unitcontrol_state_t state;
    if (!access.read(&state))
        return refuse("the driver does not tell its state");
    std::fputs(unitreport(state).c_str(), stdout);
    return Done;
}

int hold_or_release(const arguments_t &arguments, bool is_holding)
{
    const UnitAccess access(arguments.number);
    if (!access.is_open())
        return NoUnit;
    return access.hold(is_holding) ? Done : refuse("the driver does not hold transfers");
}

int hold(const arguments_t &arguments)
{
    return hold_or_release(arguments, true);
}

int release(const arguments_t &arguments)
{
    return hold_or_release(arguments, false);
}

struct command_t
{
    std::string_view name;
    int (*run)(const arguments_t &arguments);
    bool needs_text;
    bool takes_text;
};

constexpr command_t commands[] = {
    {"install", install, false, true},  {"remove", remove, false, false}, {"list", list, false, false},
    {"script", script, true, true},     {"state", state, false, false},   {"hold", hold, false, false},
    {"release", release, false, false},
};

int run(const arguments_t &arguments)
{
    for (const command_t &command : commands) {
        if (command.name != arguments.command)
            continue;
        const bool has_text = arguments.text.has_value();
        if (has_text ? command.takes_text : !command.needs_text)
            return command.run(arguments);
    }
    std::fputs(usage, stderr);
    return Misunderstood;
}

} // namespace

int main(int count, char **values)
{
    const commandline::Utf8Console console;
    const std::vector<std::string> texts = commandline::arguments(count, values);
    if (texts.size() == 1 && (texts[0] == "--help" || texts[0] == "-h")) {
        std::fputs(usage, stdout);
        return Done;
    }
    arguments_t arguments;
    if (!read_arguments(texts, &arguments)) {
        std::fputs(usage, stderr);
        return Misunderstood;
    }
    return run(arguments);
}
