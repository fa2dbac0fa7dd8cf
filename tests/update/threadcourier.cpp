#include "threadcourier.h"

void ThreadCourier::carry(const std::function<void()> &function)
{
    m_function = &function;
    // By name: a function pointer would be handed over in memory of its own.
    QMetaObject::invokeMethod(this, "run", Qt::BlockingQueuedConnection);
    m_function.load();
}

void ThreadCourier::run()
{
    (*m_function.load())();
    m_function = nullptr;
}
