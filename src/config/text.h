// Bounded copies and small changes of plain C texts. Those into shared buffers have no caller here:
// they are for users of the vendor's names (`config/oem_config.h`).
#pragma once

#include <cstddef>

/// Copies `source` into `destination`, cut to `size` - 1 characters and always terminated.
/// The rest of `destination` is filled with NULs. A size of 0 copies nothing. Returns
/// `destination`.
char *safe_strncpy(char *destination, const char *source, size_t size);

/// Copies the first `length` bytes of `source`, cut to the whole characters in `size` - 1 bytes and
/// always terminated. Returns `destination`.
char *copy_part(char *destination, const char *source, size_t length, size_t size);

/// Appends `tail` to the text in `destination`, a buffer of `size` bytes, as far as its characters
/// fit whole.
void append_text(char *destination, const char *tail, size_t size);

/// Whether `text` begins with `prefix`.
bool begins_with(const char *text, const char *prefix);

/// Removes one trailing line feed, if any. Returns `text`.
char *strip_newline(char *text);

/// Copies at most `size` - 1 characters with ASCII letters lowered; always terminates.
/// Returns `destination`.
char *str_tolower(const char *source, char *destination, size_t size);

/// The same with letters in upper case.
char *str_toupper(const char *source, char *destination, size_t size);

/// `str_tolower` into a shared buffer of 1024 bytes, overwritten by the next call.
char *str_tolower_static(const char *source);

/// `str_toupper` into a shared buffer of 1024 bytes, overwritten by the next call.
char *str_toupper_static(const char *source);

/// Reads a decimal number as a 64-bit `strtol` does (0 when there are no digits) and keeps its
/// low 32 bits.
int decimal_value(const char *text);
