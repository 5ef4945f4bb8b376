// Lists of texts separated by commas, as SLP writes scopes, addresses and time-outs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Returns `text` without blanks, tabs and line ends at both ends.
std::string_view slp_trim(std::string_view text);

/// Returns the items of a comma-separated list, trimmed; empty items are left out.
std::vector<std::string> slp_split_list(std::string_view list);

/// Returns the items joined with commas.
std::string slp_join_list(const std::vector<std::string> &items);

/// Compares without regard to the case of ASCII letters.
bool slp_same_text(std::string_view a, std::string_view b);

/// Tells whether two scope lists have a scope in common. Scopes are compared without regard to
/// case (RFC 2608, 6.4).
bool slp_scopes_overlap(std::string_view a, std::string_view b);

/// Returns the scopes of `list` that `served` does not have, joined with commas.
std::string slp_scopes_without(std::string_view list, std::string_view served);
