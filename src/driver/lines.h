// The lines that a child prints and its parent reads: device lines, description lines and the hex
// lines of a scanner inquiry block.
#pragma once

#include "records/device_list.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// What the parent takes for one line: at most 1023 characters. A longer line comes in pieces.
constexpr size_t PIPE_LINE_SIZE = 1024;

constexpr size_t HEX_LINE_BYTES = 16;
constexpr size_t BLOCK_LINES = (SCAN_BLOCK_SIZE + HEX_LINE_BYTES - 1) / HEX_LINE_BYTES;

/// What a device line says.
struct device_line {
    char ip[PIPE_LINE_SIZE];  ///< may be empty
    bool slp[4];              ///< detected, ipp, lpr, raw-tcp; false where they are not told
    bool has_snmp;            ///< whether `snmp` holds the three numbers
    uint8_t snmp[3];          ///< detected, device type, description
    const char *dsc;          ///< lies in the line; empty: no text; nullptr: the line ends before
    bool has_vendor;          ///< whether there is a vendor field
    char vendor[VENDOR_SIZE]; ///< its first word; empty: none that is whole
};

/// Prints the device's line, its texts as `printable_text` makes them; the record keeps what was
/// received.
void print_device_line(const device_record *record);

/// Reads a device line. Returns whether it is one: a line with "ip:" that is no comment. The line
/// is cut while it is read.
bool read_device_line(char *line, device_line *read);

/// What a description line says. The texts lie in the line.
struct description_line {
    const char *ip;
    const char *dsc;
    bool failed; ///< it reports an error: the device cannot be reached
};

/// Prints the line of a description child: `dsc` cut to what a record holds, `ip` and it filtered
/// in the same way, and `ip` then cut to 1023 bytes.
void print_description_line(const char *ip, const char *dsc);

/// Prints the line of a description child for an address that cannot be reached.
void print_unreachable_line(const char *ip);

/// Reads either line. Returns whether it is one, with a text; only then the line is cut.
bool read_description_line(char *line, description_line *read);

/// Prints `count` bytes as two hex digits each, 16 to a line. Without a stream or with a count
/// below 1 nothing is printed. Returns 0.
int print_hex_block(FILE *stream, const uint8_t *bytes, int count);

/// Whether the line looks like one of a hex block.
bool is_hex_line(const char *line);

/// Decodes pairs of hex digits up to the text's end or its line feed, at most `maximum` bytes.
/// Blanks between pairs are passed over; a character that is no hex digit inside a pair drops the
/// half pair. Returns the bytes written.
size_t hex_to_bytes(uint8_t *destination, size_t maximum, const char *text);
