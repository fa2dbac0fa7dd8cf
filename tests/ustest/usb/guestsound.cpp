#include "guestsound.h"

#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/soundcard.h>
#include <unistd.h>

namespace {

/// A frame of the format below.
struct Frame
{
    uint16_t left;
    uint16_t right;
};

constexpr size_t frames_at_once = 512;

bool set(int file, unsigned long what, int value)
{
    int taken = value;
    return ioctl(file, what, &taken) == 0 && taken == value;
}

/// Two channels of 16 bits: what the device itself has, so that nothing is converted on the way. The rate comes first:
/// each call is applied at once, and with both directions open the first rate stays that of their common clock.
bool set_format(int file, int hz)
{
    return set(file, SNDCTL_DSP_SPEED, hz) && set(file, SNDCTL_DSP_CHANNELS, 2)
        && set(file, SNDCTL_DSP_SETFMT, AFMT_S16_LE);
}

} // namespace

GuestSound::GuestSound(int card, int hz)
{
    const std::string path = "/dev/dsp" + (card > 0 ? std::to_string(card) : std::string());
    m_file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    m_is_open = m_file >= 0 && set_format(m_file, hz);
    if (!m_is_open)
        return;
    m_player = std::thread(&GuestSound::play, this);
    m_recorder = std::thread(&GuestSound::record, this);
}

GuestSound::~GuestSound()
{
    m_is_over = true;
    if (m_is_open) {
        m_player.join();
        m_recorder.join();
    }
    if (m_file >= 0) {
        ioctl(m_file, SNDCTL_DSP_RESET, nullptr);
        close(m_file);
    }
}

void GuestSound::play()
{
    const Frame silence[frames_at_once] = {};
    while (!m_is_over) {
        const ssize_t written = write(m_file, silence, sizeof silence);
        if (written < 0) {
            ++m_failures;
            return;
        }
        m_played_frames += static_cast<size_t>(written) / sizeof(Frame);
    }
}

void GuestSound::record()
{
    Frame frames[frames_at_once];
    uint16_t next = 0;
    while (!m_is_over) {
        const ssize_t count = read(m_file, frames, sizeof frames);
        if (count < 0 || count % static_cast<ssize_t>(sizeof(Frame)) != 0) {
            ++m_failures;
            return;
        }
        for (size_t i = 0; i < static_cast<size_t>(count) / sizeof(Frame); ++i) {
            const bool is_first = m_recorded_frames++ == 0;
            m_breaks += !is_first && (frames[i].left != next || frames[i].right != next) ? 1 : 0;
            next = static_cast<uint16_t>(frames[i].left + 1);
        }
    }
}
