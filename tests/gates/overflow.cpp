#include <limits>

int main(int argc, char **)
{
    // Volatile, or the compiler sees through it.
    volatile int largest = std::numeric_limits<int>::max();
    return largest + argc == 0 ? 1 : 0;
}
