#include <ctime>

// ThreadSanitizer sets up what it knows of a thread's signals in the thread's first call that waits. A signal that
// arrives meanwhile is lost (GCC 12): one interrupt in fifteen, of a program that had just been heard from. So programs
// that are sent signals wait once before anybody can know that they run.

namespace {

[[gnu::constructor]] void wait_once()
{
    constexpr std::timespec moment = {.tv_sec = 0, .tv_nsec = 1};
    nanosleep(&moment, nullptr);
}

} // namespace
