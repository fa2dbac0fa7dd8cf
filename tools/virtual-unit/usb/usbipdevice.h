#pragma once

#include "usbipmessage.h"
#include "virtualusb.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

/**
 * A virtual USB device on a port of the kernel's virtual host controller: to the kernel and to every program, real
 * hardware. A thread of its own answers the kernel while the device is plugged in.
 *
 * Functions are called on one thread, that of the owner. The device and the model behind it belong to the answering
 * thread meanwhile: reach for them only while holding what hold() gives.
 */
class UsbipDevice
{
public:
    /// What has gone through the isochronous endpoints since the object was made.
    struct Audio
    {
        uint64_t played_packets = 0;
        uint64_t played_bytes = 0;
        uint64_t recorded_packets = 0;
    };

    /**
     * @param device     must live as long as this object
     * @param late_by    how long a late answer takes; longer than the host's time-out
     */
    explicit UsbipDevice(virtualusb::Device *device,
                         std::chrono::milliseconds late_by = std::chrono::milliseconds(1500));
    ~UsbipDevice(); ///< Unplugs.
    UsbipDevice(const UsbipDevice &) = delete;
    UsbipDevice &operator=(const UsbipDevice &) = delete;

    /**
     * Plugs the device in. The kernel takes some tenths of a second to recognise it; this does not wait for that.
     *
     * @param port  of the controller; waits up to two seconds until it is free
     * @return 0, or an error number
     */
    int plug(int port);

    /**
     * Plugs the device into whatever speaks for a host at the other end of a stream socket, instead of the kernel.
     *
     * @param socket  the device's end; belongs to this object from now on
     */
    void plug_into_host(int socket);

    /// Pulls the device out and waits until its thread has ended. Harmless when it is out.
    void unplug();

    /// False from the moment it was pulled out, by unplug(), by its script, or by the kernel.
    bool is_plugged() const { return m_is_plugged; }

    /// While the result lives, the device does not answer, and its model may be read and changed.
    std::unique_lock<std::mutex> hold() { return std::unique_lock(m_mutex); }

    Audio audio();

private:
    using Clock = std::chrono::steady_clock;

    /// A reply that is not due yet.
    struct Pending
    {
        uint32_t number = 0;
        std::vector<uint8_t> reply;
    };

    void serve();
    bool wait_for_message();
    bool take_message();
    bool take_submit(const usbip::Submit &submit);
    bool take_control(const usbip::Submit &submit, const std::vector<uint8_t> &out);
    bool take_isochronous(const usbip::Submit &submit, std::vector<usbip::Packet> packets);
    std::vector<uint8_t> record(std::vector<usbip::Packet> *packets);
    bool take_unlink(uint32_t number, uint32_t unlinked);
    bool send_due();
    bool send(const std::vector<uint8_t> &bytes) const;
    bool receive(uint8_t *bytes, size_t length) const;

    virtualusb::Device *m_device;
    const std::chrono::milliseconds m_late_by;
    std::mutex m_mutex; ///< guards the device and the counts
    Audio m_audio;
    std::atomic<bool> m_is_plugged = false;
    int m_socket = -1;
    std::thread m_thread;

    // The answering thread's own.
    std::multimap<Clock::time_point, Pending> m_pending;
    Clock::time_point m_stream_ends[2] = {}; ///< when the last submitted packet is due, by direction
    uint32_t m_frame_remainder = 0; ///< thousandths of a frame that recording owes
    uint16_t m_sawtooth = 0; ///< what is heard when recording, so that a lost packet shows
};
