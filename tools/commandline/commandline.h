#pragma once

#include <string>
#include <vector>

namespace commandline {

/// The arguments of the program in UTF-8, without its name.
std::vector<std::string> arguments(int count, char **values);

/// Lets a console show the UTF-8 that the program prints, while the object lives. On Windows that is a setting of the
/// console, which outlives the program unless it is put back; elsewhere there is none.
class Utf8Console
{
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console &) = delete;
    Utf8Console &operator=(const Utf8Console &) = delete;

private:
    [[maybe_unused]] unsigned m_before = 0;
};

} // namespace commandline
