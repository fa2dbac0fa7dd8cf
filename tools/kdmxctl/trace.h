#pragma once

#include "uswatch.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/**
 * Traces: every transfer of a command, one line each, to be read by people and by --replay. kdmxctl(1) describes the
 * lines.
 */
namespace kdmxctl {

/// One line of a trace.
struct TraceStep
{
    enum class Kind {
        Find, ///< the unit was looked for; an error means that it was not found
        Open, ///< the unit could not be opened for a transfer
        Write, ///< a message went to the unit
        Read, ///< a block came from it
    };

    Kind kind;
    uint32_t error = 0; ///< 0 is success, else usplatform_error_t or another code of the platform
    std::vector<uint8_t> bytes = {};
    size_t line = 0; ///< where it stands in its file, from 1
};

/// "write 31 01 00 00", "read", …: what a step does, for messages.
std::string describe(const TraceStep &step);

/// A transfer as a step; its bytes are copied.
TraceStep step_of(const uswatch_transfer_t &transfer);

/// The line of a step, without its end. `seconds` since the beginning of the command.
std::string trace_line(const TraceStep &step, double seconds);

/**
 * Reads a line.
 *
 * @param line   without its end
 * @param error  receives what is wrong with it, in words; empty when nothing is
 * @return nothing for an empty line, a comment, and a wrong line
 */
std::optional<TraceStep> parse_trace_line(std::string_view line, std::string *error);

/// Reads a whole file; throws a bad argument that names the line.
std::vector<TraceStep> read_trace(const std::string &path);

/// Writes a trace, line by line as the transfers take place.
class TraceWriter
{
public:
    /// @param path  "-" for standard error; throws a bad argument when it cannot be opened
    TraceWriter(const std::string &path, const std::string &command);

    void write(const TraceStep &step);

    /// Whether a line could not be written.
    bool has_failed() const { return m_file.is_open() && !m_file.good(); }

private:
    void write_line(const std::string &line);

    std::ofstream m_file; ///< not open for standard error
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

} // namespace kdmxctl
