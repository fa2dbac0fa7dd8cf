#include "headerfile.h"

#include "markdown.h"

#include <regex>

namespace headerfile {

std::vector<Entry> entries(const std::string &beginning)
{
    static const std::vector<std::string> lines = markdown::lines_of(KDMX_MESSAGE_HEADER);
    const std::regex enumerator("\\s+" + beginning + "(\\w+) = (\\w+),(?: ///< (.*))?");
    std::vector<Entry> found;
    for (const std::string &line : lines) {
        std::smatch match;
        if (std::regex_match(line, match, enumerator))
            found.push_back({match[1], static_cast<uint32_t>(std::stoul(match[2], nullptr, 0)), match[3]});
    }
    return found;
}

} // namespace headerfile
