// UTF-8: its characters, and where a text may be cut.
#pragma once

#include <cstddef>
#include <cstdint>

/// What `utf8_read` returns where the bytes end before a character that is right so far.
constexpr int UTF8_CUT = -1;

/// Reads the character that `length` bytes of `text`, at least one, begin with. Returns how many
/// bytes it has, 1 to 4; 0 where there is no valid one; or UTF8_CUT.
int utf8_read(const char *text, size_t length, uint32_t *character);

/// Returns how many of the first `length` bytes of `text` fit into `room` bytes without a part of a
/// character. Bytes outside UTF-8 count one by one.
size_t utf8_fitting(const char *text, size_t length, size_t room);

/// Returns the length of the text without a character that its end cuts off. After bytes outside
/// UTF-8 a text is no UTF-8: what it ends with is a letter of its own.
size_t utf8_uncut(const char *text, size_t length);

/// Whether bytes that may be anything are text: UTF-8, the last character perhaps cut off, or
/// Latin-1, without control bytes but tabs and line ends, and without four bytes of 0xFF in a row,
/// which are erased memory.
bool is_text(const uint8_t *bytes, size_t length);
