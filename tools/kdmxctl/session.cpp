#include "session.h"

#include "elements.h"
#include "hints.h"
#include "interrupts.h"
#include "replayplatform.h"
#include "stdstreams.h"

#include <algorithm>
#include <cstdio>

namespace kdmxctl {

namespace {

// Numbers of Windows that no other system gives.
constexpr uint32_t path_not_found = 3;
constexpr uint32_t sharing_violation = 32;
constexpr uint32_t resource_in_use = 170;
constexpr uint32_t no_such_device = 433;

bool is_missing(uint32_t error)
{
    return error == USPLATFORM_ERROR_NOT_FOUND || error == path_not_found || error == no_such_device;
}

/// Whether no further transfer can succeed after this error.
bool is_unreachable(uint32_t error)
{
    return is_missing(error) || error == USPLATFORM_ERROR_NOT_CONNECTED || error == USPLATFORM_ERROR_ACCESS_DENIED;
}

Failure mute()
{
    return {ExitCode::Mute, "The unit does not answer."};
}

Failure failure_of(const replayplatform::Deviation &deviation)
{
    const std::string place =
        deviation.line != 0 ? "in line " + std::to_string(deviation.line) : std::string("behind its last line");
    return {ExitCode::Failed,
            "The command and the trace differ " + place + ".\n  trace:   " + deviation.expected
                + "\n  command: " + deviation.actual,
            "",
            {{"line", deviation.line}, {"expected", deviation.expected}, {"actual", deviation.actual}}};
}

/// Debug text on its way to where the link prints it.
void print_debug_texts(const Message &message)
{
    for (const Element &element : message.elements) {
        if (element.id == USMSG_ID_DEBUG && element.has_bytes())
            std::printf("\ndbg:%s\n", element.bytes.c_str());
    }
}

std::string seconds_text(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g s", seconds);
    return text;
}

} // namespace

Failure failure_of(uint32_t error)
{
    if (is_missing(error))
        return {ExitCode::NoUnit, "There is no unit any more.", hints::no_unit()};
    if (error == USPLATFORM_ERROR_NOT_CONNECTED)
        return {ExitCode::NoUnit, "The unit went away during the command.", hints::no_unit()};
    if (error == USPLATFORM_ERROR_ACCESS_DENIED)
        return {ExitCode::NoPermission, "You may not use the unit.", hints::no_permission()};
    if (error == sharing_violation || error == resource_in_use)
        return {ExitCode::Busy, "Another program is using the unit."};
    if (error == USPLATFORM_ERROR_TRANSIENT)
        return {ExitCode::Mute, "The unit does not respond."};
    return {ExitCode::Failed, "The transfer to or from the unit failed (error " + std::to_string(error) + ")."};
}

Session::Session(const usplatform_t *platform, std::optional<double> timeout, TraceWriter *trace)
    : must_stop([](int interrupts) { return interrupts > 0; })
    , m_trace(trace)
    , m_timeout(timeout)
    , m_deadline(std::chrono::steady_clock::now())
{
    if (timeout)
        extend_timeout(
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(*timeout)));
    usplatform_use(platform);
    uswatch_add(&m_watch);
}

Session::~Session()
{
    uswatch_remove(&m_watch);
    usplatform_use(nullptr);
}

void Session::extend_timeout(std::chrono::steady_clock::duration waited)
{
    m_deadline += waited;
}

void Session::find()
{
    usdev_list_init(&m_list);
    const bool is_found = usdev_list_next(&m_list, &m_unit) == 0;
    if (const replayplatform::Deviation *const deviation = replayplatform::deviation())
        throw failure_of(*deviation);
    if (m_trace != nullptr)
        m_trace->write({TraceStep::Kind::Find, is_found ? 0U : USPLATFORM_ERROR_NOT_FOUND});
    if (!is_found)
        throw Failure{ExitCode::NoUnit, "No KD-MX unit found.", hints::no_unit()};
}

void Session::probe()
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t block = {bytes, sizeof(bytes), 0};
    if (usctl_recv(&m_unit, &block) == 0) {
        print_debug_texts(decode(bytes, sizeof(bytes)));
        return;
    }
    const bool may_recover = m_read_error == USPLATFORM_ERROR_TRANSIENT || m_read_error == 0;
    if (!may_recover || m_refusal != Refusal::None)
        throw failure(mute());
}

void Session::check(int result) const
{
    if (result != 0 || m_write_error != 0)
        throw failure(mute());
}

std::optional<Failure> Session::cause() const
{
    if (const replayplatform::Deviation *const deviation = replayplatform::deviation())
        return failure_of(*deviation);
    if (m_refusal == Refusal::Interrupted)
        return Failure{ExitCode::Interrupted, "Interrupted."};
    if (m_unreachable_error != 0)
        return failure_of(m_unreachable_error);
    if (m_write_error != 0)
        return failure_of(m_write_error);
    const bool may_answer_yet = m_read_error == USPLATFORM_ERROR_TRANSIENT || (m_read_error == 0 && is_whole_block());
    if (m_refusal == Refusal::TimedOut && may_answer_yet)
        return timed_out();
    if (m_read_error != 0)
        return failure_of(m_read_error);
    if (!is_whole_block())
        return Failure{ExitCode::Failed,
                       "The unit sent a block of " + std::to_string(m_block_length) + " bytes instead of 64."};
    if (m_is_busy)
        return Failure{ExitCode::Busy, "The unit is busy and did not get ready."};
    return std::nullopt;
}

Failure Session::timed_out() const
{
    const std::string limit = " within " + seconds_text(*m_timeout) + ".";
    if (m_is_busy)
        return {ExitCode::Busy, "The unit is busy and did not get ready" + limit};
    if (m_has_answered)
        return {ExitCode::Failed, "The command did not come to its end" + limit};
    return {ExitCode::Mute, "The unit did not answer" + limit};
}

void Session::moved(void *context, const uswatch_transfer_t *transfer)
{
    static_cast<Session *>(context)->record(*transfer);
}

void Session::record(const uswatch_transfer_t &transfer)
{
    // A transfer that did not take place tells nothing about the unit.
    if (m_refusal != Refusal::None || replayplatform::deviation() != nullptr)
        return;
    if (m_trace != nullptr)
        m_trace->write(step_of(transfer));
    if (is_unreachable(transfer.error))
        m_unreachable_error = transfer.error;
    if (transfer.kind == uswatch_transfer_t::WRITE) {
        m_write_error = transfer.error;
        m_has_answered = false;
    } else {
        m_read_error = transfer.error;
    }
    if (transfer.kind == uswatch_transfer_t::READ && transfer.error == 0)
        record_block(transfer);
    if (on_transfer)
        on_transfer(transfer);
}

void Session::record_block(const uswatch_transfer_t &transfer)
{
    m_block_length = transfer.length;
    bool says_busy = false;
    bool says_ready = false;
    for (const Element &element : decode(transfer.data, transfer.length).elements) {
        if (element.id != USMSG_ID_READY)
            m_has_answered = true;
        else
            (element.number != 0 ? says_ready : says_busy) = true;
    }
    m_is_busy = says_busy && !says_ready;
}

Session::Refusal Session::refusal_now() const
{
    if (replayplatform::deviation() != nullptr)
        return Refusal::Deviated;
    if (m_unreachable_error != 0)
        return Refusal::Unreachable;
    if (interrupts::must_end() || must_stop(interrupts::count()))
        return Refusal::Interrupted;
    if (m_timeout && std::chrono::steady_clock::now() >= m_deadline)
        return Refusal::TimedOut;
    return Refusal::None;
}

uint32_t Session::refuses(void *context)
{
    auto *const session = static_cast<Session *>(context);
    if (session->m_refusal == Refusal::None) {
        session->m_refusal = session->refusal_now();
        if (session->m_refusal == Refusal::None)
            return 0;
        // Some loops of the link run on to their end, in no time, with a useless line for each refused transfer.
        stdstreams::silence_link();
    }
    return USPLATFORM_ERROR_CANCELLED;
}

} // namespace kdmxctl
