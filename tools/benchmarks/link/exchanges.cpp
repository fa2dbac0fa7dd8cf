#include "allocations.h"
#include "readyunit.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <iostream>
#include <vector>

// What the link itself costs: transfers through the seam, and a whole firmware transfer.

namespace {

constexpr uint32_t block_size = 61;
constexpr uint32_t kib = 1024;

void report(benchmark::State &state, uint64_t allocations_before, uint64_t transfers_before)
{
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations() - allocations_before), benchmark::Counter::kAvgIterations);
    state.SetItemsProcessed(static_cast<int64_t>(readyunit::transfers() - transfers_before));
}

void write_and_read(benchmark::State &state)
{
    const usdev_t device = readyunit::device();
    const uint8_t message[] = {USMSG_ID_HZ, USMSG_DATA_TYPE_NONE, 0, 0};
    uint8_t block[USMSG_MAX_SIZE];
    const uint64_t allocations_before = allocations();
    const uint64_t transfers_before = readyunit::transfers();
    for ([[maybe_unused]] auto turn : state) {
        if (usdev_write(&device, USDEV_REQ_WRITE, 0, 0, sizeof(message), message) != 0
            || usdev_read(&device, USDEV_REQ_READ, 0, 0, sizeof(block), block) != 0)
            state.SkipWithError("a transfer failed");
        benchmark::DoNotOptimize(block);
    }
    report(state, allocations_before, transfers_before);
}

void set_fader(benchmark::State &state)
{
    usdev_t device = readyunit::device();
    usdev_t *unit = &device;
    const uint64_t allocations_before = allocations();
    const uint64_t transfers_before = readyunit::transfers();
    for ([[maybe_unused]] auto turn : state) {
        if (usctl_set_fader(&unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, 200) != 0)
            state.SkipWithError("the command failed");
    }
    report(state, allocations_before, transfers_before);
}

void update_firmware(benchmark::State &state)
{
    usdev_t device = readyunit::device();
    usdev_t *unit = &device;
    const auto size = static_cast<uint32_t>(state.range(0)) * kib;
    const uint32_t blocks = (size + block_size - 1) / block_size;
    const std::vector<uint8_t> image(size, 0x5A);
    const uint64_t allocations_before = allocations();
    const uint64_t transfers_before = readyunit::transfers();
    for ([[maybe_unused]] auto turn : state) {
        if (usctl_fw_update(&unit, image.data(), size, nullptr) != 0)
            state.SkipWithError("the transfer failed");
    }
    report(state, allocations_before, transfers_before);
    state.counters["blocks"] = static_cast<double>(blocks);
}

BENCHMARK(write_and_read)->Name("transfers/write and read");
BENCHMARK(set_fader)->Name("transfers/set a fader");
// In KiB.
BENCHMARK(update_firmware)->Name("firmware")->Arg(64)->Arg(256)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    usplatform_use(&readyunit::platform);

    // The link prints its progress; results go elsewhere.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    benchmark::ConsoleReporter console(benchmark::ConsoleReporter::OO_Tabular);
    console.SetOutputStream(&std::cerr);
    return benchmark::RunSpecifiedBenchmarks(&console) > 0 ? 0 : 1;
}
