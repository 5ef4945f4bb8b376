// The parent's loop: reads the children in turn until the last one has ended.
#pragma once

#include "driver/merge.h"

/// Reads at most one line from each child in turn and merges it, starts the queued description
/// children as slots come free, and returns when no child is left and no address is waiting, or
/// when the process is interrupted. Until then it shows the status line. `program` is the path that
/// children are started by; `quick` runs more description children at once, each of which ends with
/// its first answer.
void merge_child_output(const merge_target *target, const char *program, bool quick);
