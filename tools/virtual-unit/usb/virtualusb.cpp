#include "virtualusb.h"

#include "virtualdescriptors.h"

#include <algorithm>
#include <array>

namespace virtualusb {

namespace {

// Identifiers that nobody owns: a vendor number given to open hardware, and product numbers set aside for tests within
// it. A real maker's would make a system's quirks for that maker's devices act on ours.
constexpr uint16_t test_vendor = 0x1209;
constexpr uint16_t unit_product = 0x0001;
constexpr uint16_t foreign_audio_product = 0x0002;
constexpr uint16_t foreign_vendor_product = 0x0003;

constexpr uint8_t to_host = 0x80;
constexpr uint8_t type_mask = 0x60;
constexpr uint8_t type_standard = 0x00;
constexpr uint8_t type_class = 0x20;
constexpr uint8_t recipient_mask = 0x1F;
constexpr uint8_t recipient_interface = 0x01;
constexpr uint8_t vendor_to_device = 0x40;
constexpr uint8_t vendor_to_host = 0xC0;

/// Standard requests.
enum : uint8_t {
    get_status = 0,
    clear_feature = 1,
    set_feature = 3,
    set_address = 5,
    get_descriptor = 6,
    get_configuration = 8,
    set_configuration_request = 9,
    get_interface_request = 10,
    set_interface_request = 11,
};

/// Requests and controls of the audio class.
enum : uint8_t {
    current = 1,
    range = 2,
    frequency_control = 1,
    validity_control = 2,
};

constexpr std::array<uint32_t, 4> sample_rates = {44100, 48000, 88200, 96000};

constexpr uint16_t us_english = 0x0409;

// Characters of a string descriptor, whose length is one byte.
constexpr size_t longest_text = 126;

Reply done()
{
    return {Outcome::Done, {}};
}

Reply stalled()
{
    return {Outcome::Stalled, {}};
}

/// An answer to the host, cut to what it asked for.
Reply answer(const Setup &setup, std::vector<uint8_t> data)
{
    if (data.size() > setup.length)
        data.resize(setup.length);
    return {Outcome::Done, std::move(data)};
}

void append_u16(std::vector<uint8_t> *bytes, uint32_t value)
{
    bytes->push_back(static_cast<uint8_t>(value));
    bytes->push_back(static_cast<uint8_t>(value >> 8U));
}

void append_u32(std::vector<uint8_t> *bytes, uint32_t value)
{
    append_u16(bytes, value);
    append_u16(bytes, value >> 16U);
}

uint16_t u16_at(std::span<const uint8_t> bytes, size_t position)
{
    return static_cast<uint16_t>(bytes[position] | (bytes[position + 1] << 8U));
}

uint32_t u32_at(std::span<const uint8_t> bytes, size_t position)
{
    return u16_at(bytes, position) | (static_cast<uint32_t>(u16_at(bytes, position + 2)) << 16U);
}

bool is_ascii(char character)
{
    return static_cast<uint8_t>(character) < 0x80;
}

uint8_t high(uint16_t value)
{
    return static_cast<uint8_t>(value >> 8U);
}

uint8_t low(uint16_t value)
{
    return static_cast<uint8_t>(value);
}

Outcome outcome_of(virtualunit_result_t result)
{
    switch (result) {
    case VIRTUALUNIT_OK:
        return Outcome::Done;
    case VIRTUALUNIT_STALLED:
        return Outcome::Stalled;
    case VIRTUALUNIT_LATE:
        return Outcome::Late;
    case VIRTUALUNIT_FAILED:
        return Outcome::Failed;
    case VIRTUALUNIT_GONE:
        return Outcome::Gone;
    }
    return Outcome::Failed;
}

} // namespace

Setup setup_from(std::span<const uint8_t, 8> bytes)
{
    return {bytes[0], bytes[1], u16_at(bytes, 2), u16_at(bytes, 4), u16_at(bytes, 6)};
}

bool is_to_host(const Setup &setup)
{
    return (setup.request_type & to_host) != 0;
}

Description unit_description(const virtualunit_t &unit, const std::string &serial)
{
    return {.function = Function::Audio,
            .vendor_id = test_vendor,
            .product_id = unit_product,
            .manufacturer = "VELMAR",
            .product = unit.product,
            .serial = serial};
}

Description foreign_description(Function function, const std::string &manufacturer, const std::string &product)
{
    return {.function = function,
            .vendor_id = test_vendor,
            .product_id = function == Function::Audio ? foreign_audio_product : foreign_vendor_product,
            .manufacturer = manufacturer,
            .product = product,
            .serial = "1"};
}

Device::Device(const Description &description, virtualunit_t *unit)
    : m_description(description)
    , m_unit(unit)
    , m_device_descriptor(device_descriptor_of(description))
    , m_configuration_descriptor(configuration_descriptor_of(description))
{
}

void Device::reset()
{
    m_configuration = 0;
    std::fill(std::begin(m_alternate_settings), std::end(m_alternate_settings), uint8_t(0));
}

Reply Device::control(const Setup &setup, std::span<const uint8_t> out)
{
    if (!is_to_host(setup) && out.size() != setup.length)
        return stalled();
    switch (setup.request_type & type_mask) {
    case type_standard:
        return standard(setup);
    case type_class:
        return audio_class(setup, out);
    default:
        return vendor(setup, out);
    }
}

Reply Device::standard(const Setup &setup)
{
    switch (setup.request) {
    case get_status:
        return answer(setup, {0, 0}); // powered by the bus, no remote wake-up, nothing halted
    case get_descriptor:
        return descriptor(setup);
    case get_configuration:
        return answer(setup, {m_configuration});
    case set_configuration_request:
        return set_configuration(setup);
    case get_interface_request:
        return get_interface(setup);
    case set_interface_request:
        return set_interface(setup);
    case clear_feature:
    case set_feature:
    case set_address:
        return done(); // nothing of it can be seen from outside: the way of attaching deals with addresses
    default:
        return stalled();
    }
}

Reply Device::descriptor(const Setup &setup) const
{
    switch (high(setup.value)) {
    case device_descriptor_type:
        return answer(setup, m_device_descriptor);
    case configuration_descriptor_type:
        return low(setup.value) == 0 ? answer(setup, m_configuration_descriptor) : stalled();
    case string_descriptor_type: {
        Reply reply = text(low(setup.value));
        return reply.outcome == Outcome::Done ? answer(setup, std::move(reply.data)) : reply;
    }
    default:
        return stalled(); // no other speed, and no extensions of USB 2.1 and later
    }
}

Reply Device::text(uint8_t number) const
{
    if (number == 0) {
        std::vector<uint8_t> languages = {4, string_descriptor_type};
        append_u16(&languages, us_english);
        return {Outcome::Done, languages};
    }
    const std::string *texts[] = {&m_description.manufacturer, &m_description.product, &m_description.serial};
    if (number > std::size(texts))
        return stalled();
    const std::string characters = texts[number - 1]->substr(0, longest_text);
    std::vector<uint8_t> bytes = {static_cast<uint8_t>(2 + 2 * characters.size()), string_descriptor_type};
    for (const char character : characters)
        append_u16(&bytes, is_ascii(character) ? static_cast<uint8_t>(character) : '?');
    return {Outcome::Done, bytes};
}

Reply Device::set_configuration(const Setup &setup)
{
    if (setup.value > 1)
        return stalled();
    reset();
    m_configuration = low(setup.value);
    return done();
}

bool Device::has_interface(uint16_t number) const
{
    return number < (m_description.function == Function::Audio ? 3 : 1);
}

Reply Device::set_interface(const Setup &setup)
{
    // The control interface (0) has only its default setting; the streams are silent in 0 and run in 1.
    const bool is_stream = setup.index > 0;
    if (!has_interface(setup.index) || setup.value > (is_stream ? 1 : 0))
        return stalled();
    m_alternate_settings[setup.index] = low(setup.value);
    return done();
}

Reply Device::get_interface(const Setup &setup) const
{
    if (!has_interface(setup.index))
        return stalled();
    return answer(setup, {m_alternate_settings[setup.index]});
}

Reply Device::audio_class(const Setup &setup, std::span<const uint8_t> out)
{
    const bool to_clock = (setup.request_type & recipient_mask) == recipient_interface
        && setup.index == clock_entity << 8U && m_description.function == Function::Audio;
    if (!to_clock)
        return stalled();
    switch (high(setup.value)) {
    case frequency_control:
        return clock_frequency(setup, out);
    case validity_control:
        return is_to_host(setup) && setup.request == current ? answer(setup, {1}) : stalled();
    default:
        return stalled();
    }
}

Reply Device::clock_frequency(const Setup &setup, std::span<const uint8_t> out)
{
    std::vector<uint8_t> data;
    if (is_to_host(setup) && setup.request == current) {
        append_u32(&data, sample_rate());
        return answer(setup, data);
    }
    if (is_to_host(setup) && setup.request == range) {
        append_u16(&data, static_cast<uint32_t>(sample_rates.size()));
        for (const uint32_t rate : sample_rates) {
            append_u32(&data, rate); // from
            append_u32(&data, rate); // to
            append_u32(&data, 0); // in steps of
        }
        return answer(setup, data);
    }
    if (is_to_host(setup) || setup.request != current || out.size() != 4)
        return stalled();
    const uint32_t rate = u32_at(out, 0);
    if (std::find(sample_rates.begin(), sample_rates.end(), rate) == sample_rates.end())
        return stalled();
    set_sample_rate(rate);
    return done();
}

void Device::set_sample_rate(uint32_t hz)
{
    if (m_unit) {
        m_unit->hz = hz;
    } else {
        m_sample_rate = hz;
    }
}

Reply Device::vendor(const Setup &setup, std::span<const uint8_t> out)
{
    if (!m_unit || setup.value != 0 || setup.index != 0)
        return stalled();
    const bool is_write = setup.request_type == vendor_to_device && setup.request == write_request;
    const bool is_read =
        setup.request_type == vendor_to_host && setup.request == read_request && setup.length == VIRTUALUNIT_BLOCK_SIZE;
    if (!is_write && !is_read)
        return stalled();
    if (!virtualunit_is_plugged(m_unit)) {
        virtualunit_skip(m_unit);
        return {Outcome::Gone, {}};
    }
    if (is_write) {
        return {outcome_of(virtualunit_write(m_unit, out.data(), setup.length)), {}};
    }
    std::vector<uint8_t> block(VIRTUALUNIT_BLOCK_SIZE);
    uint32_t length = 0;
    const Outcome outcome = outcome_of(virtualunit_read(m_unit, block.data(), &length));
    block.resize(length);
    return {outcome, std::move(block)};
}

} // namespace virtualusb
