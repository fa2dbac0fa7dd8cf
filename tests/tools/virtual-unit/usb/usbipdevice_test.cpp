#include "usbipdevice.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<uint8_t>;
using Milliseconds = std::chrono::milliseconds;

constexpr uint32_t vendor_read[2] = {0xC01E0000, 0x00004000};

void append_u32(Bytes *bytes, uint32_t value)
{
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        bytes->push_back(static_cast<uint8_t>(value >> shift));
}

uint32_t u32_at(const Bytes &bytes, size_t at)
{
    return uint32_t{bytes[at]} << 24U | uint32_t{bytes[at + 1]} << 16U | uint32_t{bytes[at + 2]} << 8U | bytes[at + 3];
}

/// The fields of a reply's header that say how it went.
struct Answer
{
    uint32_t command = 0;
    uint32_t number = 0;
    int32_t status = 0;
    uint32_t length = 0;
};

} // namespace

/// A device whose host is the test, at the other end of a socket.
class UsbipDeviceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        virtualunit_init(&unit);
        device.emplace(virtualusb::unit_description(unit, "1"), &unit);
        usb.emplace(&*device, Milliseconds(50));
        plug();
    }

    void TearDown() override
    {
        usb.reset();
        close(host);
    }

    void plug()
    {
        if (host >= 0)
            close(host);
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        host = ends[0];
        usb->plug_into_host(ends[1]);
    }

    /// Sends a transfer to the device: the words of its header and what follows it.
    void submit(uint32_t number, bool to_host, uint32_t endpoint, uint32_t length, uint32_t packets,
                const uint32_t (&setup)[2], const Bytes &rest = {})
    {
        Bytes bytes;
        for (const uint32_t word :
             {1U, number, 1U, to_host ? 1U : 0U, endpoint, 0U, length, 0U, packets, 8U, setup[0], setup[1]})
            append_u32(&bytes, word);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        send_bytes(bytes);
    }

    void unlink(uint32_t number, uint32_t unlinked)
    {
        Bytes bytes;
        for (const uint32_t word : {2U, number, 1U, 0U, 0U, unlinked})
            append_u32(&bytes, word);
        bytes.resize(usbip::header_size);
        send_bytes(bytes);
    }

    void send_bytes(const Bytes &bytes) const
    {
        ASSERT_EQ(send(host, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }

    /// What the device sends next; shorter at the end of the connection.
    Bytes receive(size_t size) const
    {
        Bytes bytes(size);
        const ssize_t count = size > 0 ? recv(host, bytes.data(), size, MSG_WAITALL) : 0;
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }

    Answer answer() const
    {
        const Bytes bytes = receive(usbip::header_size);
        if (bytes.size() < usbip::header_size) {
            ADD_FAILURE() << "the connection has ended";
            return {};
        }
        return {u32_at(bytes, 0), u32_at(bytes, 4), static_cast<int32_t>(u32_at(bytes, 20)), u32_at(bytes, 24)};
    }

    bool has_ended() const { return receive(1).empty(); }

    void strike(virtualunit_fault_kind_t kind)
    {
        const auto held = usb->hold();
        virtualunit_add_fault(&unit, {kind, unit.transfers, 1, 0});
    }

    virtualunit_t unit;
    std::optional<virtualusb::Device> device;
    std::optional<UsbipDevice> usb;
    int host = -1;
};

TEST_F(UsbipDeviceTest, ReadsABlock)
{
    submit(5, true, 0, 64, 0, vendor_read);
    const Answer reply = answer();
    EXPECT_EQ(reply.command, 3U);
    EXPECT_EQ(reply.number, 5U);
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(reply.length, 64U);
    EXPECT_EQ(receive(64)[0], 0xA1);
}

TEST_F(UsbipDeviceTest, WritesAMessage)
{
    submit(6, false, 0, 5, 0, {0x401D0000, 0x00000500}, {0x13, 2, 99, 0, 0});
    const Answer reply = answer();
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(reply.length, 5U);
    const auto held = usb->hold();
    EXPECT_EQ(unit.setting_u8, 99);
}

TEST_F(UsbipDeviceTest, StallAndBreakAreErrors)
{
    strike(VIRTUALUNIT_FAULT_STALL);
    submit(1, true, 0, 64, 0, vendor_read);
    const Answer stalled = answer();
    EXPECT_EQ(stalled.status, -EPIPE);
    EXPECT_EQ(stalled.length, 0U);
    strike(VIRTUALUNIT_FAULT_HARD);
    submit(2, true, 0, 64, 0, vendor_read);
    EXPECT_EQ(answer().status, -EPROTO);
}

TEST_F(UsbipDeviceTest, LateAnswerComesLaterThanTheNext)
{
    // Longer than it takes to ask for the second, whatever else the machine does.
    usb.emplace(&*device, Milliseconds(2000));
    plug();
    strike(VIRTUALUNIT_FAULT_LATE);
    submit(1, false, 0, 2, 0, {0x401D0000, 0x00000200}, {0, 0});
    submit(2, false, 0, 2, 0, {0x401D0000, 0x00000200}, {0, 0});
    EXPECT_EQ(answer().number, 2U);
    EXPECT_EQ(answer().number, 1U);
}

TEST_F(UsbipDeviceTest, LateAnswerIsCalledOff)
{
    usb.emplace(&*device, std::chrono::hours(1));
    plug();
    strike(VIRTUALUNIT_FAULT_LATE);
    submit(1, true, 0, 64, 0, vendor_read);
    unlink(2, 1);
    const Answer off = answer();
    EXPECT_EQ(off.command, 4U);
    EXPECT_EQ(off.number, 2U);
    EXPECT_EQ(off.status, -ECONNRESET);
    unlink(3, 1); // there is nothing left of it
    EXPECT_EQ(answer().status, 0);
}

TEST_F(UsbipDeviceTest, EndsTheConnectionWhenItIsPulledOut)
{
    strike(VIRTUALUNIT_FAULT_UNPLUG);
    submit(1, true, 0, 64, 0, vendor_read);
    EXPECT_TRUE(has_ended());
    usb->unplug();
    EXPECT_FALSE(usb->is_plugged());
    plug();
    EXPECT_TRUE(usb->is_plugged());
    submit(2, true, 0, 64, 0, vendor_read);
    EXPECT_EQ(answer().number, 2U);
}

TEST_F(UsbipDeviceTest, UnplugDoesNotWaitForLateAnswers)
{
    usb.emplace(&*device, std::chrono::hours(1));
    plug();
    strike(VIRTUALUNIT_FAULT_LATE);
    submit(1, true, 0, 64, 0, vendor_read);
    usb->unplug();
    EXPECT_TRUE(has_ended());
}

TEST_F(UsbipDeviceTest, EndsWithItsHost)
{
    shutdown(host, SHUT_RDWR);
    EXPECT_TRUE(has_ended());
    while (usb->is_plugged())
        usleep(1000);
}

TEST_F(UsbipDeviceTest, GivesUpOnWhatIsNoMessage)
{
    send_bytes(Bytes(usbip::header_size, 0x55));
    EXPECT_TRUE(has_ended());
    plug();
    submit(1, false, 1, 0xFFFFFFFF, 1, {0, 0}); // longer than any transfer
    EXPECT_TRUE(has_ended());
    plug();
    submit(1, false, 1, 0, 0x7FFFFFFF, {0, 0}); // more packets than any transfer
    EXPECT_TRUE(has_ended());
}

TEST_F(UsbipDeviceTest, PlaysPacketsAtTheirPace)
{
    Bytes rest(20);
    for (const uint32_t word : {0U, 12U, 0U, 0U, 12U, 8U, 0U, 0U})
        append_u32(&rest, word);
    const auto start = std::chrono::steady_clock::now();
    for (uint32_t number = 1; number <= 10; ++number)
        submit(number, false, 1, 20, 2, {0, 0}, rest);
    for (uint32_t number = 1; number <= 10; ++number) {
        const Answer reply = answer();
        EXPECT_EQ(reply.number, number);
        EXPECT_EQ(reply.status, 0);
        EXPECT_EQ(reply.length, 20U);
        const Bytes packets = receive(2 * usbip::packet_size);
        EXPECT_EQ(u32_at(packets, 8), 12U);
        EXPECT_EQ(u32_at(packets, 24), 8U);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, Milliseconds(20)); // one a millisecond
    EXPECT_EQ(usb->audio().played_packets, 20U);
    EXPECT_EQ(usb->audio().played_bytes, 200U);
}

TEST_F(UsbipDeviceTest, RecordsATone)
{
    {
        const auto held = usb->hold();
        unit.hz = 44100;
    }
    Bytes packets;
    for (uint32_t i = 0; i < 10; ++i) {
        for (const uint32_t word : {i * 200, 200U, 0U, 0U})
            append_u32(&packets, word);
    }
    submit(1, true, 1, 2000, 10, {0, 0}, packets);
    const Answer reply = answer();
    ASSERT_EQ(reply.length, 441U * 4); // ten milliseconds
    const Bytes frames = receive(reply.length);
    for (size_t frame = 0; frame < 441; ++frame) {
        EXPECT_EQ(frames[frame * 4] | frames[frame * 4 + 1] << 8, static_cast<int>(frame));
        EXPECT_EQ(frames[frame * 4 + 2] | frames[frame * 4 + 3] << 8, static_cast<int>(frame));
    }
    EXPECT_EQ(receive(10 * usbip::packet_size).size(), 10 * usbip::packet_size);
    EXPECT_EQ(usb->audio().recorded_packets, 10U);
}
