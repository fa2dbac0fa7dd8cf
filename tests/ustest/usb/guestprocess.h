#pragma once

#include <functional>
#include <string>
#include <vector>

/// Who a process runs as. Zeroed, root.
struct GuestUser
{
    bool is_ordinary = false; ///< nobody in particular, without rights
    std::string group; ///< that an ordinary user is in; empty for none but the user's own
};

struct GuestEnd
{
    int status = 0; ///< exit status; 250 when the process could not begin, 251 when a signal ended it
    std::string output; ///< its standard output
};

/// Runs a function in a process of its own; its result is the exit status.
GuestEnd run_as(const GuestUser &user, const std::function<int()> &function);

/// Runs a program of the folder that the tests are in, the first word, with arguments. Its messages are dropped.
GuestEnd run_program(const GuestUser &user, const std::vector<std::string> &words);

/// A program that runs beside the test; it is asked to end when the object goes, if it has not ended by then.
class GuestProgram
{
public:
    explicit GuestProgram(const std::vector<std::string> &words);
    ~GuestProgram();
    GuestProgram(const GuestProgram &) = delete;
    GuestProgram &operator=(const GuestProgram &) = delete;

    /// Asks it to end as Ctrl-C does, and waits. Returns its exit status as GuestEnd has it.
    int interrupt();

private:
    int m_process;
};
