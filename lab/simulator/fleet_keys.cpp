// The keys of a fleet file and what their values may be.
#include "simulator/fleet_keys.h"

#include <cstdint>

#include "simulator/text.h"

enum value_kind {
    KIND_FLAG,   // no value, or 1
    KIND_TEXT,   // at most `largest` bytes
    KIND_NUMBER, // 0 to `largest`
    KIND_BYTES,  // hexadecimal pairs, at most `largest` bytes
    KIND_WORD,   // one of the blank-separated `words`
};

struct key_rule {
    std::string_view name;
    value_kind kind;
    long largest;
    std::string_view words;
};

constexpr long TEXT_LIMIT = 65000;
constexpr long FILL_LIMIT = 64000; // leaves room for the rest of a datagram
constexpr long DELAY_LIMIT_MS = 60000;
constexpr long REPEAT_LIMIT = 1000;
constexpr long FLOOD_LIMIT = 1000000;

constexpr key_rule KEY_RULES[] = {
    {"from6", KIND_WORD, 0, "site global"},
    {"tcp", KIND_WORD, 0, "never"},
    {"subnet", KIND_NUMBER, 32, {}},

    {"nodeq", KIND_FLAG, 0, {}},
    {"nodeq.a", KIND_TEXT, 20, {}},
    {"nodeq.b", KIND_TEXT, 20, {}},
    {"nodeq.first.a", KIND_TEXT, 20, {}},
    {"nodeq.first.b", KIND_TEXT, 20, {}},
    {"nodeq.length", KIND_NUMBER, TEXT_LIMIT, {}},
    {"nodeq.hex", KIND_BYTES, TEXT_LIMIT, {}},
    {"nodeq.repeat", KIND_NUMBER, REPEAT_LIMIT, {}},
    {"nodeq.delay", KIND_NUMBER, DELAY_LIMIT_MS, {}},
    {"nodeq.flood", KIND_NUMBER, FLOOD_LIMIT, {}},

    {"id", KIND_TEXT, TEXT_LIMIT, {}},
    {"id.fill", KIND_NUMBER, FILL_LIMIT, {}},
    {"id.int", KIND_NUMBER, INT32_MAX, {}},
    {"model", KIND_TEXT, TEXT_LIMIT, {}},
    {"mib", KIND_TEXT, TEXT_LIMIT, {}},
    {"query.id", KIND_TEXT, TEXT_LIMIT, {}},
    {"query.id.absent", KIND_FLAG, 0, {}},
    {"snmp", KIND_FLAG, 0, {}},
    {"snmp.community", KIND_TEXT, TEXT_LIMIT, {}},
    {"snmp.on", KIND_WORD, 0, "broadcast unicast"},
    {"snmp.error", KIND_NUMBER, 255, {}},
    {"snmp.reqid", KIND_WORD, 0, "wrong"},
    {"snmp.raw", KIND_BYTES, TEXT_LIMIT, {}},
    {"snmp.then", KIND_TEXT, TEXT_LIMIT, {}},
    {"snmp.repeat", KIND_NUMBER, REPEAT_LIMIT, {}},
    {"snmp.delay", KIND_NUMBER, DELAY_LIMIT_MS, {}},
    {"snmp.flood", KIND_NUMBER, DELAY_LIMIT_MS, {}},

    {"scan", KIND_WORD, 0, "whole split short long foreign late silent closed-at-once"},
    {"scan.text", KIND_TEXT, 69, {}},

    {"slp.url", KIND_TEXT, TEXT_LIMIT, {}},
    {"slp.scopes", KIND_TEXT, TEXT_LIMIT, {}},
    {"slp.mtu", KIND_NUMBER, TEXT_LIMIT, {}},
    {"slp.lie", KIND_WORD, 0,
     "count url-length length language xid version function error truncate overflow auth"},
    {"slp.raw", KIND_BYTES, TEXT_LIMIT, {}},
    {"slp.repeat", KIND_NUMBER, REPEAT_LIMIT, {}},
    {"slp.delay", KIND_NUMBER, DELAY_LIMIT_MS, {}},
    {"slp.tcp", KIND_FLAG, 0, {}},
    {"slp.tcp.delay", KIND_NUMBER, DELAY_LIMIT_MS, {}},
    {"slp.da", KIND_FLAG, 0, {}},
    {"slp.da.url", KIND_TEXT, TEXT_LIMIT, {}},
    {"slp.da.error", KIND_NUMBER, UINT16_MAX, {}},
    {"slp.da.hidden", KIND_FLAG, 0, {}},
    {"slp.da.overflow", KIND_FLAG, 0, {}},
    {"slp.da.scopes", KIND_TEXT, TEXT_LIMIT, {}},
    {"slp.da.silent", KIND_FLAG, 0, {}},
    {"slp.da.tcp", KIND_WORD, 0, "short"},
};

static bool is_one_of(std::string_view word, std::string_view words)
{
    while (!words.empty()) {
        const size_t blank = words.find(' ');
        if (word == words.substr(0, blank))
            return true;
        words = blank == std::string_view::npos ? std::string_view() : words.substr(blank + 1);
    }
    return false;
}

static std::string check_value(const key_rule &rule, std::string_view value)
{
    const std::string key(rule.name);
    std::string bytes;
    switch (rule.kind) {
    case KIND_FLAG:
        return value == "1" ? "" : key + " takes no value but 1";
    case KIND_TEXT:
        return value.size() <= static_cast<size_t>(rule.largest)
                   ? ""
                   : key + " holds at most " + std::to_string(rule.largest) + " bytes";
    case KIND_NUMBER:
        return text_to_number(value, rule.largest) >= 0
                   ? ""
                   : key + " is a number from 0 to " + std::to_string(rule.largest);
    case KIND_BYTES:
        return text_from_hex(value, bytes) == 0 && bytes.size() <= static_cast<size_t>(rule.largest)
                   ? ""
                   : key + " is made of hexadecimal pairs";
    case KIND_WORD:
        return is_one_of(value, rule.words) ? "" : key + " is one of: " + std::string(rule.words);
    }
    return "";
}

std::string fleet_check_key(std::string_view key, bool has_value, std::string_view value)
{
    for (const key_rule &rule : KEY_RULES) {
        if (rule.name != key)
            continue;
        if (!has_value)
            return rule.kind == KIND_FLAG ? "" : std::string(key) + " needs a value";
        return check_value(rule, value);
    }
    return "unknown key " + std::string(key);
}
