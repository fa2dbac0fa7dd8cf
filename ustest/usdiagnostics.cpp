#include "usdiagnostics.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace usdiagnostics {

namespace {

bool is_high_surrogate(char16_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool is_low_surrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

/// Takes one code point from the text and moves it on.
char32_t next_code_point(const char16_t **text)
{
    const char16_t unit = *(*text)++;
    if (is_high_surrogate(unit) && is_low_surrogate(**text))
        return 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (*(*text)++ - 0xDC00);
    return is_high_surrogate(unit) || is_low_surrogate(unit) ? U'\uFFFD' : unit;
}

void append_utf8(std::string *bytes, char32_t code_point)
{
    const auto tail = [&](int shift) { *bytes += static_cast<char>(0x80 | ((code_point >> shift) & 0x3F)); };
    if (code_point < 0x80) {
        *bytes += static_cast<char>(code_point);
    } else if (code_point < 0x800) {
        *bytes += static_cast<char>(0xC0 | (code_point >> 6));
        tail(0);
    } else if (code_point < 0x10000) {
        *bytes += static_cast<char>(0xE0 | (code_point >> 12));
        tail(6);
        tail(0);
    } else {
        *bytes += static_cast<char>(0xF0 | (code_point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

} // namespace

int print_error(const char *module, int line)
{
    std::printf("%s:%d:ERROR\n", module, line);
    return 1;
}

void print_wide_error(int line)
{
    std::printf("ERROR : %d\n", line);
}

void print_wide(const char16_t *format)
{
    std::string text;
    while (*format != 0) {
        const char32_t code_point = next_code_point(&format);
        // No argument comes with the format: a lone "%" is printed as it is instead of reading one.
        if (code_point == U'%' && *format == u'%')
            ++format;
        append_utf8(&text, code_point);
    }
    std::fputs(text.c_str(), stdout);
}

} // namespace usdiagnostics
