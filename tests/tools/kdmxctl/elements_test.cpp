#include "elements.h"
#include "headerfile.h"
#include "usmsg.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

// The names of the elements, held against all identifiers that there are.

TEST(ElementNames, thereIsOneOfItsOwnForEachElement)
{
    const std::vector<headerfile::Entry> entries = headerfile::entries("USMSG_ID_");
    ASSERT_FALSE(entries.empty());
    std::set<std::string> names;
    for (const headerfile::Entry &entry : entries) {
        // The end of a message is read as no element.
        if (entry.value == USMSG_ID_END)
            continue;
        const std::string name = kdmxctl::element_name(entry.value);
        EXPECT_FALSE(name.starts_with("element ")) << "USMSG_ID_" << entry.name << " has no name";
        EXPECT_TRUE(names.insert(name).second) << "USMSG_ID_" << entry.name << " shares the name \"" << name << '"';
    }
}
