#include "request.h"

#include <sstream>

namespace {

std::string percent_decoded(const std::string &text)
{
    constexpr std::size_t escape_size = 3;
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + escape_size <= text.size()) {
            decoded += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += escape_size - 1;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

} // namespace

std::string Request::text(const std::string &name, const std::string &otherwise) const
{
    const auto found = query.find(name);
    return found == query.end() ? otherwise : found->second;
}

std::uint64_t Request::number(const std::string &name, std::uint64_t otherwise) const
{
    const auto found = query.find(name);
    return found == query.end() ? otherwise : std::stoull(found->second);
}

void split_target(Request &request)
{
    const std::size_t mark = request.target.find('?');
    request.path = request.target.substr(0, mark);
    if (mark == std::string::npos)
        return;
    std::istringstream parts(request.target.substr(mark + 1));
    for (std::string part; std::getline(parts, part, '&');) {
        const std::size_t equals = part.find('=');
        const std::string value = equals == std::string::npos ? std::string() : part.substr(equals + 1);
        request.query[part.substr(0, equals)] = percent_decoded(value);
    }
}
