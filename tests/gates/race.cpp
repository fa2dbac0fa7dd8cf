#include <QThread>

#include <cstdio>
#include <memory>

int main()
{
    int shared = 0;
    const std::unique_ptr<QThread> thread(QThread::create([&shared] { ++shared; }));
    thread->start();
    ++shared;
    thread->wait();
    std::printf("%d\n", shared);
}
