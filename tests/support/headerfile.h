#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * The enumerators of usmsg.h, read from its text: tables of documents and programs are held against all of them, and a
 * new one cannot be forgotten.
 */
namespace headerfile {

struct Entry
{
    std::string name; ///< without the beginning that was asked for
    uint32_t value;
    std::string comment;
};

/// All enumerators whose names begin like this, in the header's order.
std::vector<Entry> entries(const std::string &beginning);

} // namespace headerfile
