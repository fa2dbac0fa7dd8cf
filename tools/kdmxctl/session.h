#pragma once

#include "failure.h"
#include "trace.h"
#include "usctl.h"
#include "uswatch.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace kdmxctl {

/// What the error of a transfer means for a command.
Failure failure_of(uint32_t error);

/**
 * A command's time with the unit: finds it, watches every transfer, and ends the link's work when it must.
 *
 * The link's own results do not tell everything (a message that could not be sent for good counts as sent, and every
 * failure is a 1), so the session judges by what the platform saw. One at a time.
 */
class Session
{
public:
    /**
     * @param platform  the unit is looked for there
     * @param timeout   seconds until the command ends, from now on; none for no limit
     * @param trace     takes every transfer; must live as long as the session; may be null
     */
    Session(const usplatform_t *platform, std::optional<double> timeout, TraceWriter *trace);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Finds the unit; throws when there is none.
    void find();

    /**
     * Reads one block, so that a unit that cannot be reached at all is reported at once and not after many attempts.
     *
     * A unit that merely does not respond at the moment is left to the command. Debug text in the block goes where the
     * link prints its own.
     */
    void probe();

    /// The unit, as the link's functions take it.
    usdev_t **unit() { return &m_unit; }

    /**
     * Judges a step that has ended.
     *
     * @param result  what the link says about it
     *
     * Throws why it failed. A step also failed, whatever the link says, when its message could not be sent.
     */
    void check(int result) const;

    /// Why the link's work ended without success, judged by what was seen; none when nothing seen explains it.
    std::optional<Failure> cause() const;

    /// The same, where the work has failed for certain; `otherwise` when nothing seen explains it.
    Failure failure(const Failure &otherwise) const { return cause().value_or(otherwise); }

    /// Whether the unit has said anything but that it is ready since the last message.
    bool has_answered() const { return m_has_answered; }

    /// Called after each transfer.
    std::function<void(const uswatch_transfer_t &)> on_transfer;

    /// Called often, also in pauses, with the number of Ctrl-C so far: true ends the work. By default the first one
    /// does.
    std::function<bool(int)> must_stop;

    /// Does not count time that was spent waiting for a person.
    void extend_timeout(std::chrono::steady_clock::duration waited);

private:
    enum class Refusal { None, Interrupted, TimedOut, Unreachable, Deviated };

    static void moved(void *context, const uswatch_transfer_t *transfer);
    static uint32_t refuses(void *context);

    void record(const uswatch_transfer_t &transfer);
    void record_block(const uswatch_transfer_t &transfer);
    bool is_whole_block() const { return m_block_length == USMSG_MAX_SIZE; }
    Refusal refusal_now() const;
    Failure timed_out() const;

    uswatch_t m_watch = {this, moved, refuses};
    usdev_list_t m_list = {};
    usdev_t *m_unit = nullptr;
    TraceWriter *m_trace;
    std::optional<double> m_timeout;
    std::chrono::steady_clock::time_point m_deadline;

    Refusal m_refusal = Refusal::None;
    uint32_t m_write_error = 0; ///< of the last message
    uint32_t m_read_error = 0; ///< of the last block
    uint32_t m_unreachable_error = 0; ///< of a transfer after which no other can succeed
    uint32_t m_block_length = USMSG_MAX_SIZE; ///< of the last block
    bool m_is_busy = false; ///< what the last block said
    bool m_has_answered = false;
};

} // namespace kdmxctl
