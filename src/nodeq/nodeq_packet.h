// The nodeq request and answer: built and read here, and carried into device records.
#pragma once

#include "records/device_list.h"

#include <cstddef>
#include <cstdint>

constexpr size_t NODEQ_REQUEST_SIZE = 65;
constexpr size_t NODEQ_ANSWER_SIZE = 256; ///< at most so much of an answer is received
constexpr uint16_t NODEQ_PORT = 6000;     ///< UDP

/// Writes the request, always the same.
void nodeq_build_request(uint8_t (&request)[NODEQ_REQUEST_SIZE]);

/// Fills the all-zero `scratch` from an answer of `length` bytes that came from `source` (IPv4
/// address in host byte order). Nothing in an answer is validated; fields that were not received
/// are empty. Returns 0.
int nodeq_parse_answer(const uint8_t *answer, size_t length, uint32_t source,
                       device_record *scratch);

/// Copies the parsed answer into the list's record. The texts of the latest answer win; the
/// description is composed from the first.
void nodeq_merge_answer(device_record *record, const device_record *scratch);

/// Appends the answer's texts to `dsc`, behind the "#" that marks them as provisional, as far as
/// the field has room.
void nodeq_compose_dsc(device_record *record, const device_record *scratch);

/// Dotted-quad text of an IPv4 address in host byte order, in a shared buffer of 16 bytes that
/// the next call overwrites.
const char *ipv4_to_text(uint32_t address);
