// The scanner inquiry: asks one device for its 70-byte block over TCP.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr uint16_t INQUIRY_PORT = 9400;
constexpr uint8_t INQUIRY_COMMAND[] = {0x1B, 0xA8, 0x12, 0x00};

/// Asks the device at `ip` for its scanner inquiry block. `block` must hold 70 bytes, whatever
/// `size` says. Returns 1 when one read gave the whole block and it begins with SCAN_BLOCK_TAG,
/// else 0: then `block` may hold a partial or foreign reply. With --thorough the device is asked
/// anew every 0.15 s within 1 s.
int scanner_inquiry(const char *ip, uint8_t *block, size_t size, int debug_level);
