#pragma once

#include "scriptedplatform.h"
#include "usctl.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

/**
 * A unit that says what a test tells it, behind the scripted platform: writes are recorded, each read takes the next
 * block. When the blocks are used up, every read gets an empty one (which counts as ready).
 */
class Conversation
{
public:
    using Bytes = std::vector<uint8_t>;

    Conversation();

    /// Queues a block of these bytes, filled up with zeros to 64.
    void reply(const Bytes &bytes);

    /// Queues a read, or with `writes` a write, that fails with a system error.
    void fail_read(uint32_t error);
    void fail_write(uint32_t error);

    /// The messages written so far, without the transfer header.
    std::vector<Bytes> written() const;

    size_t reads() const { return m_reads; }
    size_t sleeps() const { return platform.sleeps.size(); }
    bool all_replies_taken() const { return m_replies.empty(); }

    /// What every read gets when no reply is queued.
    ScriptedPlatform::Answer silence;

    ScriptedPlatform platform;
    usdev_t device = {};
    usdev_t *unit = &device;

private:
    ScriptedPlatform::Answer answer(const ScriptedPlatform::Request &request);
    ScriptedPlatform::Answer next(std::deque<ScriptedPlatform::Answer> *queue, const ScriptedPlatform::Answer &last);

    std::deque<ScriptedPlatform::Answer> m_replies;
    std::deque<ScriptedPlatform::Answer> m_write_results;
    size_t m_reads = 0;
};

/// A block of 64 bytes that begins with these.
ScriptedPlatform::Answer block(const Conversation::Bytes &bytes);
