#include "headerfile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

namespace headerfile {

std::vector<Entry> entries(const std::string &beginning)
{
    std::ifstream header(KDMX_MESSAGE_HEADER);
    EXPECT_TRUE(header.is_open()) << KDMX_MESSAGE_HEADER;
    const std::regex enumerator("\\s+" + beginning + "(\\w+) = (\\w+),(?: ///< (.*))?");
    std::vector<Entry> found;
    for (std::string line; std::getline(header, line);) {
        std::smatch match;
        if (std::regex_match(line, match, enumerator))
            found.push_back({match[1], static_cast<uint32_t>(std::stoul(match[2], nullptr, 0)), match[3]});
    }
    return found;
}

} // namespace headerfile
