// Merging the lines that children print into the parent's device list.
#pragma once

#include "driver/parent_run.h"

/// Whether the record holds a description that not only nodeq has given.
bool has_real_description(const device_record *record);

/// Merges a line that the slot's child printed, as the slot's rule says. The line is cut while it
/// is read.
void merge_line(parent_run *run, char *line, int slot);

/// Merges a line of a discovery child. The address of a device that an SNMP child reports is
/// queued while its record holds no real description. Lines without a device are ignored.
void merge_discovery_line(parent_run *run, char *line, int slot);

/// Merges a line of a description or inquiry child: a description, an error that marks the device
/// unreachable, or a hex line of the scanner inquiry block of the slot's address. Any other line
/// is ignored. With a debug level above 0 it prints what a record held before each description.
void merge_desc_line(parent_run *run, char *line, int slot);

/// Turns the first "#" of every description into a blank.
void finish_descriptions(device_list *devices);
