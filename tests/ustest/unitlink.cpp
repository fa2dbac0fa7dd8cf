#include "unitlink.h"

#include <gtest/gtest.h>

UnitLink::UnitLink()
{
    virtualunit_init(&model);
    usplatform_use(virtualplatform::with(&model, virtualplatform::Pauses::Counted));
    usdev_list_init(&list);
    EXPECT_EQ(usdev_list_next(&list, &unit), 0);
}

UnitLink::~UnitLink()
{
    EXPECT_EQ(virtualplatform::open_handles(), 0U);
    usplatform_use(nullptr);
}

void UnitLink::add_fault(uint32_t kind, uint32_t first, uint32_t count, uint32_t parameter)
{
    EXPECT_EQ(virtualunit_add_fault(&model, {kind, first, count, parameter}), 0);
}

ReadEffect read_effect(uint32_t kind)
{
    switch (kind) {
    case VIRTUALUNIT_FAULT_BUSY:
        return ReadEffect::Busy;
    case VIRTUALUNIT_FAULT_MUTE:
    case VIRTUALUNIT_FAULT_STALE:
        return ReadEffect::Empty;
    case VIRTUALUNIT_FAULT_GARBLED:
        return ReadEffect::Lost;
    default:
        return ReadEffect::Fails;
    }
}

WriteEffect write_effect(uint32_t kind)
{
    switch (kind) {
    case VIRTUALUNIT_FAULT_STALL:
    case VIRTUALUNIT_FAULT_LATE:
        return WriteEffect::Again;
    case VIRTUALUNIT_FAULT_HARD:
    case VIRTUALUNIT_FAULT_UNPLUG:
    case VIRTUALUNIT_FAULT_GARBLED:
        return WriteEffect::Lost;
    default:
        return WriteEffect::None;
    }
}
