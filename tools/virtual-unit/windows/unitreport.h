#pragma once

#include "unitcontrol.h"

#include <string>

/// What a unit holds, as lines for people and for scripts: "NAME VALUE", channels and routes one a line.
std::string unitreport(const unitcontrol_state_t &state);
