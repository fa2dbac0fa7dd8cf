#pragma once

#include <string>
#include <vector>

namespace commandline {

/// The arguments of the program in UTF-8, without its name.
std::vector<std::string> arguments(int count, char **values);

/// Lets the console show UTF-8, where it has an encoding of its own. @return what to give to restore_console()
unsigned show_utf8();

/// Gives the console the encoding back that it had: it would keep the other beyond the end of the program.
void restore_console(unsigned before);

/// Lets the console show UTF-8 while the object lives.
class Utf8Console
{
public:
    Utf8Console() = default;
    ~Utf8Console() { restore_console(m_before); }
    Utf8Console(const Utf8Console &) = delete;
    Utf8Console &operator=(const Utf8Console &) = delete;

private:
    unsigned m_before = show_utf8();
};

} // namespace commandline
