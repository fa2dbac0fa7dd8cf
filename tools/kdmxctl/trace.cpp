#include "trace.h"

#include "elements.h"
#include "failure.h"
#include "files.h"
#include "stdstreams.h"
#include "usmsg.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <sstream>

namespace kdmxctl {

namespace {

constexpr std::array<std::string_view, 4> kind_names = {"find", "open", "write", "read"};

// At least this many equal bytes at the end are counted instead of written out.
constexpr size_t shortest_run = 4;

std::string_view kind_name(TraceStep::Kind kind)
{
    return kind_names.at(static_cast<size_t>(kind));
}

/// The bytes, with the equal ones at the end as "00*61".
std::string packed_hex(const std::vector<uint8_t> &bytes)
{
    const auto differs = [&](uint8_t byte) { return byte != bytes.back(); };
    const auto run_begin = std::find_if(bytes.rbegin(), bytes.rend(), differs).base();
    const auto run = static_cast<size_t>(bytes.end() - run_begin);
    if (run < shortest_run)
        return hex(bytes.data(), bytes.size());
    return hex(bytes.data(), bytes.size() - run + 1) + '*' + std::to_string(run);
}

std::string outcome(const TraceStep &step)
{
    if (step.error == 0)
        return "ok";
    // A search has no error code.
    return step.kind == TraceStep::Kind::Find ? "none" : "error " + std::to_string(step.error);
}

/// Takes "a1" or "00*61" apart.
bool append_bytes(const std::string &word, std::vector<uint8_t> *bytes)
{
    const char *const end = word.data() + word.size();
    uint8_t byte = 0;
    const auto [after_byte, byte_error] = std::from_chars(word.data(), end, byte, 16);
    if (byte_error != std::errc() || after_byte != word.data() + 2)
        return false;
    size_t count = 1;
    if (after_byte != end) {
        const auto [after_count, count_error] = std::from_chars(after_byte + 1, end, count);
        if (*after_byte != '*' || count_error != std::errc() || after_count != end)
            return false;
    }
    if (count > USMSG_MAX_SIZE - bytes->size())
        return false;
    bytes->insert(bytes->end(), count, byte);
    return true;
}

/// Reads "ok", "none" or "error 31" after the kind of a step.
bool read_outcome(std::istringstream *words, TraceStep *step)
{
    std::string word;
    *words >> word;
    const bool is_find = step->kind == TraceStep::Kind::Find;
    if (word == "ok")
        return step->kind != TraceStep::Kind::Open;
    if (word == "none") {
        step->error = USPLATFORM_ERROR_NOT_FOUND;
        return is_find;
    }
    return word == "error" && !is_find && *words >> step->error && step->error != 0;
}

Failure wrong_line(const std::string &path, size_t number, const std::string &error)
{
    return bad_argument("Trace " + path + ", line " + std::to_string(number) + ": " + error + '.');
}

std::string read_step(std::istringstream *words, TraceStep *step)
{
    double seconds = 0;
    std::string kind;
    if (!(*words >> seconds >> kind))
        return "a line is SECONDS TRANSFER OUTCOME BYTES";
    const auto *const found = std::find(kind_names.begin(), kind_names.end(), kind);
    if (found == kind_names.end())
        return "\"" + printable(kind) + "\" is no transfer: it is find, open, write or read";
    step->kind = static_cast<TraceStep::Kind>(found - kind_names.begin());
    if (!read_outcome(words, step))
        return "\"" + kind + "\" has no such outcome";
    std::string word;
    while (*words >> word) {
        if (!append_bytes(word, &step->bytes))
            return "\"" + printable(word) + "\" is no byte, or one too many";
    }
    const bool may_have_bytes =
        step->kind == TraceStep::Kind::Write || (step->kind == TraceStep::Kind::Read && step->error == 0);
    return step->bytes.empty() || may_have_bytes ? "" : "bytes have no place here";
}

} // namespace

std::string describe(const TraceStep &step)
{
    std::string text(kind_name(step.kind));
    if (!step.bytes.empty())
        text += ' ' + hex(step.bytes.data(), step.bytes.size());
    return text;
}

TraceStep step_of(const uswatch_transfer_t &transfer)
{
    TraceStep step = {TraceStep::Kind::Open, transfer.error};
    if (transfer.kind != uswatch_transfer_t::OPEN)
        step.kind = transfer.kind == uswatch_transfer_t::WRITE ? TraceStep::Kind::Write : TraceStep::Kind::Read;
    if (transfer.length > 0)
        step.bytes.assign(transfer.data, transfer.data + transfer.length);
    return step;
}

std::string trace_line(const TraceStep &step, double seconds)
{
    char head[48];
    std::snprintf(head, sizeof(head), "%8.3f %-5s %s", seconds, std::string(kind_name(step.kind)).c_str(),
                  outcome(step).c_str());
    std::string line = head;
    if (!step.bytes.empty())
        line += ' ' + packed_hex(step.bytes) + " ; " + describe(decode(step.bytes.data(), step.bytes.size()));
    return line;
}

std::optional<TraceStep> parse_trace_line(std::string_view line, std::string *error)
{
    error->clear();
    std::istringstream words(std::string(line.substr(0, line.find_first_of(";#"))));
    if ((words >> std::ws).eof())
        return std::nullopt;
    TraceStep step = {};
    *error = read_step(&words, &step);
    return error->empty() ? std::optional(step) : std::nullopt;
}

std::vector<TraceStep> read_trace(const std::string &path)
{
    std::ifstream file(path_of(path));
    std::vector<TraceStep> steps;
    std::string line;
    std::string error;
    for (size_t number = 1; std::getline(file, line); ++number) {
        std::optional<TraceStep> step = parse_trace_line(line, &error);
        if (!error.empty())
            throw wrong_line(path, number, error);
        if (!step)
            continue;
        step->line = number;
        steps.push_back(*step);
    }
    // A folder opens and cannot be read; a file ends properly.
    if (!file.eof() || file.bad())
        throw bad_argument("The trace " + path + " cannot be read.");
    return steps;
}

TraceWriter::TraceWriter(const std::string &path, const std::string &command)
{
    if (path != "-") {
        m_file.open(path_of(path));
        if (!m_file.is_open())
            throw bad_argument("The trace " + path + " cannot be written.");
    }
    write_line("# kdmxctl " + printable(command));
}

void TraceWriter::write(const TraceStep &step)
{
    const std::chrono::duration<double> since_begin = std::chrono::steady_clock::now() - m_begin;
    write_line(trace_line(step, since_begin.count()));
}

void TraceWriter::write_line(const std::string &line)
{
    if (!m_file.is_open()) {
        stdstreams::write_error(line + '\n');
        return;
    }
    // Each line at once: the trace of a program that hangs or is killed is the one that matters.
    m_file << line << std::endl;
}

} // namespace kdmxctl
