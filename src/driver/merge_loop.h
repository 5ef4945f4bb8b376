// The parent's loop: reads the children in turn until the last one has ended.
#pragma once

#include "driver/parent_run.h"

/// Reads at most one line from each child in turn and merges it, starts the queued description
/// children as slots come free, and returns when no child is left and no address is waiting, or
/// when the process is interrupted. Until then it shows the status line.
void merge_child_output(parent_run *run);
