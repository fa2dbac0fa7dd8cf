#include "hints.h"

namespace hints {

const char *no_unit()
{
    return "Connect the unit by USB, switch it on and try again. \"lsusb\" lists what the system sees.";
}

const char *no_permission()
{
    return "Install the udev rule that comes with the panel (70-kd-mx.rules in /usr/lib/udev/rules.d), then "
           "unplug the unit and plug it in again. It lets the person at this computer use the unit.";
}

} // namespace hints
