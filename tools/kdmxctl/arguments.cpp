#include "arguments.h"

#include "help.h"
#include "virtualscript.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <variant>

namespace kdmxctl {

namespace {

constexpr double longest_timeout = 86400;

const char *const version_text = "kdmxctl " KDMX_VERSION " (build " KDMX_BUILD ")\n";

bool is_command(const std::string &word, const Commands &commands)
{
    return std::any_of(commands.begin(), commands.end(),
                       [&](const std::unique_ptr<Command> &command) { return command->texts().name == word; });
}

/// Whether a word after --virtual can only be its script. "mute", both a fault and a command, is the command.
bool is_script(const std::string &word, const Commands &commands)
{
    if (word.empty() || word.starts_with('-') || is_command(word, commands))
        return false;
    if (word.find_first_of("=*@:,") != std::string::npos)
        return true;
    virtualunit_t unit;
    virtualunit_init(&unit);
    std::string error;
    return virtualscript::apply(word, &unit, &error);
}

/**
 * Gives --trace and --virtual their values in the form that cannot be mistaken. The parser would take any word after
 * them for the value.
 */
std::vector<std::string> with_joined_values(const std::vector<std::string> &arguments, const Commands &commands)
{
    std::vector<std::string> joined;
    for (size_t at = 0; at < arguments.size(); ++at) {
        const std::string &argument = arguments[at];
        if (argument == "--trace") {
            joined.emplace_back("--trace=-");
        } else if (argument == "--virtual" && at + 1 < arguments.size() && is_script(arguments[at + 1], commands)) {
            joined.push_back(argument + '=' + arguments[++at]);
        } else if (argument == "--virtual" || argument == "--virtual=") {
            // The parser takes no empty value; an empty item of a script means the same.
            joined.emplace_back("--virtual=,");
        } else {
            joined.push_back(argument);
        }
    }
    return joined;
}

void define_options(CLI::App *app, Options *options)
{
    app->add_flag("--json", options->json);
    app->add_flag("--verify", options->verify);
    app->add_option("--timeout", options->timeout)->option_text("SECONDS");
    app->add_option("--log", options->log);
    app->add_option("--trace", options->trace);
    app->add_option("--replay", options->replay);
    app->add_option("--virtual", options->virtual_script);
    app->set_version_flag("--version", version_text);
}

CLI::Option *define(CLI::App *app, const std::string &name, bool *value)
{
    return app->add_flag(name, *value);
}

template <typename Value>
CLI::Option *define(CLI::App *app, const std::string &name, Value *value)
{
    return app->add_option(name, *value);
}

void define_parameters(CLI::App *app, const std::vector<Parameter> &parameters)
{
    for (const Parameter &parameter : parameters) {
        CLI::Option *const option =
            std::visit([&](auto *value) { return define(app, parameter.name, value); }, parameter.value);
        option->required(parameter.need == Need::Required);
    }
}

void check_options(const Options &options)
{
    if (options.timeout && !(*options.timeout > 0 && *options.timeout <= longest_timeout))
        throw bad_argument("The --timeout is more than 0 and at most 86400 seconds.");
    if (options.replay && options.virtual_script)
        throw bad_argument("A command runs against --replay or --virtual, not both.");
}

} // namespace

bool wants_json(const std::vector<std::string> &arguments)
{
    return std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
}

Request parse_arguments(const std::vector<std::string> &arguments, const Commands &commands)
{
    Request request;
    CLI::App app;
    define_options(&app, &request.options);
    app.fallthrough();
    app.require_subcommand(0, 1);
    std::map<const CLI::App *, Command *> command_of;
    for (const std::unique_ptr<Command> &command : commands) {
        CLI::App *const subcommand = app.add_subcommand(command->texts().name);
        define_parameters(subcommand, command->parameters());
        command_of[subcommand] = command.get();
    }
    const auto chosen = [&]() -> Command * {
        const std::vector<CLI::App *> parsed = app.get_subcommands();
        return parsed.empty() ? nullptr : command_of.at(parsed.front());
    };

    std::vector<std::string> words = with_joined_values(arguments, commands);
    // The parser takes its words from the end.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::CallForHelp &) {
        request.text = chosen() != nullptr ? command_help(*chosen()) : program_help(commands);
        return request;
    } catch (const CLI::CallForVersion &) {
        request.text = version_text;
        return request;
    } catch (const CLI::ParseError &error) {
        throw bad_argument(error.what());
    }
    request.command = chosen();
    if (request.command == nullptr)
        throw Failure{ExitCode::BadArgument, "A command is missing.", "\"kdmxctl --help\" lists them."};
    check_options(request.options);
    return request;
}

} // namespace kdmxctl
