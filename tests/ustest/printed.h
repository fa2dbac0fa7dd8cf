#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

/// A text with "#" for the line numbers of diagnostic lines.
inline std::string without_line_numbers(const std::string &text)
{
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        result += text[at];
        if (!result.ends_with(".cpp:") && !result.ends_with("ERROR : "))
            continue;
        result += '#';
        while (at + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[at + 1])) != 0)
            ++at;
    }
    return result;
}

/// Everything a call prints on standard output, with "#" for the line numbers.
template <typename Call>
std::string printed(Call call)
{
    testing::internal::CaptureStdout();
    call();
    return without_line_numbers(testing::internal::GetCapturedStdout());
}
