// Merging the lines that children print into the parent's device list.
#pragma once

#include "driver/child_process.h"
#include "driver/desc_queue.h"
#include "driver/records/device_list.h"

#include <cstddef>
#include <cstdint>

/// What a line is merged into, and the settings that decide how.
struct merge_target {
    device_list *devices;
    desc_queue *queue;
    child_slot *slots;
    int scanner;     ///< nonzero: inquire scanners instead of describing printers
    int debug_level; ///< above 0: prints what a record held before each description line
};

/// Merges a line of a discovery child. The address of a device that an SNMP child (slot 0 or 1)
/// reports is queued while its record holds no real description. Lines without a device are
/// ignored. The line is cut while it is read.
void merge_discovery_line(const merge_target *target, char *line, int slot);

/// Merges a line of a description or inquiry child: a description, an error that marks the device
/// unreachable, or a hex line of the scanner inquiry block of the slot's address. Any other line
/// is ignored. The line is cut while it is read.
void merge_desc_line(const merge_target *target, char *line, int slot);

/// Decodes pairs of hex digits up to the text's end or its line feed, at most `maximum` bytes.
/// Blanks between pairs are passed over; a character that is no hex digit inside a pair drops the
/// half pair. Returns the bytes written.
size_t hex_to_bytes(uint8_t *destination, size_t maximum, const char *text);

/// Turns the first "#" of every description into a blank.
void finish_descriptions(device_list *devices);
