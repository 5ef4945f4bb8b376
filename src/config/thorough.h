// Whether the whole process asks as often as it takes in a network that loses packets.
#pragma once

#include <cstddef>
#include <cstdint>

/// False until option --thorough sets it.
extern bool g_thorough;

/// What a thorough run asks of all ends after so long, whoever still answers, and with so many
/// answerers: a bound on memory.
constexpr int64_t THOROUGH_MOST_US = 12000000;
constexpr size_t THOROUGH_MOST_ANSWERERS = 65536;
