// One record per device, and the list of them, keyed by address text.
#pragma once

#include "records/address_list.h"
#include "records/list.h"

#include <cstddef>
#include <cstdint>

constexpr size_t NODEQ_TEXT_SIZE = 20; ///< a text field of a nodeq answer, 19 characters
constexpr size_t DSC_SIZE = 96;        ///< a description of at most 95 characters
constexpr size_t VENDOR_SIZE = 32;     ///< a vendor word of at most 31 characters
constexpr size_t SCAN_BLOCK_SIZE = 70; ///< a scanner inquiry block

/// First byte of a scanner inquiry block that a device returned.
constexpr uint8_t SCAN_BLOCK_TAG = 0xA8;
/// First byte of `scan_info` of a device that a description child found unreachable.
constexpr uint8_t UNREACHABLE_MARK = 253;

/// `record_state` of a record whose nodeq description has been composed.
constexpr int32_t RECORD_NODEQ_COMPOSED = 1;

/// One device. All texts are terminated within their width; a new record is all zero but `ip`.
struct device_record {
    int32_t record_state; ///< 0 new, 1 nodeq description composed, 2 filled by SNMP discovery
    char ip[IP_SIZE];     ///< the key of the list, padded with NULs
    uint8_t slp_detected;
    uint8_t slp_ipp;
    uint8_t slp_lpr;
    uint8_t slp_raw_tcp;
    uint8_t snmp_detected;
    uint8_t snmp_devtype;
    uint8_t snmp_description;
    uint8_t snmp_reserved; ///< always 0; travels with the three numbers before it
    uint8_t nodeq_detected;
    char nodeq_text_a[NODEQ_TEXT_SIZE]; ///< first text of the latest nodeq answer
    char nodeq_text_b[NODEQ_TEXT_SIZE]; ///< second text of the latest nodeq answer
    char dsc[DSC_SIZE];                 ///< a leading "#" marks a provisional description
    char vendor[VENDOR_SIZE];
    uint8_t scan_info[SCAN_BLOCK_SIZE]; ///< first byte: 0, SCAN_BLOCK_TAG or UNREACHABLE_MARK
};

static_assert(sizeof device_record::ip == 40 && sizeof device_record::dsc == 96 &&
              sizeof device_record::vendor == 32 && sizeof device_record::scan_info == 70 &&
              sizeof device_record::nodeq_text_a == 20 && sizeof device_record::nodeq_text_b == 20);

/// A list whose nodes carry `device_record`s, in the order of first sight.
using device_list = list_node *;

/// Returns the record whose `ip` equals `ip`, adding a zeroed one at the tail when there is none;
/// a longer key is stored cut to 39 characters. The list owns the record. With the list's index
/// it does so without a walk. Returns nullptr, after a message on standard output, when there is
/// no memory.
device_record *device_list_find_or_add(device_list *list, const char *ip,
                                       address_index *index = nullptr);
