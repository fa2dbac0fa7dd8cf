#pragma once

#include "options.h"
#include "output.h"
#include "session.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kdmxctl {

/// What the help says about a command.
struct CommandTexts
{
    std::string name; ///< "fader"
    std::string arguments; ///< "get|set CHANNEL NUMBER [VALUE]"; may be empty
    std::string summary; ///< a few words
    std::string details; ///< paragraphs, with examples
};

enum class Need { Required, Optional };

/// An argument or option of a command's own, and where its value goes.
struct Parameter
{
    std::string name; ///< "NUMBER", or "-n,--blocks" for an option
    std::variant<std::string *, std::vector<std::string> *, bool *> value; ///< a bool is a flag
    Need need = Need::Required;
};

/**
 * One command of the program. The order of calls: texts(), parameters(), then for the one that was chosen check() and
 * run_on(), which calls run().
 */
class Command
{
public:
    Command() = default;
    virtual ~Command() = default;
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    virtual CommandTexts texts() const = 0;

    /// What the command takes besides the options of every command. The values go to its members.
    virtual std::vector<Parameter> parameters();

    /**
     * Looks at the arguments, and at files that they name, before the unit is looked for; throws bad arguments.
     *
     * @return whether the command sets something that can be read back
     */
    virtual bool check(const Options &options);

    /// Whether the unit is to be read once before the command: not where that read is itself the command.
    virtual bool wants_probe() const { return true; }

    /**
     * Finds the unit on a platform and carries the command out; throws a Failure.
     *
     * @param trace  takes every transfer; may be null
     */
    virtual Result run_on(const usplatform_t *platform, const Options &options, TraceWriter *trace);

protected:
    /// Carries the command out with the unit that was found; throws a Failure. Not called where run_on() is overridden.
    virtual Result run(Session *session, const Options &options);
};

using Commands = std::vector<std::unique_ptr<Command>>;

// The commands, each group in a file of its own; each function appends its group in the order of the help.
void add_identity_commands(Commands *commands);
void add_setting_commands(Commands *commands);
void add_channel_commands(Commands *commands);
void add_route_commands(Commands *commands);
void add_number_commands(Commands *commands);
void add_raw_commands(Commands *commands);
void add_firmware_commands(Commands *commands);

/// A failure for a read-back that differs from what was set.
Failure not_verified(const std::string &what, const std::string &wanted, const std::string &found);

/// " (verified)" when the setting was read back.
std::string verified_mark(const Options &options);

} // namespace kdmxctl
