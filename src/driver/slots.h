// The parent's child slots: which child runs in which, and how its lines are read.
//
//   slot     children                                                lines
//   0 to 3   the methods snmp, snmp6, slp, nodeq                     device lines
//   4        the method nodeq6, which finds nothing; once it has     description lines
//            ended, description and inquiry children
//   5, 6     description and inquiry children                        description lines
//   7 to 11  with --quick or --thorough, description and inquiry     description lines
//            children; else none
//   12 on    further methods                                         device lines
#pragma once

#include "driver/method.h"

#include <string_view>

constexpr int FIRST_DESC_SLOT = 4;
constexpr int LAST_DESC_SLOT = 6;
constexpr int LAST_QUICK_SLOT = 11;

constexpr int count_slots()
{
    int count = LAST_QUICK_SLOT + 1;
    for (const method &m : METHODS)
        count = m.slot < count ? count : m.slot + 1;
    return count;
}

constexpr int CHILD_SLOT_COUNT = count_slots();

/// Index of the method whose child runs in the slot; METHOD_COUNT: none.
constexpr size_t slot_method(int slot)
{
    size_t i = 0;
    while (i < METHOD_COUNT && METHODS[i].slot != slot)
        ++i;
    return i;
}

/// Whether description and inquiry children may run in the slot.
constexpr bool is_desc_slot(int slot, bool quick)
{
    return slot >= FIRST_DESC_SLOT && slot <= (quick ? LAST_QUICK_SLOT : LAST_DESC_SLOT);
}

/// Whether the parent describes or inquires the devices that are reported from the slot.
constexpr bool asks_devices(int slot)
{
    const size_t found_by = slot_method(slot);
    return found_by != METHOD_COUNT && METHODS[found_by].asks_devices;
}

/// Whether the lines from the slot are device lines; else they are description lines.
constexpr bool carries_device_lines(int slot)
{
    return slot_method(slot) != METHOD_COUNT && !is_desc_slot(slot, true);
}

/// Whether every method has a slot of its own in which its device lines are read as such. nodeq6
/// may share one with the description children: it prints no device line.
constexpr bool methods_fit_slots()
{
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        const method &m = METHODS[i];
        if (m.slot < 0 || slot_method(m.slot) != i)
            return false;
        if (!carries_device_lines(m.slot) && std::string_view(m.word) != "nodeq6")
            return false;
    }
    return true;
}

static_assert(methods_fit_slots(), "two methods in one slot, or one in a description slot");
