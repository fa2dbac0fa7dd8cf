#include "output.h"

#include "stdstreams.h"
#include "terminal.h"
#include "values.h"

#include <algorithm>
#include <system_error>

namespace kdmxctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr int json_indent = 2;
constexpr size_t column_gap = 2;

/// Texts of the unit need not be UTF-8: other bytes are shown as replacement characters.
std::string dump(const Json &json)
{
    return json.dump(json_indent, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace

const char *exit_code_name(ExitCode code)
{
    switch (code) {
    case ExitCode::Done:
        return "done";
    case ExitCode::Failed:
        return "failed";
    case ExitCode::BadArgument:
        return "bad-argument";
    case ExitCode::NoUnit:
        return "no-unit";
    case ExitCode::NoPermission:
        return "no-permission";
    case ExitCode::Busy:
        return "busy";
    case ExitCode::Mute:
        return "mute";
    case ExitCode::Interrupted:
        return "interrupted";
    }
    return "failed";
}

std::string table(const std::vector<std::pair<std::string, std::string>> &rows)
{
    size_t width = 0;
    for (const auto &[name, value] : rows)
        width = std::max(width, name.size());
    std::string text;
    for (const auto &[name, value] : rows)
        text.append(name).append(width - name.size() + column_gap, ' ').append(value).append(1, '\n');
    return text;
}

std::string count_text(size_t count, const std::string &noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string unit_text(const std::string &bytes)
{
    return bytes.substr(0, bytes.find('\0'));
}

ExitCode write_result_text(const std::string &text)
{
    const int error = stdstreams::write_result(text);
    if (error == 0)
        return ExitCode::Done;
    write_message("The result cannot be written: " + std::generic_category().message(error) + '.');
    return ExitCode::Failed;
}

void write_message(const std::string &message)
{
    // Ctrl-C leaves its "^C" at the beginning of a line of the terminal: the message takes its place.
    const std::string begin = terminal::has_error_output() ? "\r" : "";
    stdstreams::write_error(begin + "kdmxctl: " + message + '\n');
}

ExitCode Output::report(const std::string &command, const Result &result) const
{
    if (!m_is_json)
        return write_result_text(result.text);
    Json json = {{"ok", true}, {"command", command}};
    json.update(result.json);
    return write_result_text(dump(json));
}

ExitCode Output::report(const std::string &command, const Failure &failure) const
{
    if (!m_is_json) {
        write_message(failure.message);
        if (!failure.hint.empty())
            stdstreams::write_error(failure.hint + '\n');
        return failure.code;
    }
    Json error = {
        {"code", exit_code_name(failure.code)}, {"exit", static_cast<int>(failure.code)}, {"message", failure.message}};
    if (!failure.hint.empty())
        error["hint"] = failure.hint;
    error.update(failure.details);
    Json json = {{"ok", false}};
    if (!command.empty())
        json["command"] = command;
    json["error"] = error;
    write_result_text(dump(json));
    return failure.code;
}

} // namespace kdmxctl
