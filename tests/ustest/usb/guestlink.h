#pragma once

#include "usbdevs_win.h"

#include <algorithm>
#include <string>

/// The link as its owner uses it: a list, and the unit that was found with it.
struct GuestLink
{
    usdev_list_t list = {};
    usdev_t *unit = nullptr;

    GuestLink() { find(); }

    /// Looks for the unit as at start-up. Keeps the address of the slot, as an owner that goes on with it does.
    bool find()
    {
        usdev_list_init(&list);
        usdev_t *found = nullptr;
        const bool is_found = usdev_list_next(&list, &found) == 0;
        unit = is_found ? found : unit;
        return is_found;
    }

    /// Where the unit was found, in ASCII.
    std::string path() const
    {
        std::string text;
        if (unit != nullptr) {
            const std::u16string path = unit->path;
            std::transform(path.begin(), path.end(), std::back_inserter(text),
                           [](char16_t letter) { return static_cast<char>(letter); });
        }
        return text;
    }
};
