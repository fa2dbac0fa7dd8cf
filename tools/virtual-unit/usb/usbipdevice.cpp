#include "usbipdevice.h"

#include "usbipport.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds port_patience(2);
constexpr std::chrono::microseconds microframe(125);

// More than any transfer of a sound driver; a length beyond it is no message.
constexpr uint32_t largest_transfer = 1U << 20U;
constexpr uint32_t most_packets = 1024;

constexpr uint32_t frame_size = 4; // two channels of 16 bits

/// The error number by which the controller learns how a control transfer ended.
int32_t status_of(virtualusb::Outcome outcome)
{
    switch (outcome) {
    case virtualusb::Outcome::Done:
    case virtualusb::Outcome::Late:
        return 0;
    case virtualusb::Outcome::Stalled:
        return -EPIPE;
    case virtualusb::Outcome::Failed:
    case virtualusb::Outcome::Gone:
        return -EPROTO;
    }
    return -EPROTO;
}

} // namespace

UsbipDevice::UsbipDevice(virtualusb::Device *device, std::chrono::milliseconds late_by)
    : m_device(device)
    , m_late_by(late_by)
{
}

UsbipDevice::~UsbipDevice()
{
    unplug();
}

int UsbipDevice::plug(int port)
{
    unplug();
    if (!usbip::wait_for_port(port, port_patience))
        return EBUSY;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return errno;
    const int error = usbip::plug_into(port, ends[1]);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
        return error;
    }
    plug_into_host(ends[0]);
    return 0;
}

void UsbipDevice::plug_into_host(int socket)
{
    unplug();
    m_socket = socket;
    m_device->reset();
    m_is_plugged = true;
    m_thread = std::thread(&UsbipDevice::serve, this);
}

void UsbipDevice::unplug()
{
    if (!m_thread.joinable())
        return;
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    close(m_socket);
    m_socket = -1;
}

UsbipDevice::Audio UsbipDevice::audio()
{
    const auto held = hold();
    return m_audio;
}

void UsbipDevice::serve()
{
    while (wait_for_message() && take_message() && send_due()) { }
    // To the kernel, the end of the connection is the unplug.
    shutdown(m_socket, SHUT_RDWR);
    m_pending.clear();
    m_is_plugged = false;
}

/// Waits until there is something to read, and sends replies meanwhile as they fall due. False when the host has gone.
bool UsbipDevice::wait_for_message()
{
    pollfd watched = {m_socket, POLLIN, 0};
    while (send_due()) {
        timespec left = {};
        if (!m_pending.empty()) {
            const auto wait = std::max(m_pending.begin()->first - Clock::now(), Clock::duration::zero());
            const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
            left = {nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
        }
        const int ready = ppoll(&watched, 1, m_pending.empty() ? nullptr : &left, nullptr);
        if (ready > 0) {
            return true; // the end of the connection is found out by reading
        }
        if (ready < 0 && errno != EINTR)
            return false;
    }
    return false;
}

bool UsbipDevice::take_message()
{
    std::array<uint8_t, usbip::header_size> bytes = {};
    if (!receive(bytes.data(), bytes.size()))
        return false;
    const usbip::Header header = usbip::header_from(bytes);
    switch (header.kind) {
    case usbip::Header::Kind::Submit:
        return take_submit(header.submit);
    case usbip::Header::Kind::Unlink:
        return take_unlink(header.number, header.unlinked);
    case usbip::Header::Kind::Unknown:
        break;
    }
    return false;
}

bool UsbipDevice::take_submit(const usbip::Submit &submit)
{
    if (submit.length > largest_transfer || submit.packets > most_packets)
        return false;
    std::vector<uint8_t> out(submit.to_host ? 0 : submit.length);
    std::vector<uint8_t> packets(submit.packets * usbip::packet_size);
    if (!receive(out.data(), out.size()) || !receive(packets.data(), packets.size()))
        return false;
    if (submit.endpoint == 0)
        return take_control(submit, out);
    return take_isochronous(submit, usbip::packets_from(packets));
}

bool UsbipDevice::take_control(const usbip::Submit &submit, const std::vector<uint8_t> &out)
{
    virtualusb::Reply reply;
    {
        const auto held = hold();
        reply = m_device->control(virtualusb::setup_from(submit.setup), out);
    }
    const auto sent = static_cast<uint32_t>(submit.to_host ? reply.data.size() : out.size());
    const bool is_done = status_of(reply.outcome) == 0;
    const std::vector<uint8_t> bytes =
        usbip::control_reply(submit, status_of(reply.outcome), is_done ? sent : 0, reply.data);
    switch (reply.outcome) {
    case virtualusb::Outcome::Gone:
        return false;
    case virtualusb::Outcome::Late:
        m_pending.insert({Clock::now() + m_late_by, {submit.number, bytes}});
        return true;
    default:
        return send(bytes);
    }
}

/// The packets come through one after the other at the endpoint's pace, after those submitted before.
bool UsbipDevice::take_isochronous(const usbip::Submit &submit, std::vector<usbip::Packet> packets)
{
    std::vector<uint8_t> recorded;
    {
        const auto held = hold();
        if (submit.to_host) {
            recorded = record(&packets);
            m_audio.recorded_packets += packets.size();
        } else {
            for (usbip::Packet &packet : packets) {
                packet.actual_length = packet.length;
                m_audio.played_bytes += packet.length;
            }
            m_audio.played_packets += packets.size();
        }
    }
    Clock::time_point &ends = m_stream_ends[submit.to_host ? 1 : 0];
    ends = std::max(ends, Clock::now()) + microframe * submit.interval * packets.size();
    m_pending.insert({ends, {submit.number, usbip::isochronous_reply(submit, packets, recorded)}});
    return true;
}

/// Fills packets with a rising tone; one packet a millisecond, so a rate of 44.1 kHz takes 44 or 45 frames.
std::vector<uint8_t> UsbipDevice::record(std::vector<usbip::Packet> *packets)
{
    std::vector<uint8_t> bytes;
    for (usbip::Packet &packet : *packets) {
        m_frame_remainder += m_device->sample_rate();
        const uint32_t frames = std::min(m_frame_remainder / 1000, packet.length / frame_size);
        m_frame_remainder %= 1000;
        packet.actual_length = frames * frame_size;
        for (uint32_t i = 0; i < frames; ++i) {
            for (int channel = 0; channel < 2; ++channel) {
                bytes.push_back(static_cast<uint8_t>(m_sawtooth));
                bytes.push_back(static_cast<uint8_t>(m_sawtooth >> 8U));
            }
            ++m_sawtooth;
        }
    }
    return bytes;
}

bool UsbipDevice::take_unlink(uint32_t number, uint32_t unlinked)
{
    const auto found = std::find_if(m_pending.begin(), m_pending.end(),
                                    [unlinked](const auto &entry) { return entry.second.number == unlinked; });
    const bool was_open = found != m_pending.end();
    if (was_open)
        m_pending.erase(found);
    return send(usbip::unlink_reply(number, was_open));
}

bool UsbipDevice::send_due()
{
    while (!m_pending.empty() && m_pending.begin()->first <= Clock::now()) {
        if (!send(m_pending.begin()->second.reply))
            return false;
        m_pending.erase(m_pending.begin());
    }
    return true;
}

bool UsbipDevice::send(const std::vector<uint8_t> &bytes) const
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            return false;
        sent += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

/// False when the connection has ended before all of it came.
bool UsbipDevice::receive(uint8_t *bytes, size_t length) const
{
    size_t received = 0;
    while (received < length) {
        const ssize_t count = recv(m_socket, bytes + received, length - received, MSG_WAITALL);
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        received += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}
