#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

/**
 * A program that plays and records at the same time through a sound card, on a thread of its own, as long as it lives.
 *
 * What the virtual device records rises by one with each frame, so that a frame that was lost or doubled shows.
 */
class GuestSound
{
public:
    GuestSound(int card, int hz);
    ~GuestSound();
    GuestSound(const GuestSound &) = delete;
    GuestSound &operator=(const GuestSound &) = delete;

    /// Whether the card was opened with the format asked for.
    bool is_open() const { return m_is_open; }

    uint64_t played_frames() const { return m_played_frames; }
    uint64_t recorded_frames() const { return m_recorded_frames; }
    /// How often a recorded frame was not the one after the frame before.
    uint64_t breaks() const { return m_breaks; }
    /// Reads and writes that failed.
    uint64_t failures() const { return m_failures; }

private:
    void play();
    void record();

    int m_file = -1;
    bool m_is_open = false;
    std::atomic<bool> m_is_over = false;
    std::atomic<uint64_t> m_played_frames = 0;
    std::atomic<uint64_t> m_recorded_frames = 0;
    std::atomic<uint64_t> m_breaks = 0;
    std::atomic<uint64_t> m_failures = 0;
    std::thread m_player;
    std::thread m_recorder;
};
