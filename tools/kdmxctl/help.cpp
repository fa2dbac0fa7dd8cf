#include "help.h"

#include <algorithm>
#include <sstream>

namespace kdmxctl {

namespace {

constexpr size_t line_width = 79;

// The left column of the list of commands.
constexpr size_t names_width = 40;

const char *const options_help = R"(Options, before or behind the command:
  --json                write one JSON object to standard output, errors too
  --verify              read back what was set; power-save, fader, mute,
                        stereo and route
  --timeout SECONDS     end the command after this time
  --log FILE            append the lines of the device link to FILE; "-" is
                        standard error
  --trace[=FILE]        write every transfer to FILE (standard error)
  --replay FILE         play a trace instead of using a unit
  --virtual[=SCRIPT]    use a virtual unit instead of a real one
  -h, --help            show this help, or that of a command
  --version             show the version
)";

const char *const codes_help = R"(Exit codes:
  0  done               3  no unit            6  the unit does not answer
  1  failed             4  no permission      130  interrupted
  2  bad argument       5  the unit is busy
)";

const char *const examples_help = R"(Examples:
  kdmxctl info
  kdmxctl fader set analog-in 1 100 --verify
  kdmxctl --json rate
  kdmxctl --trace=rate.trace rate
  kdmxctl --replay rate.trace rate

"kdmxctl COMMAND --help" tells more about a command, kdmxctl(1) about all of
it.
)";

std::string wrapped_line(const std::string &line)
{
    // Indented lines are examples: they are typed as they stand.
    if (line.size() <= line_width || line.front() == ' ')
        return line;
    std::istringstream words(line);
    std::string text;
    size_t column = 0;
    for (std::string word; words >> word;) {
        const bool fits = column + 1 + word.size() <= line_width;
        if (column > 0)
            text += fits ? ' ' : '\n';
        column = column > 0 && fits ? column + 1 + word.size() : word.size();
        text += word;
    }
    return text;
}

std::string list_line(const CommandTexts &texts)
{
    std::string left = "  " + texts.name + (texts.arguments.empty() ? "" : " ") + texts.arguments;
    left.resize(std::max(left.size() + 2, names_width), ' ');
    return left + texts.summary + '\n';
}

} // namespace

std::string wrapped(const std::string &text)
{
    std::istringstream lines(text);
    std::string all;
    for (std::string line; std::getline(lines, line);)
        all += (line.empty() ? line : wrapped_line(line)) + '\n';
    return all;
}

std::string program_help(const Commands &commands)
{
    std::string text = "Usage: kdmxctl [OPTIONS] COMMAND [ARGUMENTS]\n\n"
                       "Asks and sets a VELMAR KD-MX recorder unit over USB.\n\nCommands:\n";
    for (const std::unique_ptr<Command> &command : commands)
        text += list_line(command->texts());
    return text + '\n' + options_help + '\n' + codes_help + '\n' + examples_help;
}

std::string command_help(const Command &command)
{
    const CommandTexts texts = command.texts();
    const std::string usage =
        "Usage: kdmxctl [OPTIONS] " + texts.name + (texts.arguments.empty() ? "" : " ") + texts.arguments + "\n\n";
    return usage + wrapped(texts.details) + "\n\"kdmxctl --help\" lists the options for all commands.\n";
}

} // namespace kdmxctl
