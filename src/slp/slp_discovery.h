// Printers that announce themselves through the Service Location Protocol.
#pragma once

#include "records/device_list.h"

#include <cstdint>

/// Searches for services of the type "service:printer" and records each printer's address and
/// print protocols in `list`. Returns 0, or the SLP library's negative code when the search
/// failed; what was found before stays in the list. A library that cannot be opened and a search
/// that cannot be made or goes wrong are reported on standard output.
int32_t discover_using_slp(device_list *list);

/// Reads a service URL such as service:printer:lpr://192.168.1.20:515/queue into `scratch`, a
/// zeroed record: the first 15 characters of the host (it may be empty) into `ip`, and the flag of
/// the protocol, any text that begins with ipp, lpr or raw-tcp; other protocols have no flag.
/// Returns 0, or -1 without a URL, without "service:printer:" or without "://" in it; `scratch`
/// then means nothing.
int parse_slp_printer_url(const char *url, device_record *scratch);

/// Sets in `listed` the protocol flags that are set in `scratch`, and `slp_detected` with any of
/// them. Clears nothing.
void merge_slp_flags(device_record *listed, const device_record *scratch);
