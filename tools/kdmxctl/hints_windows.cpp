#include "hints.h"

namespace hints {

const char *no_unit()
{
    return "Connect the unit by USB and switch it on. If it still is not found, install the KD-MX Series driver.";
}

const char *no_permission()
{
    return "Install the KD-MX Series driver again, or ask an administrator of this computer to do so.";
}

} // namespace hints
