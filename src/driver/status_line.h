// The line that tells how far a parent is: on standard error, where that is a terminal.
#pragma once

#include "driver/parent_run.h"

#include <cstdint>

/// Brings the status line up to date: the methods still at work, the devices so far, and the
/// descriptions or inquiries still to come. Where nothing has changed, where standard error is no
/// terminal, and in the background nothing is written. A long queue is told of once, with the
/// option that makes it shorter. Returns the microseconds after which it wants to be called again,
/// because a change has come too early to be shown; -1: there is none.
int64_t show_status(const parent_run *run);

/// Erases the status line. The next call of `show_status` writes it again.
void erase_status();

/// The same before something is printed on standard output, if that goes to a terminal as well.
void make_way_for_output();
