#include "arbitraryunit.h"
#include "invariant.h"
#include "target.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

// One command of usctl with a unit that answers anything. The first byte of the input chooses the command.

namespace {

constexpr uint8_t sentinel = 0xEE;

// What every command may spend on waiting for the unit to be ready, and on sending.
constexpr uint32_t ready_polls = 1000;
constexpr uint32_t send_attempts = 3;
constexpr uint32_t query_polls = 100;

/// A unit that a command talks to.
class CommandUnit : public ArbitraryUnit
{
public:
    using ArbitraryUnit::ArbitraryUnit;

    /// The message is the caller's own, not the command's.
    bool takes_anything = false;

private:
    void sent(const uint8_t *message, uint32_t length) override
    {
        invariant(takes_anything || is_message(message, length), "E6: not a message");
    }
};

/// What the input chooses for the command.
struct Call
{
    CommandUnit *unit;
    uint8_t options;
    uint16_t size; ///< of the output, where the command takes one
    uint8_t ch;
    uint8_t ch_no;
    uint8_t value;
    Input *input;

    bool wants_output() const { return (options & 1) == 0; }
    usdev_t **device() const { return unit->unit(); }
};

/// What a command may spend.
struct Budget
{
    uint32_t reads;
    uint32_t writes;
    uint32_t pauses; ///< of the command itself, after the waits of ready and send
    uint32_t pause_ms;
};

constexpr Budget setting = {ready_polls, send_attempts, 0, 0};
constexpr Budget query = {ready_polls + query_polls, send_attempts, query_polls, 10};
constexpr Budget slow_query = {ready_polls + 3000, send_attempts, 3000, 10};

void check_spent(const CommandUnit &unit, const Budget &budget)
{
    invariant(unit.resources() == 0, "E5: a handle or memory was kept");
    invariant(unit.reads() <= budget.reads, "E7: too many reads");
    invariant(unit.writes() <= budget.writes, "E7: too many writes");
    const uint32_t pauses = ready_polls + send_attempts - 1;
    invariant(unit.sleeps() <= pauses + budget.pauses, "E7: too many pauses");
    invariant(unit.slept_ms() <= uint64_t{pauses} * 10 + uint64_t{budget.pauses} * budget.pause_ms,
              "E7: pauses are too long");
}

int checked(int result)
{
    invariant(result == 0 || result == 1, "E1: result");
    return result;
}

/// A command that gives one number.
template <typename Number, typename Command>
void run_number(const Call &call, const Budget &budget, Command command)
{
    const auto unset = static_cast<Number>(0xEEEEEEEE);
    const auto out = std::make_unique<Number>(unset);
    const int result = checked(command(call, call.wants_output() ? out.get() : nullptr));
    invariant((result == 0 && call.wants_output()) || *out == unset, "E4: an output was touched");
    check_spent(*call.unit, budget);
}

/// A command that gives bytes; with `overwrites`, longer ones may have been stored before those that count.
template <typename Command>
void run_bytes(const Call &call, const Budget &budget, bool overwrites, Command command)
{
    const auto max = static_cast<uint8_t>(call.size);
    ExactBlock out(max, sentinel);
    const auto length = std::make_unique<uint8_t>(uint8_t{0});
    uint8_t *const out_or_null = call.wants_output() ? out.data() : nullptr;
    uint8_t *const length_or_null = (call.options & 2) == 0 ? length.get() : nullptr;
    const int result = checked(command(call, out_or_null, max, length_or_null));
    invariant(*length <= max, "E3: the length told is more than there is room for");

    const bool stored = result == 0 && call.wants_output();
    const bool is_known = !stored || (length_or_null != nullptr && !overwrites);
    const auto untouched = std::count(out.data(), out.data() + max, sentinel);
    invariant(!is_known || untouched >= max - (stored ? *length : 0), "E4: bytes behind the length told were touched");
    check_spent(*call.unit, budget);
}

/// A command that gives nothing.
template <typename Command>
void run_setting(const Call &call, Command command)
{
    checked(command(call));
    check_spent(*call.unit, setting);
}

void get_version(const Call &call)
{
    run_number<uint16_t>(call, query, [](const Call &c, uint16_t *out) { return usctl_get_version(c.device(), out); });
}

void get_build(const Call &call)
{
    run_number<uint16_t>(call, query, [](const Call &c, uint16_t *out) { return usctl_get_build(c.device(), out); });
}

template <int (*command)(usdev_t **, uint8_t *, uint8_t, uint8_t *)>
void get_text(const Call &call)
{
    run_bytes(call, query, false, [](const Call &c, uint8_t *out, uint8_t max, uint8_t *length) {
        return command(c.device(), out, max, length);
    });
}

void get_hz(const Call &call)
{
    run_number<uint32_t>(call, query, [](const Call &c, uint32_t *out) { return usctl_get_hz(c.device(), out); });
}

void get_autopowersave(const Call &call)
{
    run_number<uint8_t>(call, query,
                        [](const Call &c, uint8_t *out) { return usctl_get_autopowersave(c.device(), out); });
}

void query_u32(const Call &call)
{
    run_number<uint32_t>(call, slow_query,
                         [](const Call &c, uint32_t *out) { return usctl_query_u32(c.device(), c.value, out); });
}

template <typename Number, int (*command)(usdev_t **, uint32_t, uint32_t, Number *)>
void get_of_channel(const Call &call)
{
    run_number<Number>(call, query, [](const Call &c, Number *out) { return command(c.device(), c.ch, c.ch_no, out); });
}

template <int (*command)(usdev_t **, uint32_t, uint32_t, uint8_t)>
void set_of_channel(const Call &call)
{
    run_setting(call, [](const Call &c) { return command(c.device(), c.ch, c.ch_no, c.value); });
}

void set_autopowersave(const Call &call)
{
    run_setting(call, [](const Call &c) { return usctl_set_autopowersave(c.device(), c.value); });
}

void set_u8(const Call &call)
{
    run_setting(call, [](const Call &c) { return usctl_set_u8(c.device(), c.value); });
}

void set_u32(const Call &call)
{
    run_setting(call, [](const Call &c) { return usctl_set_u32(c.device(), c.value * 0x01010101u); });
}

void command_a2(const Call &call)
{
    run_setting(call, [](const Call &c) { return usctl_cmd_a2(c.device()); });
}

void set_route(const Call &call)
{
    run_setting(call, [](const Call &c) { return usctl_set_route(c.device(), c.ch, c.ch_no, c.value, c.options); });
}

void wait_ready(const Call &call)
{
    checked(usctl_wait_ready(call.device()));
    check_spent(*call.unit, {ready_polls, 0, 0, 0});
}

void dump_routes(const Call &call)
{
    constexpr uint32_t blocks = 4;
    ExactBlock text(call.size, sentinel);
    uint32_t length = 0;
    char *const out = call.wants_output() ? reinterpret_cast<char *>(text.data()) : nullptr;
    const int result = checked(usctl_dump_routes(call.device(), out, call.size, &length));
    check_spent(*call.unit, {ready_polls + blocks, send_attempts, blocks, 100});

    const auto *const end = static_cast<const uint8_t *>(std::memchr(text.data(), 0, text.size()));
    const bool has_text = call.wants_output() && call.size > 0 && (result == 0 || length > 0);
    invariant(!has_text || end != nullptr, "E3: the text is not zero-terminated");
    invariant(!has_text || end - text.data() == std::min<int64_t>(length, call.size - 1),
              "E3: the length told is not that of the lines");
}

void get_debug(const Call &call)
{
    run_bytes(call, {1, 0, 0, 0}, true, [](const Call &c, uint8_t *out, uint8_t max, uint8_t *length) {
        return usctl_get_debug(c.device(), out, max, length);
    });
}

void print_debug(const Call &call)
{
    const ExactBlock text = call.input->block(call.size);
    usctl_print_debug(text.data(), static_cast<uint32_t>(text.size()));
}

void receive(const Call &call)
{
    ExactBlock bytes(USMSG_MAX_SIZE, sentinel);
    usmsg_buf_t buf = {bytes.data(), USMSG_MAX_SIZE, call.value};
    checked(usctl_recv(call.device(), &buf));
    invariant(buf.pos == 0 && buf.size == USMSG_MAX_SIZE && buf.data == bytes.data(), "M2: cursor of a new block");
    check_spent(*call.unit, {1, 0, 0, 0});
}

void send(const Call &call)
{
    const ExactBlock bytes = call.input->block(call.size % 256);
    std::vector<uint8_t> message = bytes.content();
    message.shrink_to_fit();
    const auto size = static_cast<uint8_t>(message.size());
    const usmsg_buf_t buf = {message.data(), size, size};
    call.unit->takes_anything = true;
    const int result = checked(usctl_send(call.device(), &buf));
    invariant(size <= USMSG_MAX_SIZE || (result == 1 && call.unit->writes() == 0), "E6: too long a message was sent");
    check_spent(*call.unit, {0, send_attempts, 0, 0});
}

using Runner = void (*)(const Call &);

// The order is that of the first byte of the seeds: add at the end.
constexpr Runner runners[] = {
    get_version,
    get_build,
    get_text<usctl_get_productname>,
    get_text<usctl_get_builddate>,
    get_text<usctl_get_buildtime>,
    get_text<usctl_get_info>,
    get_hz,
    get_autopowersave,
    query_u32,
    get_of_channel<uint8_t, usctl_get_fader>,
    get_of_channel<uint8_t, usctl_get_mute>,
    get_of_channel<uint32_t, usctl_get_stereo>,
    dump_routes,
    get_debug,
    wait_ready,
    receive,
    print_debug,
    set_autopowersave,
    set_u8,
    set_u32,
    command_a2,
    set_of_channel<usctl_set_fader>,
    set_of_channel<usctl_set_mute>,
    set_of_channel<usctl_set_stereo>,
    set_route,
    send,
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Input input(bytes, size);
    const uint8_t command = input.byte();
    Call call = {.unit = nullptr,
                 .options = input.byte(),
                 .size = input.number16(),
                 .ch = input.byte(),
                 .ch_no = input.byte(),
                 .value = input.byte(),
                 .input = &input};
    CommandUnit unit(&input);
    call.unit = &unit;
    if ((call.options & 4) != 0)
        unit.forget_device();
    if ((call.options & 8) != 0)
        unit.deny_memory();
    runners[command % std::size(runners)](call);
    return 0;
}
