#include <cstdio>

int main(int argc, char **)
{
    auto *lost = new int(argc);
    std::printf("%d\n", *lost);
    lost = nullptr;
    return lost == nullptr ? 0 : 1;
}
