// Small text helpers of the simulator: numbers, hexadecimal bytes, lists, substitution.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Reads a decimal number from 0 to `largest`. Returns it, or -1 when `text` is anything else.
long text_to_number(std::string_view text, long largest);

/// Reads pairs of hexadecimal digits into `bytes`. Returns 0, or -1 when `text` is anything else.
int text_from_hex(std::string_view text, std::string &bytes);

/// The bytes as pairs of lower-case hexadecimal digits.
std::string text_to_hex(std::string_view bytes);

/// Puts `value` in the place of every `mark` in `text`.
std::string text_replace_all(std::string text, std::string_view mark, std::string_view value);

/// The comma-separated items of a list, blanks around them removed, empty ones left out.
std::vector<std::string> text_split_list(std::string_view list);

/// Whether both texts are the same but for the case of ASCII letters.
bool text_equal_ignoring_case(std::string_view one, std::string_view other);
