#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * Installs virtual units and removes them, as a driver's installer does: through the system's device installation.
 * Needs an administrator's rights, which everybody has under Wine.
 *
 * Units have numbers from 0 to unitinstaller::numbers - 1; the system lists them in this order.
 */
namespace unitinstaller {

inline constexpr uint32_t numbers = 10;

/// What a unit is to programs.
enum class Variant {
    Unit, ///< one that they find
    OtherLetters, ///< its service's name is written in other letters
    HeaderCategory, ///< it stands in the category that the system's headers call by the same name
};

/**
 * Installs a unit, or makes an installed one anew: it is then as it left the factory. Waits until it is there.
 *
 * @param folder  where kd-mx.inf and kd-mx.sys are; empty for the folder of this program
 * @param error   receives what the system refused, in words; unchanged on success
 */
bool install(const std::wstring &folder, uint32_t number, Variant variant, std::string *error);

/// Removes a unit. With the last one the driver goes too.
bool remove(uint32_t number, std::string *error);

/// The numbers of the installed units, in order.
std::vector<uint32_t> installed();

/// The service name of an installed unit; empty when there is none.
std::wstring service(uint32_t number);

} // namespace unitinstaller
