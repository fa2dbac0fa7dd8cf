#pragma once

#include "umockdevbed.h"
#include "umockdevnode.h"
#include "virtualusb.h"

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/**
 * A USB bus with virtual units on it, among other devices: some that have nothing to do with them, and some that
 * resemble them, so that a program whose rule is a little too wide takes the wrong one.
 *
 * One in a process, on the thread of the default main context.
 */
class UmockdevBus
{
public:
    UmockdevBus();

    /**
     * Adds a unit, at the next place in the order of places; four at most.
     *
     * @param script  see virtualscript.h
     * @param error   receives what is wrong, in words
     * @return whether the unit is there now
     */
    bool add_unit(const std::string &script, std::string *error);

    /// Whether the user may use the units, from now on.
    void permit(bool permitted);

    /**
     * Carries out a line: "reset N SCRIPT", "unplug N", "plug N", "forbid" or "permit".
     *
     * @return "ok", or what is wrong with it
     */
    std::string obey(std::string_view line);

private:
    struct Unit
    {
        virtualunit_t model = {};
        std::unique_ptr<virtualusb::Device> device;
        UmockdevBed::Place place;
        std::string serial;
        UmockdevNode *node = nullptr; ///< null while it is not plugged in
    };

    void add_other(const char *place, virtualusb::Function function, const char *manufacturer, const char *product);
    std::string obey_for_unit(std::string_view verb, std::string_view arguments);
    std::string reset(Unit *unit, std::string_view script);
    void plug(Unit *unit);
    void unplug(Unit *unit);
    void pulled_out(Unit *unit);

    UmockdevBed m_bed;
    unsigned m_next_address = 2;
    bool m_permitted = true;
    std::vector<std::unique_ptr<virtualusb::Device>> m_others;
    std::deque<Unit> m_units;

    /// Those of units that were pulled out stay: a program may still have them open.
    std::deque<UmockdevNode> m_nodes;
};
