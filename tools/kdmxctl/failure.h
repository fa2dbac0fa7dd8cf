#pragma once

#include "exitcodes.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace kdmxctl {

/// Why a command ends without its result. Thrown by commands and caught in one place, never through the link's code.
struct Failure
{
    ExitCode code;
    std::string message; ///< whole sentences for people
    std::string hint = {}; ///< what to do about it; may be empty
    nlohmann::ordered_json details = nlohmann::ordered_json::object(); ///< further members of the error in JSON output
};

inline Failure bad_argument(std::string message)
{
    return {ExitCode::BadArgument, std::move(message)};
}

} // namespace kdmxctl
