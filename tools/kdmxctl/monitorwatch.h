#pragma once

#include "monitorstate.h"
#include "trace.h"
#include "uswatch.h"

#include <functional>

namespace kdmxctl {

/**
 * Sees how each transfer went: the device object only tells that one failed, not why.
 *
 * Make it, and destroy it, while no thread is in the link.
 */
class MonitorWatch
{
public:
    /**
     * @param trace  takes every transfer; may be null
     * @param ended  called after each transfer, on the thread that made it
     */
    MonitorWatch(TraceWriter *trace, std::function<void(UnitStatus)> ended);
    ~MonitorWatch();
    MonitorWatch(const MonitorWatch &) = delete;
    MonitorWatch &operator=(const MonitorWatch &) = delete;

private:
    static void moved(void *context, const uswatch_transfer_t *transfer);

    uswatch_t m_watch = {this, moved, nullptr};
    TraceWriter *m_trace;
    std::function<void(UnitStatus)> m_ended;
};

} // namespace kdmxctl
