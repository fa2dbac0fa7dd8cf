#include "qusdevice.h"
#include "usplatform.h"
#include "virtualplatform.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

// What the front of the device object costs its owner's thread: packing requests, announcing what came, and each call
// of a storm of requests while the unit takes its time, and how both grow with the number of requests. Prints tables.

namespace {

using Clock = std::chrono::steady_clock;

constexpr int rounds = 200000;
constexpr int stormCalls = 100000;
constexpr int storms = 5;
constexpr int callsAtATime = 100;

// What is aimed at.
constexpr double nearlyAll_us = 10;
constexpr double every_us = 1000;

// Where the tables go. The link has its own lines about requests that wait for the next message, on standard output.
std::FILE *tables = nullptr;

constinit virtualunit_t unit = {};
constinit usplatform_t platform = {};
constinit decltype(usplatform_t::control) answer = nullptr;
constinit std::atomic<bool> isHeld = false;
constinit std::atomic<bool> hasBegun = false;

/// A unit that takes its time, or never answers while it is held.
int slowControl(intptr_t handle, uint32_t code, const void *in, uint32_t in_length, void *out, uint32_t out_length,
                uint32_t *returned)
{
    hasBegun.store(true);
    isHeld.wait(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return answer(handle, code, in, in_length, out, out_length, returned);
}

void hold(bool held)
{
    isHeld.store(held);
    isHeld.notify_all();
}

void plugIn()
{
    virtualunit_init(&unit);
    platform = *virtualplatform::with(&unit, virtualplatform::Pauses::Real);
    answer = platform.control;
    platform.control = slowControl;
    usplatform_use(&platform);
}

QByteArray block(std::initializer_list<std::initializer_list<uint8_t>> elements)
{
    QByteArray result(USMSG_MAX_SIZE, '\0');
    auto end = result.begin();
    for (const std::initializer_list<uint8_t> &element : elements)
        end = std::copy(element.begin(), element.end(), end);
    return result;
}

double nanosecondsEach(Clock::duration duration, int count)
{
    return std::chrono::duration<double, std::nano>(duration).count() / count;
}

void printRate(const char *what, double nanoseconds)
{
    std::fprintf(tables, "| %s | %.2f million | %.0f ns |\n", what, 1e3 / nanoseconds, nanoseconds);
}

/// Takes the worker away from a device: messages are counted, nothing is sent.
void detach(QUSDevice *device, int *messages)
{
    QObject::disconnect(device, &QUSDevice::sig_us_send, nullptr, nullptr);
    QObject::disconnect(device, &QUSDevice::sig_us_recv, nullptr, nullptr);
    QObject::connect(device, &QUSDevice::sig_us_send, [messages] { ++*messages; });
}

bool measureAssembly()
{
    QUSDevice device;
    int messages = 0;
    detach(&device, &messages);
    const QByteArray ready = block({{USMSG_ID_READY, USMSG_DATA_TYPE_U8, 1}});
    const auto begin = Clock::now();
    for (int round = 0; round < rounds; ++round) {
        device.request_version();
        device.request_hz();
        device.request_autopowersave();
        device.request_stereo();
        device.request_mute();
        device.request_fader();
        device.recv_us_recv_result(true, ready);
        device.recv_us_send_result(true);
    }
    const double each = nanosecondsEach(Clock::now() - begin, rounds);
    printRate("messages of six requests, asked for and assembled", each);
    printRate("requests", each / 6);
    return messages == rounds;
}

/// Counts what the reply of measureDispatch() is announced as.
void countAnnouncements(QUSDevice *device, int *announced)
{
    const auto count = [announced] { ++*announced; };
    QObject::connect(device, &QUSDevice::sig_recv_hz, count);
    QObject::connect(device, &QUSDevice::sig_recv_version, count);
    QObject::connect(device, &QUSDevice::sig_recv_productname, count);
    QObject::connect(device, &QUSDevice::sig_recv_fader, count);
    QObject::connect(device, &QUSDevice::sig_recv_mute, count);
}

bool measureDispatch()
{
    QUSDevice device;
    int messages = 0;
    detach(&device, &messages);
    int announced = 0;
    countAnnouncements(&device, &announced);
    const QByteArray reply = block({{USMSG_ID_READY, USMSG_DATA_TYPE_U8, 0},
                                    {USMSG_ID_HZ, USMSG_DATA_TYPE_U32, 0x80, 0xBB, 0, 0},
                                    {USMSG_ID_VERSION, USMSG_DATA_TYPE_U16, 1, 1},
                                    {USMSG_ID_PRODUCTNAME, USMSG_DATA_TYPE_BYTES, 6, 'K', 'D', '-', 'M', 'X', '2'},
                                    {USMSG_ID_CH, USMSG_DATA_TYPE_U8, USMSG_DATA_CH_DIRECTMONITOR_OUT},
                                    {USMSG_ID_CH_NO, USMSG_DATA_TYPE_U8, 1},
                                    {USMSG_ID_GET_FADER, USMSG_DATA_TYPE_U8, 100},
                                    {USMSG_ID_GET_MUTE, USMSG_DATA_TYPE_U8, 1}});
    const auto begin = Clock::now();
    for (int round = 0; round < rounds; ++round)
        device.recv_us_recv_result(true, reply);
    const double each = nanosecondsEach(Clock::now() - begin, rounds);
    printRate("replies with five announcements, dispatched", each);
    printRate("announcements", each / 5);
    return announced == 5 * rounds;
}

/// One of twelve requests; settings with a value of their own each time, for an equal one would do nothing.
void request(QUSDevice *device, int number)
{
    const auto value = static_cast<uint8_t>(number / 12);
    switch (number % 12) {
    case 0:
        return device->request_version();
    case 1:
        return device->request_hz();
    case 2:
        return device->request_autopowersave();
    case 3:
        return device->request_stereo();
    case 4:
        return device->request_mute();
    case 5:
        return device->request_fader();
    case 6:
        return device->set_autopowersave(value);
    case 7:
        return device->set_monitor_mode(value);
    case 8:
        return device->set_u32(value);
    case 9:
    case 10:
        device->set_input_switch(USMSG_DATA_CH_ANALOG_IN, static_cast<uint8_t>(number % 12 - 8), value);
        return;
    default:
        device->set_input_volume(USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, value);
        return;
    }
}

/// CPU time of this thread, in microseconds.
double ownTime_us()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// The calls of one storm, or the worst figures of several.
struct Storm
{
    double median_us = 0;
    double nearlyAll_us = 0;
    double longest_us = 0;
    double longestOwn_us = 0; ///< in CPU time: without what other programs took in between
    int messages = 0;

    void takeWorst(const Storm &other)
    {
        median_us = std::max(median_us, other.median_us);
        nearlyAll_us = std::max(nearlyAll_us, other.nearlyAll_us);
        longest_us = std::max(longest_us, other.longest_us);
        longestOwn_us = std::max(longestOwn_us, other.longestOwn_us);
        messages += other.messages;
    }
};

/// Times one call: in microseconds, and in those of CPU time.
std::pair<double, double> timed(QUSDevice *device, int number)
{
    const double ownBegin = ownTime_us();
    const auto begin = Clock::now();
    request(device, number);
    const auto end = Clock::now();
    return {std::chrono::duration<double, std::micro>(end - begin).count(), ownTime_us() - ownBegin};
}

Storm storm(bool held)
{
    plugIn();
    hold(held);
    hasBegun.store(false);
    Storm result;
    std::vector<double> times;
    times.reserve(stormCalls);
    {
        QUSDevice device;
        QObject::connect(&device, &QUSDevice::sig_us_send, [&result] { ++result.messages; });
        device.request_version();
        while (!hasBegun.load())
            std::this_thread::yield();
        for (int number = 0; number < stormCalls; ++number) {
            const auto [time, own] = timed(&device, number);
            times.push_back(time);
            result.longestOwn_us = std::max(result.longestOwn_us, own);
            if (number % callsAtATime != 0)
                continue;
            // The worker's results come in between, as in any owner.
            QThread::msleep(1);
            QCoreApplication::processEvents();
        }
        hold(false);
    }
    usplatform_use(nullptr);
    std::sort(times.begin(), times.end());
    result.median_us = times[times.size() / 2];
    result.nearlyAll_us = times[times.size() * 99 / 100];
    result.longest_us = times.back();
    return result;
}

/// What requests cost while they wait for a unit that is not ready: each call, and to pack all of them in the end.
void measurePending(int calls)
{
    QUSDevice device;
    int messages = 0;
    detach(&device, &messages);
    const auto begin = Clock::now();
    for (int number = 0; number < calls; ++number)
        request(&device, number);
    const auto asked = Clock::now();
    const QByteArray ready = block({{USMSG_ID_READY, USMSG_DATA_TYPE_U8, 1}});
    for (int before = -1; before != messages;) {
        before = messages;
        device.recv_us_recv_result(true, ready);
        device.recv_us_send_result(true);
    }
    const auto end = Clock::now();
    std::fprintf(tables, "| %d | %.0f ns | %d | %.1f µs |\n", calls, nanosecondsEach(asked - begin, calls), messages,
                 nanosecondsEach(end - asked, 1) / 1e3);
}

void measureStorms(const char *what, bool held)
{
    Storm worst;
    for (int count = 0; count < storms; ++count)
        worst.takeWorst(storm(held));
    const bool isMet = worst.nearlyAll_us <= nearlyAll_us && worst.longest_us <= every_us;
    std::fprintf(tables, "| %s | %d | %.2f µs | %.2f µs | %.0f µs | %.0f µs | %s |\n", what, worst.messages,
                 worst.median_us, worst.nearlyAll_us, worst.longest_us, worst.longestOwn_us, isMet ? "met" : "missed");
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    tables = fdopen(dup(STDOUT_FILENO), "w");
    if (tables == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::perror("device-benchmark");
        return 1;
    }
    std::fprintf(tables, "| On the owner's thread | per second | each |\n|---|---|---|\n");
    if (!measureAssembly() || !measureDispatch()) {
        std::fprintf(stderr, "device-benchmark: the device did not do what is measured\n");
        return 1;
    }
    std::fprintf(tables,
                 "\n| %d storms of %d calls, the worst of each | messages | median | 99 of 100 | longest "
                 "| longest, own CPU | aim: %.0f µs, %.0f µs |\n|---|---|---|---|---|---|---|\n",
                 storms, stormCalls, nearlyAll_us, every_us);
    measureStorms("the unit answers after 5 ms", false);
    measureStorms("the unit does not answer", true);
    std::fprintf(tables,
                 "\n| Requests while the unit is not ready | each call | messages in the end | to pack these |\n"
                 "|---|---|---|---|\n");
    for (const int calls : {10, 100, 1000, 10000, 100000, 1000000})
        measurePending(calls);
    std::fclose(tables);
}
