#include <memory>

int main(int argc, char **)
{
    auto owner = std::make_unique<int>(argc);
    const int *const observer = owner.get();
    owner.reset();
    return *observer;
}
