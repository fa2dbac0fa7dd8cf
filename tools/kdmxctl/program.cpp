#include "program.h"

#include "arguments.h"
#include "command.h"
#include "interrupts.h"
#include "replayplatform.h"
#include "stdstreams.h"
#include "terminal.h"
#include "values.h"
#include "virtualplatform.h"
#include "virtualscript.h"

#include <exception>
#include <memory>
#include <optional>
#include <system_error>

namespace kdmxctl {

namespace {

std::string error_text(int error)
{
    return std::generic_category().message(error);
}

/// The whole command line, for the head of a trace.
std::string joined(const std::vector<std::string> &arguments)
{
    std::string line;
    for (const std::string &argument : arguments)
        line += (line.empty() ? "" : " ") + argument;
    return line;
}

/// Where the link's lines go: a person at a terminal is not to be flooded with them.
void direct_link_lines(const Options &options)
{
    int error = 0;
    if (options.log && *options.log != "-")
        error = stdstreams::link_to_file(*options.log);
    else if (options.log || !terminal::has_error_output())
        error = stdstreams::link_to_error();
    if (error != 0 && options.log)
        throw bad_argument("The log " + *options.log + " cannot be written: " + error_text(error) + '.');
}

/// The unit that the options ask for, with its platform.
class ChosenPlatform
{
public:
    explicit ChosenPlatform(const Options &options)
    {
        if (options.replay)
            m_platform = replayplatform::with(read_trace(*options.replay));
        else if (options.virtual_script)
            m_platform = virtualplatform::with(make_unit(*options.virtual_script), virtualplatform::Pauses::Real);
    }

    const usplatform_t *get() const { return m_platform; }

private:
    virtualunit_t *make_unit(const std::string &script)
    {
        m_unit = std::make_unique<virtualunit_t>();
        virtualunit_init(m_unit.get());
        std::string error;
        // "," stands for a script without anything in it.
        if (script != "," && !virtualscript::apply(script, m_unit.get(), &error))
            throw bad_argument("The script of --virtual is not understood: " + error);
        return m_unit.get();
    }

    std::unique_ptr<virtualunit_t> m_unit;
    const usplatform_t *m_platform = &usplatform_default;
};

/// The log and the trace that were asked for must have been written completely.
void check_records(const Options &options, const TraceWriter *trace)
{
    const int error = stdstreams::finish_link();
    if (error != 0 && options.log)
        throw Failure{ExitCode::Failed, "The log " + *options.log + " is incomplete: " + error_text(error) + '.'};
    if (trace != nullptr && trace->has_failed())
        throw Failure{ExitCode::Failed, "The trace " + *options.trace + " is incomplete."};
}

Result run_command(Command *command, const Options &options, const std::vector<std::string> &arguments)
{
    if (const bool can_be_verified = command->check(options); options.verify && !can_be_verified)
        throw bad_argument("--verify reads back what power-save, fader, mute, stereo and route have set. This command "
                           "sets nothing that can be read back.");
    const ChosenPlatform platform(options);
    direct_link_lines(options);
    std::optional<TraceWriter> trace;
    if (options.trace)
        trace.emplace(*options.trace, joined(arguments));
    TraceWriter *const writer = trace ? &*trace : nullptr;
    Result result = command->run_on(platform.get(), options, writer);
    check_records(options, writer);
    return result;
}

ExitCode run_request(const std::vector<std::string> &arguments, const Commands &commands)
{
    const Output output(wants_json(arguments));
    std::string name;
    try {
        const Request request = parse_arguments(arguments, commands);
        if (request.command == nullptr)
            return write_result_text(request.text);
        name = request.command->texts().name;
        return output.report(name, run_command(request.command, request.options, arguments));
    } catch (const Failure &failure) {
        return output.report(name, failure);
    } catch (const std::exception &exception) {
        // No memory for a large image, for example.
        return output.report(name, Failure{ExitCode::Failed, std::string("The command failed: ") + exception.what()});
    }
}

} // namespace

Commands link_commands()
{
    Commands commands;
    add_identity_commands(&commands);
    add_setting_commands(&commands);
    add_channel_commands(&commands);
    add_route_commands(&commands);
    add_raw_commands(&commands);
    add_number_commands(&commands);
    add_firmware_commands(&commands);
    return commands;
}

int run(const std::vector<std::string> &arguments, const Commands &commands)
{
    const int error = stdstreams::begin();
    if (error != 0) {
        // A command is not carried out if its result could not be reported.
        write_message("There is no standard output to write the result to: " + error_text(error) + '.');
        return static_cast<int>(ExitCode::Failed);
    }
    interrupts::begin();
    return static_cast<int>(run_request(arguments, commands));
}

} // namespace kdmxctl
