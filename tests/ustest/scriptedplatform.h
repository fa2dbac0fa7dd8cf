#pragma once

#include "usplatform.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/**
 * A platform made of what a test tells it: devices to enumerate, and one answer for each I/O control. It stands behind
 * the platform seam, so the link's real code runs against it. One at a time; the default platform is back when it goes.
 */
class ScriptedPlatform
{
public:
    struct Interface
    {
        std::u16string path;
        bool has_size = true;
        bool has_detail = true;
    };

    struct Device
    {
        std::u16string service;
        std::vector<Interface> interfaces;
        bool has_service = true;
        bool has_instance_id = true;
    };

    /// What the driver does with one I/O control.
    struct Answer
    {
        std::vector<uint8_t> bytes;
        uint32_t error = 0; ///< 0 is success
        std::optional<uint32_t> returned = std::nullopt; ///< the count reported, where it is not that of the bytes
    };

    /// One I/O control as the driver saw it.
    struct Request
    {
        std::u16string path;
        uint32_t code = 0;
        std::vector<uint8_t> in;
        uint32_t out_length = 0;
    };

    ScriptedPlatform();
    ~ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform &) = delete;
    ScriptedPlatform &operator=(const ScriptedPlatform &) = delete;

    std::vector<Device> devices;
    bool can_enumerate = true;
    bool can_allocate = true;
    uint32_t open_error = 0; ///< 0 lets paths be opened
    std::u16string error_text;

    /// Answers in order; when they are used up, `otherwise` answers.
    std::deque<Answer> answers;
    std::function<Answer(const Request &)> otherwise;

    std::vector<Request> requests;
    std::vector<std::u16string> opened;
    std::vector<uint32_t> sleeps;
    int enumerations = 0;

    /// Sets, handles and memory that were taken and not given back.
    int resources_in_use = 0;
};
