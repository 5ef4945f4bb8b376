// The text rules of SNMP answers: what is a printer, who made it, and how it is described.
#pragma once

#include "records/device_list.h"

#include <cstddef>

constexpr int CLASS_PRINTER = 2;
constexpr int CLASS_OTHER = 99;

/// CLASS_PRINTER when the identification value contains "PRINTER", in any case; else CLASS_OTHER.
int classify_discovery_value(const char *value);

/// Takes the "MFG:" value into `vendor` (VENDOR_SIZE bytes) and the "MDL:" value into `model`
/// (DSC_SIZE bytes), both always terminated. Returns 1, or 0 when there is no "MFG:": then both
/// are empty.
int parse_mfg_mdl(char *model, char *vendor, const char *value);

/// Copies what follows `key` (its colon included, any case) up to the next ";" or the text's end
/// into `output`, cut to `size` - 1 characters; an empty text where there is no such key.
void extract_key_value(const char *text, const char *key, char *output, size_t size);

/// Removes one pair of enclosing double quotes from `text`, in place. A text shorter than two
/// characters, or quoted on one side only, stays as it is.
void strip_quotes(char *text);

/// Composes the make-and-model description into `output` (`size` bytes). Both `vendor` and
/// `model` are changed on the way; `vendor` must hold at least 32 bytes.
void compose_description(char *vendor, char *model, char *output, size_t size);
