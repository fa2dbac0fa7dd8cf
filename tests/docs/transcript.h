#pragma once

#include "uswatch.h"

#include <cstdint>
#include <string>
#include <vector>

/**
 * What went over the link, in the form in which documents show it: one element a line, its bytes, then its name and
 * value.
 *
 *     host  18 01              HZ
 *           00 00              END
 *     unit  A1 02 01           READY 1
 *
 * Lines with bytes alone carry on the element before. Bytes after the end of a message are not shown.
 */
class Transcript
{
public:
    /// Watches what goes over the link from now on.
    Transcript();
    ~Transcript();
    Transcript(const Transcript &) = delete;
    Transcript &operator=(const Transcript &) = delete;

    /// All transfers.
    std::vector<std::string> exchange() const { return m_lines; }

    /// The messages of the host alone, without a direction before them.
    std::vector<std::string> messages() const { return m_messages; }

private:
    static void take(void *context, const uswatch_transfer_t *transfer);

    uswatch_t m_watch;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_messages;
};

/// Bytes in hex, sixteen a line.
std::vector<std::string> hex_lines(const uint8_t *bytes, size_t count);

/// The name of an identifier as usmsg.h has it, without its beginning "USMSG_ID_"; empty for an unknown one.
std::string identifier_name(uint32_t id);
