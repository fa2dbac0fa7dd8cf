#pragma once

#include "failure.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace kdmxctl {

/// What a command has found out or done, for people and for programs.
struct Result
{
    std::string text; ///< whole lines for people
    nlohmann::ordered_json json = nlohmann::ordered_json::object(); ///< an object: members of the object for programs
};

/// Lines of a name and a value each, the values below one another.
std::string table(const std::vector<std::pair<std::string, std::string>> &rows);

/// "1 byte", "2 bytes".
std::string count_text(size_t count, const std::string &noun);

/// Text that the unit sent, up to its first zero byte; as JSON takes it.
std::string unit_text(const std::string &bytes);

/// Where a command's outcome goes: one JSON object or lines for people.
class Output
{
public:
    explicit Output(bool is_json)
        : m_is_json(is_json)
    {
    }

    /// Writes the result. Returns the code that the program ends with: a result that cannot be written is a failure.
    ExitCode report(const std::string &command, const Result &result) const;

    /// Writes why there is no result, to standard error for people.
    ExitCode report(const std::string &command, const Failure &failure) const;

private:
    bool m_is_json;
};

/// Writes a text to standard output as the result of the program (help, version).
ExitCode write_result_text(const std::string &text);

/// Writes a line for people to standard error, after the program's name.
void write_message(const std::string &message);

} // namespace kdmxctl
