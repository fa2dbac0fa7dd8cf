#include "allocations.h"
#include "encodings.h"

#include <benchmark/benchmark.h>

#include <string>

// Composing and reading typical messages, in each encoding.

namespace {

constexpr ChannelRequest channel_request = {{{4, 1}, {4, 2}, {5, 1}}};
constexpr ChannelReply channel_reply = {1, 5, 1, 200};
constexpr IdentityReply identity_reply = {
    1,
    110,
    6,
    {6, {'K', 'D', '-', 'M', 'X', '2'}},
    {11, {'N', 'o', 'v', ' ', '2', '0', ' ', '2', '0', '2', '6'}},
    {8, {'1', '2', ':', '3', '4', ':', '5', '6'}},
    {12, {'K', 'D', '-', 'M', 'X', ' ', 'S', 'e', 'r', 'i', 'e', 's'}},
};

constexpr FirmwareBlock firmware_block()
{
    FirmwareBlock block = {};
    for (uint8_t index = 0; index < FirmwareBlock::size; ++index)
        block.data[index] = static_cast<uint8_t>(index * 7);
    return block;
}

void report(benchmark::State &state, uint64_t allocations_before, size_t size)
{
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations() - allocations_before), benchmark::Counter::kAvgIterations);
    state.counters["bytes"] = static_cast<double>(size);
}

template <typename Content>
using Compose = size_t (*)(const Content &, uint8_t *);

template <typename Content>
using Read = bool (*)(const uint8_t *, size_t, Content *);

template <typename Content>
void compose(benchmark::State &state, const Content &content, Compose<Content> compose_one)
{
    uint8_t message[message_room];
    size_t size = 0;
    const uint64_t before = allocations();
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(&content);
        size = compose_one(content, message);
        benchmark::DoNotOptimize(message);
        benchmark::ClobberMemory();
    }
    report(state, before, size);
    if (size == 0)
        state.SkipWithError("the message could not be composed");
}

template <typename Content>
void read(benchmark::State &state, const Content &content, Compose<Content> compose_one, Read<Content> read_one)
{
    uint8_t message[message_room];
    const size_t size = compose_one(content, message);
    Content found = {};
    bool succeeded = true;
    const uint64_t before = allocations();
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(message);
        succeeded = read_one(message, size, &found) && succeeded;
        benchmark::DoNotOptimize(found);
        benchmark::ClobberMemory();
    }
    report(state, before, size);
    if (!succeeded || !(found == content))
        state.SkipWithError("what was read is not what was composed");
}

template <typename Content>
void add(const std::string &subject, const std::string &encoding, const Content &content, Compose<Content> compose_one,
         Read<Content> read_one)
{
    benchmark::RegisterBenchmark(("compose/" + subject + "/" + encoding).c_str(), compose<Content>, content,
                                 compose_one);
    benchmark::RegisterBenchmark(("read/" + subject + "/" + encoding).c_str(), read<Content>, content, compose_one,
                                 read_one);
}

template <typename Content>
void add_all(const std::string &subject, const Content &content)
{
    add<Content>(subject, "usmsg", content, with_usmsg::compose, with_usmsg::read);
    add<Content>(subject, "nanopb", content, with_nanopb::compose, with_nanopb::read);
    add<Content>(subject, "cbor stream", content, with_cbor_stream::compose, with_cbor_stream::read);
    add<Content>(subject, "cbor value", content, with_cbor_value::compose, with_cbor_value::read);
}

[[maybe_unused]] const bool added = [] {
    add_all("request for three channels", channel_request);
    add_all("reply about a channel", channel_reply);
    add_all("full identity reply", identity_reply);
    add_all("firmware block", firmware_block());
    return true;
}();

} // namespace
