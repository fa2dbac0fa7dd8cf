#include "monitorkeys.h"

namespace kdmxctl {

namespace {

constexpr char escape = 0x1B;
constexpr char control_z = 0x1A;

// No key sends a longer one.
constexpr size_t longest_sequence = 16;

MonitorKey plain_key(char byte)
{
    switch (byte) {
    case '+':
    case '=':
        return MonitorKey::VolumeUp;
    case '-':
        return MonitorKey::VolumeDown;
    case '1':
        return MonitorKey::Input1;
    case '2':
        return MonitorKey::Input2;
    case 'm':
    case 'M':
        return MonitorKey::Stereo;
    case 'p':
    case 'P':
        return MonitorKey::PowerSave;
    case 'r':
    case 'R':
        return MonitorKey::Refresh;
    case control_z:
        return MonitorKey::Suspend;
    case 'q':
    case 'Q':
        return MonitorKey::Quit;
    default:
        return MonitorKey::None;
    }
}

/// The key of a whole sequence: arrows, in both forms that terminals send.
MonitorKey special_key(std::string_view sequence)
{
    if (sequence.size() != 3)
        return MonitorKey::None;
    switch (sequence.back()) {
    case 'A':
        return MonitorKey::VolumeUp;
    case 'B':
        return MonitorKey::VolumeDown;
    case 'C':
        return MonitorKey::VolumeUpFine;
    case 'D':
        return MonitorKey::VolumeDownFine;
    default:
        return MonitorKey::None;
    }
}

/// Whether the sequence ends with its last byte: "ESC O x", or "ESC [", parameters, and a letter or "~".
bool is_whole(std::string_view sequence)
{
    if (sequence.size() < 3)
        return false;
    return sequence[1] == 'O' || (sequence.back() >= '@' && sequence.back() <= '~');
}

} // namespace

std::vector<MonitorKey> MonitorKeyReader::take(std::string_view bytes)
{
    std::vector<MonitorKey> keys;
    for (const char byte : bytes) {
        if (const MonitorKey key = take(byte); key != MonitorKey::None)
            keys.push_back(key);
    }
    return keys;
}

MonitorKey MonitorKeyReader::take(char byte)
{
    if (byte == escape) {
        m_sequence = byte;
        return MonitorKey::None;
    }
    if (m_sequence.empty())
        return plain_key(byte);
    // The escape key alone looks like the beginning of a sequence: what follows was typed by itself.
    if (m_sequence.size() == 1 && byte != '[' && byte != 'O') {
        m_sequence.clear();
        return plain_key(byte);
    }
    m_sequence += byte;
    if (!is_whole(m_sequence) && m_sequence.size() < longest_sequence)
        return MonitorKey::None;
    const MonitorKey key = special_key(m_sequence);
    m_sequence.clear();
    return key;
}

} // namespace kdmxctl
