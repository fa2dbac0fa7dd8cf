#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// What a client has asked for.
struct Request
{
    std::string port; ///< name of the port it came to
    std::string method;
    std::string target; ///< as sent: path and query
    std::string path;
    std::map<std::string, std::string> query; ///< percent-decoded
    std::vector<std::pair<std::string, std::string>> fields; ///< of the header, in order

    /// A text from the query, or the other one.
    std::string text(const std::string &name, const std::string &otherwise = {}) const;

    /// A number from the query, or the other one.
    std::uint64_t number(const std::string &name, std::uint64_t otherwise) const;
};

/// Takes a target apart into path and query.
void split_target(Request &request);
