// Whether the interface that the command line names can be asked.
#pragma once

/// Returns 0 where it can be asked or none is named, else -1, after standard error has been told.
int check_chosen_interface();
