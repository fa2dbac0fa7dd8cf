#include <QThread>

#include <cstdio>

namespace {

// Long enough for both threads to be at it at the same time.
constexpr int rounds = 10;

void count(int &number)
{
    for (int round = 0; round < rounds; ++round) {
        ++number;
        QThread::msleep(1);
    }
}

class Counter : public QThread
{
public:
    explicit Counter(int &number)
        : m_number(number)
    {
    }

    void run() override { count(m_number); }

private:
    int &m_number;
};

} // namespace

int main()
{
    int shared = 0;
    Counter counter(shared);
    counter.start();
    count(shared);
    counter.wait();
    std::printf("%d\n", shared);
}
