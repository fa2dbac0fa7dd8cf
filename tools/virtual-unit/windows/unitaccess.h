#pragma once

#include "unitcontrol.h"

#include <cstdint>
#include <string>

/**
 * What unitcontrol.h offers of an installed unit. Each question is one I/O control; it blocks until the driver has
 * answered. Any thread, one at a time.
 */
class UnitAccess
{
public:
    /// Opens a unit by its number; is_open() tells whether there is one.
    explicit UnitAccess(uint32_t number);
    ~UnitAccess();
    UnitAccess(const UnitAccess &) = delete;
    UnitAccess &operator=(const UnitAccess &) = delete;

    bool is_open() const;

    /// Reads the unit and what the driver counts; false when the driver does not tell.
    bool read(unitcontrol_state_t *state) const;

    /// Replaces the unit by another one.
    bool write(const virtualunit_t &unit) const;

    /// Holds each further transfer in the driver, or lets all go.
    bool hold(bool is_holding) const;

private:
    void *m_handle;
};
