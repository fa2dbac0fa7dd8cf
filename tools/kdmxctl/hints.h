#pragma once

/**
 * What a person can do about a unit that cannot be reached, on this system.
 */
namespace hints {

const char *no_unit();
const char *no_permission();

} // namespace hints
