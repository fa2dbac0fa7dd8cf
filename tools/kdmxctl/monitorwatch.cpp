#include "monitorwatch.h"

#include "elements.h"
#include "session.h"

#include <utility>

namespace kdmxctl {

namespace {

/// What an error says about the unit.
UnitStatus status_of_error(uint32_t error)
{
    switch (failure_of(error).code) {
    case ExitCode::NoUnit:
        return UnitStatus::NoUnit;
    case ExitCode::NoPermission:
        return UnitStatus::NoPermission;
    case ExitCode::Busy:
        return UnitStatus::InUse;
    case ExitCode::Mute:
        return UnitStatus::NotResponding;
    default:
        return UnitStatus::Failed;
    }
}

/// What a block says about the unit.
UnitStatus status_of_block(const uswatch_transfer_t &transfer)
{
    if (transfer.length != USMSG_MAX_SIZE)
        return UnitStatus::Failed;
    bool is_ready = true;
    for (const Element &element : decode(transfer.data, transfer.length).elements) {
        if (element.id == USMSG_ID_READY)
            is_ready = element.number != 0;
    }
    return is_ready ? UnitStatus::Connected : UnitStatus::Busy;
}

} // namespace

MonitorWatch::MonitorWatch(TraceWriter *trace, std::function<void(UnitStatus)> ended)
    : m_trace(trace)
    , m_ended(std::move(ended))
{
    uswatch_add(&m_watch);
}

MonitorWatch::~MonitorWatch()
{
    uswatch_remove(&m_watch);
}

void MonitorWatch::moved(void *context, const uswatch_transfer_t *transfer)
{
    const auto *const watch = static_cast<const MonitorWatch *>(context);
    // A transfer that was called off at the end says nothing about the unit.
    if (transfer->error == USPLATFORM_ERROR_CANCELLED)
        return;
    if (watch->m_trace != nullptr)
        watch->m_trace->write(step_of(*transfer));
    if (transfer->error != 0)
        watch->m_ended(status_of_error(transfer->error));
    else if (transfer->kind == uswatch_transfer_t::READ)
        watch->m_ended(status_of_block(*transfer));
}

} // namespace kdmxctl
