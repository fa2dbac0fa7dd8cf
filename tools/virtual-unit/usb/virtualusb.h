#pragma once

#include "virtualunit.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/**
 * The virtual unit as a USB device: its descriptors and what it answers on endpoint 0.
 *
 * It is a high-speed device with a full USB Audio Class 2 function (isochronous playback and recording), so that the
 * system's sound driver takes hold of it as it does of the recorder. The unit's messages go beside that, as vendor
 * requests addressed to the device. Nothing here knows how the device is attached to a system.
 *
 * One thread at a time. No function blocks.
 */
namespace virtualusb {

/// The vendor requests: each carries one message (host to unit) or one block (unit to host), with value and index 0.
inline constexpr uint8_t write_request = 29;
inline constexpr uint8_t read_request = 30;

/// Endpoint addresses of the audio function.
inline constexpr uint8_t playback_endpoint = 0x01;
inline constexpr uint8_t recording_endpoint = 0x81;

/// The eight bytes that open a control transfer.
struct Setup
{
    uint8_t request_type = 0; ///< direction, type and recipient
    uint8_t request = 0;
    uint16_t value = 0;
    uint16_t index = 0;
    uint16_t length = 0; ///< of the data that follows, in bytes
};

/// Reads a setup packet from its eight bytes on the wire.
Setup setup_from(std::span<const uint8_t, 8> bytes);

/// Whether the data of a control transfer go to the host.
bool is_to_host(const Setup &setup);

/// What comes of a control transfer.
enum class Outcome {
    Done,
    Stalled, ///< the device refuses; the host may go on with other transfers
    Late, ///< the device answers after the host's time-out only
    Failed, ///< the transfer broke on the bus
    Gone, ///< the device was pulled out during the transfer
};

struct Reply
{
    Outcome outcome = Outcome::Stalled;
    std::vector<uint8_t> data; ///< to the host; at most as many bytes as the setup packet asked for
};

/// What a device is for.
enum class Function {
    Audio, ///< plays and records
    Vendor, ///< something of its maker's own, without audio
};

/// What tells one device from another. Only the first 126 bytes of a text count, and what is not ASCII becomes "?".
struct Description
{
    Function function = Function::Audio;
    uint16_t vendor_id = 0;
    uint16_t product_id = 0;
    uint16_t release = 0x0100; ///< of the device, in binary coded decimals
    std::string manufacturer;
    std::string product;
    std::string serial;
};

/// The description of a recorder: its product name comes from the model, the serial number from the caller.
Description unit_description(const virtualunit_t &unit, const std::string &serial);

/// The description of another maker's device, for tests that must tell them apart.
Description foreign_description(Function function, const std::string &manufacturer, const std::string &product);

class Device
{
public:
    /**
     * @param unit  answers the vendor requests; must live as long as the device; null for a device that has none and
     *              stalls them
     */
    Device(const Description &description, virtualunit_t *unit);

    /// The descriptors as the host reads them.
    const std::vector<uint8_t> &device_descriptor() const { return m_device_descriptor; }
    const std::vector<uint8_t> &configuration_descriptor() const { return m_configuration_descriptor; }
    const Description &description() const { return m_description; }

    /**
     * Performs one control transfer.
     *
     * @param out  the data of a transfer to the device; setup.length bytes, empty for one to the host
     */
    Reply control(const Setup &setup, std::span<const uint8_t> out);

    /// Whether the host has switched the playback stream on, or the recording stream.
    bool is_playing() const { return m_alternate_settings[1] == 1; }
    bool is_recording() const { return m_alternate_settings[2] == 1; }

    /// The rate of the audio clock in Hz: the unit's own, or that of a device without a unit.
    uint32_t sample_rate() const { return m_unit ? m_unit->hz : m_sample_rate; }

    /// Pulled out: the next host finds the device as it was after power-on.
    void reset();

private:
    Reply standard(const Setup &setup);
    Reply descriptor(const Setup &setup) const;
    Reply text(uint8_t number) const;
    Reply set_configuration(const Setup &setup);
    Reply set_interface(const Setup &setup);
    Reply get_interface(const Setup &setup) const;
    Reply audio_class(const Setup &setup, std::span<const uint8_t> out);
    Reply clock_frequency(const Setup &setup, std::span<const uint8_t> out);
    Reply vendor(const Setup &setup, std::span<const uint8_t> out);
    bool has_interface(uint16_t number) const;
    void set_sample_rate(uint32_t hz);

    Description m_description;
    virtualunit_t *m_unit;
    std::vector<uint8_t> m_device_descriptor;
    std::vector<uint8_t> m_configuration_descriptor;
    uint8_t m_configuration = 0; ///< 0 before the host has chosen one
    uint8_t m_alternate_settings[3] = {}; ///< of each interface
    uint32_t m_sample_rate = 48000;
};

} // namespace virtualusb
