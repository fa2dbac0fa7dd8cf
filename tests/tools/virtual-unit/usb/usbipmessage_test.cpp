#include "usbipmessage.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace usbip;

namespace {

using Bytes = std::vector<uint8_t>;
using HeaderBytes = std::array<uint8_t, header_size>;

/// A header as the kernel sends it: a read of 64 bytes from endpoint 0, number 0x01020304.
HeaderBytes submit_bytes()
{
    return {0,    0,  0, 1, 1, 2, 3,  4, 0, 1, 0, 1,  0, 0, 0, 1, // command, number, device, to the host
            0,    0,  0, 0, 0, 0, 2,  0, 0, 0, 0, 64, // endpoint, flags, length
            0,    0,  0, 0, 0, 0, 0,  0, 0, 0, 0, 8, // first frame, packets, interval
            0xC0, 30, 0, 0, 0, 0, 64, 0};
}

} // namespace

TEST(UsbipMessage, SubmitIsRead)
{
    const Header header = header_from(submit_bytes());
    ASSERT_EQ(header.kind, Header::Kind::Submit);
    EXPECT_EQ(header.submit.number, 0x01020304U);
    EXPECT_TRUE(header.submit.to_host);
    EXPECT_EQ(header.submit.endpoint, 0);
    EXPECT_EQ(header.submit.length, 64U);
    EXPECT_EQ(header.submit.packets, 0U);
    EXPECT_EQ(header.submit.interval, 8U);
    EXPECT_EQ(header.submit.setup, (std::array<uint8_t, 8>{0xC0, 30, 0, 0, 0, 0, 64, 0}));
}

TEST(UsbipMessage, NoPacketsMayBeMinusOne)
{
    HeaderBytes bytes = submit_bytes();
    std::fill_n(bytes.begin() + 32, 4, uint8_t(0xFF));
    EXPECT_EQ(header_from(bytes).submit.packets, 0U);
}

TEST(UsbipMessage, UnlinkIsRead)
{
    HeaderBytes bytes = {0, 0, 0, 2, 0, 0, 0, 9};
    bytes[23] = 7;
    const Header header = header_from(bytes);
    EXPECT_EQ(header.kind, Header::Kind::Unlink);
    EXPECT_EQ(header.number, 9U);
    EXPECT_EQ(header.unlinked, 7U);
}

TEST(UsbipMessage, AnythingElseIsUnknown)
{
    EXPECT_EQ(header_from(HeaderBytes{0, 0, 0, 3}).kind, Header::Kind::Unknown);
    EXPECT_EQ(header_from(HeaderBytes{1, 0, 0, 1}).kind, Header::Kind::Unknown);
}

TEST(UsbipMessage, ControlReply)
{
    Submit submit;
    submit.number = 0x01020304;
    const Bytes data = {7, 8};
    Bytes expected(header_size);
    expected[3] = 3;
    std::copy_n(Bytes{1, 2, 3, 4}.begin(), 4, expected.begin() + 4);
    expected[27] = 2;
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(control_reply(submit, 0, 2, data), expected);
}

TEST(UsbipMessage, StallIsANegativeNumber)
{
    const Bytes reply = control_reply({}, -32, 0, {});
    EXPECT_EQ(Bytes(reply.begin() + 20, reply.begin() + 24), Bytes({0xFF, 0xFF, 0xFF, 0xE0}));
    EXPECT_EQ(reply.size(), header_size);
}

TEST(UsbipMessage, IsochronousReplyListsItsPackets)
{
    Submit submit;
    submit.packets = 2;
    const Packet packets[] = {{0, 10, 2}, {10, 10, 1}};
    const Bytes reply = isochronous_reply(submit, packets, Bytes({1, 2, 3}));
    ASSERT_EQ(reply.size(), header_size + 3 + 2 * packet_size);
    EXPECT_EQ(reply[27], 3); // bytes that came
    EXPECT_EQ(reply[35], 2); // packets
    EXPECT_EQ(Bytes(reply.end() - 16, reply.end()), Bytes({0, 0, 0, 10, 0, 0, 0, 10, 0, 0, 0, 1, 0, 0, 0, 0}));
}

TEST(UsbipMessage, PacketsAreRead)
{
    const Bytes bytes = {0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0,
                         0, 0, 1, 2, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0};
    const std::vector<Packet> packets = packets_from(bytes);
    ASSERT_EQ(packets.size(), 2U);
    EXPECT_EQ(packets[0].length, 258U);
    EXPECT_EQ(packets[1].offset, 258U);
    EXPECT_EQ(packets[1].length, 5U);
    EXPECT_EQ(packets[1].actual_length, 0U);
}

TEST(UsbipMessage, UnlinkReplyTellsWhetherItCameInTime)
{
    Bytes expected(header_size);
    expected[3] = 4;
    expected[7] = 9;
    EXPECT_EQ(unlink_reply(9, false), expected);
    std::copy_n(Bytes{0xFF, 0xFF, 0xFF, 0x98}.begin(), 4, expected.begin() + 20);
    EXPECT_EQ(unlink_reply(9, true), expected);
}
