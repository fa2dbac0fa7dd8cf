#include "umockdevbus.h"

#include "virtualscript.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>

namespace {

// Units stand where an order by letters differs from the order of their places.
constexpr const char *hub_place = "1-3";
constexpr const char *unit_places[] = {"1-3.2", "1-3.10", "1-3.11", "1-3.20"};

/// The mode of a node whose user is root or nobody in particular.
unsigned mode_for(bool permitted)
{
    return permitted ? 0666 : 0;
}

std::optional<unsigned> number(std::string_view digits)
{
    unsigned value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && end == digits.data() + digits.size() ? std::optional(value) : std::nullopt;
}

/// Takes a word and the blank after it off the front.
std::string_view take_word(std::string_view *text)
{
    const std::string_view word = text->substr(0, text->find(' '));
    text->remove_prefix(std::min(word.size() + 1, text->size()));
    return word;
}

/// The host chooses the configuration when it finds a device.
void configure(virtualusb::Device *device)
{
    constexpr virtualusb::Setup set_configuration = {0x00, 9, 1, 0, 0};
    device->reset();
    device->control(set_configuration, {});
}

} // namespace

UmockdevBus::UmockdevBus()
{
    using virtualusb::Function;
    add_other("1-1", Function::Vendor, "Example", "Card Reader");
    add_other("1-2", Function::Audio, "Example", "Headset");
    m_bed.add_hub({hub_place, m_next_address++});
    add_other("1-4", Function::Audio, "Velmar", "KD-MX2");
    add_other("1-5", Function::Audio, "VELMAR", "Monitor");
    add_other("1-6", Function::Audio, "VELMAR Audio", "KD-MX2");
    add_other("1-7", Function::Vendor, "VELMAR", "KD-MX2");
}

void UmockdevBus::add_other(const char *place, virtualusb::Function function, const char *manufacturer,
                            const char *product)
{
    auto device =
        std::make_unique<virtualusb::Device>(virtualusb::foreign_description(function, manufacturer, product), nullptr);
    m_bed.add({place, m_next_address++}, *device);
    m_others.push_back(std::move(device));
}

bool UmockdevBus::add_unit(const std::string &script, std::string *error)
{
    if (m_units.size() == std::size(unit_places)) {
        *error = "too many units";
        return false;
    }
    Unit &unit = m_units.emplace_back();
    unit.place.name = unit_places[m_units.size() - 1];
    unit.serial = std::to_string(m_units.size());
    virtualunit_init(&unit.model);
    if (!virtualscript::apply(script, &unit.model, error))
        return false;
    plug(&unit);
    return true;
}

/// The unit appears where it was, under another address.
void UmockdevBus::plug(Unit *unit)
{
    unit->device =
        std::make_unique<virtualusb::Device>(virtualusb::unit_description(unit->model, unit->serial), &unit->model);
    configure(unit->device.get());
    unit->place.address = m_next_address++;
    m_bed.add(unit->place, *unit->device);
    m_bed.set_mode(unit->place, mode_for(m_permitted));
    unit->node = &m_nodes.emplace_back(m_bed.testbed(), UmockdevBed::node(unit->place), unit->place.address,
                                       unit->device.get(), [this, unit] { pulled_out(unit); });
}

void UmockdevBus::unplug(Unit *unit)
{
    unit->node->unplug();
    unit->node = nullptr;
    m_bed.remove(unit->place, *unit->device);
}

/// By script, during a transfer. The model counts how long the fault lasts in transfers, which nobody makes without a
/// unit: they are counted here.
void UmockdevBus::pulled_out(Unit *unit)
{
    unplug(unit);
    const std::span<const virtualunit_fault_t> script(unit->model.faults, unit->model.fault_count);
    const bool for_ever = std::any_of(script.begin(), script.end(), [](const virtualunit_fault_t &fault) {
        return fault.kind == VIRTUALUNIT_FAULT_UNPLUG && fault.count == VIRTUALUNIT_FOREVER;
    });
    if (for_ever)
        return;
    while (virtualunit_is_plugged(&unit->model) == 0)
        virtualunit_skip(&unit->model);
    plug(unit);
}

void UmockdevBus::permit(bool permitted)
{
    m_permitted = permitted;
    for (const Unit &unit : m_units) {
        if (unit.node != nullptr)
            m_bed.set_mode(unit.place, mode_for(permitted));
    }
}

std::string UmockdevBus::obey(std::string_view line)
{
    const std::string_view verb = take_word(&line);
    if (verb == "forbid" || verb == "permit") {
        permit(verb == "permit");
        return "ok";
    }
    return obey_for_unit(verb, line);
}

std::string UmockdevBus::obey_for_unit(std::string_view verb, std::string_view arguments)
{
    const std::optional<unsigned> which = number(take_word(&arguments));
    if (!which || *which >= m_units.size())
        return "there is no such unit";
    Unit *const unit = &m_units[*which];
    if (verb == "reset")
        return reset(unit, arguments);
    if (verb == "plug" && unit->node == nullptr)
        plug(unit);
    else if (verb == "unplug" && unit->node != nullptr)
        unplug(unit);
    else
        return "this cannot be done now";
    return "ok";
}

std::string UmockdevBus::reset(Unit *unit, std::string_view script)
{
    // The device's own texts may be others afterwards: it is another one for the host.
    if (unit->node != nullptr)
        unplug(unit);
    std::string error;
    virtualunit_init(&unit->model);
    if (!virtualscript::apply(script, &unit->model, &error))
        return error;
    plug(unit);
    return "ok";
}
