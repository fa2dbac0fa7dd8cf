#pragma once

#include "input.h"
#include "usctl.h"
#include "usplatform.h"

#include <cstdint>

/// Whether these are whole elements up to an end element, or up to where a full message has no room for one.
bool is_message(const uint8_t *bytes, uint32_t length);

/**
 * A unit that answers what the fuzzer makes up, behind the platform seam. One at a time.
 *
 * The first bytes of the input choose what goes wrong with writes and opens, and what follows when the input is used
 * up. Then each read takes one answer from it: a byte that says of which kind, and what that kind needs. All requests
 * of the link are checked; resources, transfers and sleeps are counted.
 */
class ArbitraryUnit
{
public:
    explicit ArbitraryUnit(Input *input);
    virtual ~ArbitraryUnit();
    ArbitraryUnit(const ArbitraryUnit &) = delete;
    ArbitraryUnit &operator=(const ArbitraryUnit &) = delete;

    /// The variable that the commands take.
    usdev_t **unit() { return &m_unit; }

    void forget_device() { m_unit = nullptr; }
    void deny_memory() { m_has_memory = false; }

    /// Lets every path be opened as long as the unit is there.
    void open_always() { m_open_faults = 0; }

    uint32_t reads() const { return m_reads; }
    uint32_t writes() const { return m_writes; }
    uint32_t sleeps() const { return m_sleeps; }
    uint64_t slept_ms() const { return m_slept_ms; }
    int resources() const { return m_resources; }

protected:
    /// A message that reached the unit, or that counts as sent although it did not.
    virtual void sent(const uint8_t *, uint32_t) { }

    /// A whole block that the host gets.
    virtual void answered(const uint8_t *) { }

    /// Where a unit that tells the truth expects the next byte of an image.
    virtual uint32_t true_offset() const { return 0; }

private:
    friend struct ArbitraryPlatform;

    struct Answer
    {
        uint8_t bytes[USMSG_MAX_SIZE] = {};
        uint32_t returned = USMSG_MAX_SIZE; ///< what the driver says; more than 64 is a lie
        uint32_t error = 0;
    };

    Answer next_answer();
    Answer made_up_answer();
    Answer last_words() const;
    void append_status(Answer *answer, uint32_t room, uint32_t offset) const;

    intptr_t open();
    int control(const uint8_t *in, uint32_t in_length, uint8_t *out, uint32_t out_length, uint32_t *returned);
    int write(const uint8_t *in, uint32_t in_length, uint32_t *returned);
    int read(uint8_t *out, uint32_t *returned);
    uint32_t write_fault() const;

    Input *m_input;
    usdev_t m_device = {};
    usdev_t *m_unit = &m_device;
    bool m_has_memory = true;

    uint8_t m_write_faults; ///< bit n: the writes n, n + 8, ... fail
    uint8_t m_write_error; ///< how
    uint8_t m_open_faults; ///< bit n: the opens n, n + 8, ... fail
    uint8_t m_ending; ///< what follows when the input is used up

    Answer m_last;
    uint32_t m_repeats = 0;
    uint32_t m_error = 0;
    uint32_t m_transfers = 0;
    uint32_t m_opens = 0;

    uint32_t m_reads = 0;
    uint32_t m_writes = 0;
    uint32_t m_sleeps = 0;
    uint64_t m_slept_ms = 0;
    int m_resources = 0;
};
