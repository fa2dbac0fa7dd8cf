#include "conversation.h"
#include "printed.h"
#include "uswatch.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

/// Records what a watch sees, and refuses while `refusal` is an error code.
class Watch : public testing::Test
{
protected:
    struct Seen
    {
        uswatch_transfer_t::kind_t kind;
        std::vector<uint8_t> data;
        uint32_t error;

        bool operator==(const Seen &) const = default;
    };

    Watch() { uswatch_add(&watch); }
    ~Watch() override { uswatch_remove(&watch); }

    static void moved(void *context, const uswatch_transfer_t *transfer)
    {
        static_cast<Watch *>(context)->seen.push_back(
            {transfer->kind, {transfer->data, transfer->data + transfer->length}, transfer->error});
    }

    static uint32_t refuses(void *context) { return static_cast<Watch *>(context)->refusal; }

    Conversation::Bytes block_of(const Conversation::Bytes &bytes) const { return block(bytes).bytes; }

    int send(std::vector<uint8_t> bytes)
    {
        const usmsg_buf_t message = {bytes.data(), static_cast<uint8_t>(bytes.size()),
                                     static_cast<uint8_t>(bytes.size())};
        return usctl_send(&conversation.unit, &message);
    }

    int receive()
    {
        uint8_t bytes[USMSG_MAX_SIZE] = {};
        usmsg_buf_t block = {bytes, sizeof(bytes), 0};
        return usctl_recv(&conversation.unit, &block);
    }

    Conversation conversation;
    uint32_t refusal = 0;
    std::vector<Seen> seen;
    uswatch_t watch = {this, moved, refuses};
};

TEST_F(Watch, seesMessagesAndBlocks)
{
    conversation.reply({0xA1, 2, 1});
    EXPECT_EQ(send({0x31, 1, 0}), 0);
    EXPECT_EQ(receive(), 0);
    EXPECT_EQ(seen,
              (std::vector<Seen>{{uswatch_transfer_t::WRITE, {0x31, 1, 0}, 0},
                                 {uswatch_transfer_t::READ, block_of({0xA1, 2, 1}), 0}}));
}

TEST_F(Watch, seesTheHardFailureThatCountsAsSent)
{
    conversation.fail_write(USPLATFORM_ERROR_ACCESS_DENIED);
    printed([&] { EXPECT_EQ(send({0, 0}), 0); });
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::WRITE, {0, 0}, USPLATFORM_ERROR_ACCESS_DENIED}}));
}

TEST_F(Watch, seesEachAttempt)
{
    conversation.fail_write(USPLATFORM_ERROR_TRANSIENT);
    printed([&] { EXPECT_EQ(send({0, 0}), 0); });
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].error, USPLATFORM_ERROR_TRANSIENT);
    EXPECT_EQ(seen[1].error, 0U);
}

TEST_F(Watch, seesFailedReadsAndShortOnes)
{
    conversation.fail_read(USPLATFORM_ERROR_NOT_CONNECTED);
    printed([&] { EXPECT_EQ(receive(), 1); });
    conversation.silence.bytes.resize(20);
    printed([&] { EXPECT_EQ(receive(), 1); });
    EXPECT_EQ(seen,
              (std::vector<Seen>{{uswatch_transfer_t::READ, {}, USPLATFORM_ERROR_NOT_CONNECTED},
                                 {uswatch_transfer_t::READ, std::vector<uint8_t>(20), 0}}));
}

TEST_F(Watch, seesNoMoreThanTheBlock)
{
    conversation.silence.returned = USMSG_MAX_SIZE + 1;
    printed([&] { EXPECT_EQ(receive(), 1); });
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::READ, block_of({}), 0}}));
}

TEST_F(Watch, seesAPathThatCannotBeOpened)
{
    conversation.platform.open_error = USPLATFORM_ERROR_NOT_FOUND;
    const std::string lines = printed([&] { EXPECT_EQ(receive(), 1); });
    EXPECT_NE(lines.find("GetLastError() = 0x2\n"), std::string::npos) << lines;
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::OPEN, {}, USPLATFORM_ERROR_NOT_FOUND}}));
}

/// A watcher that writes files, say, may fail at that and leave an error of its own behind.
TEST_F(Watch, leavesTheErrorsToTheLink)
{
    const auto fails = [](void *context, const uswatch_transfer_t *) {
        auto *const platform = static_cast<ScriptedPlatform *>(context);
        const uint32_t before = std::exchange(platform->open_error, USPLATFORM_ERROR_CANCELLED);
        usplatform_unwatched()->open(u"");
        platform->open_error = before;
    };
    const uswatch_t clumsy = {&conversation.platform, fails, nullptr};
    uswatch_add(&clumsy);
    conversation.fail_read(USPLATFORM_ERROR_TRANSIENT);
    const std::string ofControl = printed([&] { EXPECT_EQ(receive(), 1); });
    conversation.platform.open_error = USPLATFORM_ERROR_ACCESS_DENIED;
    const std::string ofOpen = printed([&] { EXPECT_EQ(receive(), 1); });
    uswatch_remove(&clumsy);
    EXPECT_NE(ofControl.find("GetLastError() = 0x1f\n"), std::string::npos) << ofControl;
    EXPECT_NE(ofOpen.find("GetLastError() = 0x5\n"), std::string::npos) << ofOpen;
}

TEST_F(Watch, refusesTransfersBeforeTheyReachThePlatform)
{
    refusal = USPLATFORM_ERROR_CANCELLED;
    const std::string lines = printed([&] { EXPECT_EQ(receive(), 1); });
    EXPECT_NE(lines.find("GetLastError() = 0x3e3\n"), std::string::npos) << lines;
    EXPECT_TRUE(conversation.platform.opened.empty());
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::OPEN, {}, USPLATFORM_ERROR_CANCELLED}}));
}

TEST_F(Watch, goesOnAfterARefusal)
{
    refusal = USPLATFORM_ERROR_CANCELLED;
    printed([&] { receive(); });
    refusal = 0;
    conversation.fail_read(USPLATFORM_ERROR_IO);
    const std::string lines = printed([&] { receive(); });
    EXPECT_NE(lines.find("GetLastError() = 0x45d\n"), std::string::npos) << lines;
    EXPECT_EQ(receive(), 0);
}

TEST_F(Watch, leavesPausesWholeInPieces)
{
    usplatform()->sleep(120);
    EXPECT_EQ(conversation.platform.sleeps, (std::vector<uint32_t>{50, 50, 20}));
}

TEST_F(Watch, refusesPauses)
{
    refusal = USPLATFORM_ERROR_CANCELLED;
    usplatform()->sleep(1000);
    EXPECT_TRUE(conversation.platform.sleeps.empty());
}

TEST_F(Watch, needsNoFunctions)
{
    watch.moved = nullptr;
    watch.refuses = nullptr;
    EXPECT_EQ(receive(), 0);
    usplatform()->sleep(10);
    EXPECT_EQ(conversation.platform.sleeps, std::vector<uint32_t>{10});
}

TEST_F(Watch, staysWhenThePlatformChanges)
{
    ScriptedPlatform other;
    other.otherwise = [](const ScriptedPlatform::Request &) { return block({0xA1, 2, 0}); };
    EXPECT_EQ(receive(), 0);
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::READ, block_of({0xA1, 2, 0}), 0}}));
}

TEST_F(Watch, isOneOfSeveral)
{
    uint32_t refusals_asked = 0;
    const auto refuse = [](void *context) -> uint32_t {
        ++*static_cast<uint32_t *>(context);
        return USPLATFORM_ERROR_CANCELLED;
    };
    const uswatch_t refusing = {&refusals_asked, nullptr, refuse};
    ASSERT_EQ(uswatch_add(&refusing), 0);
    printed([&] { EXPECT_EQ(receive(), 1); });
    EXPECT_EQ(refusals_asked, 1U);
    EXPECT_EQ(seen, (std::vector<Seen>{{uswatch_transfer_t::OPEN, {}, USPLATFORM_ERROR_CANCELLED}}));

    uswatch_remove(&refusing);
    EXPECT_EQ(receive(), 0);
    EXPECT_EQ(refusals_asked, 1U);
    EXPECT_EQ(seen.size(), 2U);
}

TEST_F(Watch, isRefusedWhenThereAreTooMany)
{
    const uswatch_t further[USWATCH_MAX] = {};
    for (uint32_t index = 0; index + 1 < USWATCH_MAX; ++index)
        EXPECT_EQ(uswatch_add(&further[index]), 0);
    EXPECT_EQ(uswatch_add(&further[USWATCH_MAX - 1]), 1);
    for (const uswatch_t &added : further)
        uswatch_remove(&added);
    EXPECT_EQ(receive(), 0);
    EXPECT_EQ(seen.size(), 1U);
}

TEST(WatchesRemoved, leaveThePlatformAsItWas)
{
    Conversation conversation;
    const usplatform_t *const before = usplatform();
    const uswatch_t watch = {};
    uswatch_add(&watch);
    EXPECT_NE(usplatform(), before);
    uswatch_remove(&watch);
    EXPECT_EQ(usplatform(), before);
}

} // namespace
