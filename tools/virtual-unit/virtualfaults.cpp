#include "virtualfaults.h"

#include "usmsg.h"
#include "virtualbytes.h"
#include "virtualelements.h"

namespace virtualfaults {

namespace {

bool is_active(const virtualunit_fault_t &fault, uint32_t transfer)
{
    if (transfer < fault.first)
        return false;
    return fault.count == VIRTUALUNIT_FOREVER || transfer - fault.first < fault.count;
}

} // namespace

virtualunit_fault_t of_transfer(const virtualunit_t *unit, uint32_t transfer)
{
    virtualunit_fault_t found = {VIRTUALUNIT_FAULT_NONE, 0, 0, 0};
    for (uint32_t index = 0; index < unit->fault_count; ++index) {
        const virtualunit_fault_t &fault = unit->faults[index];
        if (!is_active(fault, transfer))
            continue;
        // Nothing else can happen to a unit that is not there.
        if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG)
            return fault;
        if (found.kind == VIRTUALUNIT_FAULT_NONE)
            found = fault;
    }
    return found;
}

bool is_pulled_out(const virtualunit_t *unit)
{
    for (uint32_t index = 0; index < unit->fault_count; ++index) {
        const virtualunit_fault_t &fault = unit->faults[index];
        // In the first transfer of the fault it is still there, to be pulled out.
        if (fault.kind == VIRTUALUNIT_FAULT_UNPLUG && unit->transfers != fault.first
            && is_active(fault, unit->transfers))
            return true;
    }
    return false;
}

virtualunit_result_t result_of(uint32_t kind)
{
    switch (kind) {
    case VIRTUALUNIT_FAULT_STALL:
        return VIRTUALUNIT_STALLED;
    case VIRTUALUNIT_FAULT_LATE:
        return VIRTUALUNIT_LATE;
    case VIRTUALUNIT_FAULT_HARD:
        return VIRTUALUNIT_FAILED;
    case VIRTUALUNIT_FAULT_UNPLUG:
        return VIRTUALUNIT_GONE;
    default:
        return VIRTUALUNIT_OK;
    }
}

void garble(uint32_t transfer, uint8_t *block)
{
    constexpr uint8_t unknown_id = 0xEE;
    static constexpr uint8_t beginnings[][6] = {
        // Invalid types.
        {USMSG_ID_HZ, 6, 1, 2, 3, 4},
        {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
        {unknown_id, USMSG_DATA_TYPE_U8, 1, USMSG_ID_READY, 200, 1},
        {USMSG_ID_END, USMSG_DATA_TYPE_NONE, USMSG_ID_FW_ROOM, 7, 0, 0},
        // Strings that are longer than the block, or leave too little of it for the next element.
        {USMSG_ID_PRODUCTNAME, USMSG_DATA_TYPE_BYTES, 255, 'K', 'D', '-'},
        {unknown_id, USMSG_DATA_TYPE_BYTES, virtualelements::largest_text, 'K', 'D', '-'},
    };
    static constexpr uint8_t ending[] = {USMSG_ID_HZ, USMSG_DATA_TYPE_U32, 0xFF};
    uint32_t noise = transfer;
    for (uint32_t index = 0; index < VIRTUALUNIT_BLOCK_SIZE; ++index) {
        noise = noise * 1664525 + 1013904223;
        block[index] = static_cast<uint8_t>(noise >> 24);
    }
    const uint8_t(&beginning)[6] = beginnings[transfer % (sizeof(beginnings) / sizeof(beginnings[0]))];
    virtualbytes::copy(block, beginning, sizeof(beginning));
    virtualbytes::copy(block + VIRTUALUNIT_BLOCK_SIZE - sizeof(ending), ending, sizeof(ending));
}

} // namespace virtualfaults
