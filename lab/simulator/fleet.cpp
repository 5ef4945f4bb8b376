// The fleet: what devices there are and what each of them says, read from a fleet file.
#include "simulator/fleet.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "simulator/fleet_keys.h"
#include "simulator/text.h"

constexpr long DEVICE_LIMIT = 4096;

// The first eight bytes of the addresses in each network: fe80::/64, fd00:N::/64, 2001:db8:N::/64.
constexpr uint8_t IPV6_PREFIXES[IPV6_NETWORKS][8] = {
    {0xFE, 0x80}, {0xFD, 0x00}, {0x20, 0x01, 0x0D, 0xB8}};
constexpr size_t NUMBER_OFFSETS[IPV6_NETWORKS] = {0, 3, 5}; // of N; none in fe80::/64

// Taken by the host side, the device side itself and the real SNMP agent: 10.N.0.1, .2 and .161,
// and the interface ids ::N:1, ::N:2 and ::161.
constexpr uint32_t LAB_IPV4_HOSTS[] = {1, 2, 161};
constexpr uint32_t LAB_IPV6_HOSTS[] = {1, 2};
constexpr uint32_t AGENT_IPV6_ID = 0x161;

struct word {
    std::string key;
    std::string value;
    bool has_value = false;
};

// One character behind a backslash, `at` standing on it. Returns -1 for an unknown escape.
static int unescape(std::string_view line, size_t &at)
{
    constexpr std::string_view NAMES = "nrt\"\\";
    constexpr std::string_view MEANINGS = "\n\r\t\"\\";
    if (at >= line.size())
        return -1;
    const char name = line[at++];
    if (const size_t place = NAMES.find(name); place != std::string_view::npos)
        return MEANINGS[place];
    std::string byte;
    if (name != 'x' || at + 2 > line.size() || text_from_hex(line.substr(at, 2), byte) != 0)
        return -1;
    at += 2;
    return static_cast<unsigned char>(byte[0]);
}

// Reads the quoted value that begins at `at`, and leaves `at` behind its closing quote.
static std::string read_quoted(std::string_view line, size_t &at, std::string &value)
{
    for (++at; at < line.size() && line[at] != '"';) {
        if (line[at] != '\\') {
            value += line[at++];
            continue;
        }
        const int byte = unescape(line, ++at);
        if (byte < 0)
            return "unknown escape in quotes";
        value += static_cast<char>(byte);
    }
    if (at >= line.size())
        return "closing quote missing";
    ++at;
    return "";
}

static bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// Splits a line into its words. Returns an empty text, or what is wrong.
static std::string split_words(std::string_view line, std::vector<word> &words)
{
    size_t at = 0;
    while (true) {
        while (at < line.size() && is_blank(line[at]))
            ++at;
        if (at >= line.size() || line[at] == '#')
            return "";
        word next;
        while (at < line.size() && !is_blank(line[at]) && line[at] != '=')
            next.key += line[at++];
        if (at < line.size() && line[at] == '=') {
            next.has_value = true;
            ++at;
            if (at < line.size() && line[at] == '"') {
                if (std::string wrong = read_quoted(line, at, next.value); !wrong.empty())
                    return wrong;
                if (at < line.size() && !is_blank(line[at]))
                    return "blank missing behind the closing quote";
            } else {
                while (at < line.size() && !is_blank(line[at]))
                    next.value += line[at++];
            }
        }
        words.push_back(next);
    }
}

// A network's number as it stands in IPv6 addresses: its decimal digits.
static uint8_t number_in_ipv6(int network)
{
    return static_cast<uint8_t>(network / 10 << 4 | network % 10);
}

// The interface id is the lower half of an address; counting up carries through its last four
// bytes.
static void set_ipv6(device &one, int network_number, const in6_addr &id, uint32_t step)
{
    uint32_t tail = 0;
    memcpy(&tail, id.s6_addr + 12, sizeof tail);
    tail = htonl(ntohl(tail) + step);
    for (int network = 0; network < IPV6_NETWORKS; ++network) {
        in6_addr &address = one.ipv6[network];
        address = id;
        memcpy(address.s6_addr, IPV6_PREFIXES[network], sizeof IPV6_PREFIXES[network]);
        if (NUMBER_OFFSETS[network] > 0)
            address.s6_addr[NUMBER_OFFSETS[network]] = number_in_ipv6(network_number);
        memcpy(address.s6_addr + 12, &tail, sizeof tail);
    }
    one.has_ipv6 = true;
}

// What a device line says before it is counted out into devices.
struct fleet_line {
    bool has_ipv4 = false;
    bool has_ipv6 = false;
    uint32_t ipv4 = 0;
    in6_addr id = {};
    long count = 1;
    std::vector<word> words;
};

static std::string read_device_line(const std::vector<word> &words, fleet_line &line)
{
    in_addr address = {};
    if (words.size() < 2 || words[0].key != "device" || words[1].has_value)
        return "a line is: device ADDRESS [KEY=VALUE...]";
    if (words[1].key != "-") {
        if (inet_pton(AF_INET, words[1].key.c_str(), &address) != 1)
            return "no IPv4 address: " + words[1].key;
        line.has_ipv4 = true;
        line.ipv4 = ntohl(address.s_addr);
    }
    for (size_t i = 2; i < words.size(); ++i) {
        const word &next = words[i];
        if (next.key == "count") {
            line.count = text_to_number(next.value, DEVICE_LIMIT);
            if (line.count < 1)
                return "count is a number from 1 to " + std::to_string(DEVICE_LIMIT);
        } else if (next.key == "id6") {
            // "::5:1" is the interface id 0:0:5:1
            if (inet_pton(AF_INET6, next.value.c_str(), &line.id) != 1)
                return "no IPv6 interface id: " + next.value;
            line.has_ipv6 = true;
        } else {
            line.words.push_back(next);
        }
    }
    return line.has_ipv4 || line.has_ipv6 ? "" : "a device has an IPv4 address or an id6";
}

static bool is_taken_by_lab(const device &one, int network)
{
    const uint32_t subnet = 10U << 24 | static_cast<uint32_t>(network) << 16;
    for (const uint32_t host : LAB_IPV4_HOSTS) {
        if (one.has_ipv4 && one.ipv4 == (subnet | host))
            return true;
    }
    uint32_t id[2] = {};
    memcpy(id, one.ipv6[0].s6_addr + 8, sizeof id);
    if (!one.has_ipv6 || id[0] != 0)
        return false;
    for (const uint32_t host : LAB_IPV6_HOSTS) {
        if (ntohl(id[1]) == (static_cast<uint32_t>(number_in_ipv6(network)) << 16 | host))
            return true;
    }
    return ntohl(id[1]) == AGENT_IPV6_ID;
}

static std::string add_device(fleet &devices, const fleet_line &line, uint32_t step)
{
    device one;
    const size_t index = devices.devices.size();
    one.has_ipv4 = line.has_ipv4;
    one.ipv4 = line.ipv4 + step;
    if (line.has_ipv6)
        set_ipv6(one, devices.network, line.id, step);
    for (const word &next : line.words) {
        std::string value = text_replace_all(next.value, "%n", std::to_string(step + 1));
        if (line.has_ipv4)
            value = text_replace_all(value, "%a", ipv4_text(one.ipv4));
        if (std::string wrong = fleet_check_key(next.key, next.has_value, value); !wrong.empty())
            return wrong;
        one.values[next.key].push_back(value);
    }
    if (is_taken_by_lab(one, devices.network))
        return "address taken by the lab itself";
    one.unreachable = device_text(one, "tcp") == "never";
    if (one.has_ipv4 && !devices.by_ipv4.emplace(one.ipv4, index).second)
        return "address taken twice: " + ipv4_text(one.ipv4);
    for (const in6_addr &address : one.ipv6) {
        const std::string bytes(reinterpret_cast<const char *>(address.s6_addr), sizeof address);
        if (one.has_ipv6 && !devices.by_ipv6.emplace(bytes, index).second)
            return "address taken twice: " + ipv6_text(address);
    }
    devices.devices.push_back(std::move(one));
    return "";
}

static std::string read_line(const std::string &text, fleet &devices)
{
    std::vector<word> words;
    std::string wrong = split_words(text, words);
    if (!wrong.empty() || words.empty())
        return wrong;
    fleet_line line;
    wrong = read_device_line(words, line);
    for (long step = 0; step < line.count && wrong.empty(); ++step)
        wrong = add_device(devices, line, static_cast<uint32_t>(step));
    if (devices.devices.size() > static_cast<size_t>(DEVICE_LIMIT))
        return "more than " + std::to_string(DEVICE_LIMIT) + " devices";
    return wrong;
}

int fleet_read(const char *path, fleet &devices)
{
    std::ifstream file(path);
    std::string text;
    for (int number = 1; std::getline(file, text); ++number) {
        const std::string wrong = read_line(text, devices);
        if (!wrong.empty()) {
            fprintf(stderr, "%s:%d: %s\n", path, number, wrong.c_str());
            return -1;
        }
    }
    if (file.bad() || !file.eof()) {
        fprintf(stderr, "%s:0: cannot be read\n", path);
        return -1;
    }
    return 0;
}

size_t fleet_find_ipv4(const fleet &devices, uint32_t address)
{
    const auto found = devices.by_ipv4.find(address);
    return found == devices.by_ipv4.end() ? NO_DEVICE : found->second;
}

size_t fleet_find_ipv6(const fleet &devices, const in6_addr &address)
{
    const std::string bytes(reinterpret_cast<const char *>(address.s6_addr), sizeof address);
    const auto found = devices.by_ipv6.find(bytes);
    return found == devices.by_ipv6.end() ? NO_DEVICE : found->second;
}

bool device_has(const device &one, std::string_view key)
{
    return one.values.find(key) != one.values.end();
}

bool device_has_any(const device &one, std::string_view prefix)
{
    const auto begins = one.values.lower_bound(std::string(prefix) + ".");
    return device_has(one, prefix) ||
           (begins != one.values.end() &&
            begins->first.compare(0, prefix.size() + 1, std::string(prefix) + ".") == 0);
}

std::string device_text(const device &one, std::string_view key, std::string_view otherwise)
{
    const auto found = one.values.find(key);
    return found == one.values.end() ? std::string(otherwise) : found->second.back();
}

long device_number(const device &one, std::string_view key, long otherwise)
{
    const auto found = one.values.find(key);
    return found == one.values.end() ? otherwise : text_to_number(found->second.back(), INT32_MAX);
}

std::string device_bytes(const device &one, std::string_view key)
{
    std::string bytes;
    text_from_hex(device_text(one, key), bytes);
    return bytes;
}

std::string ipv4_text(uint32_t address)
{
    char text[INET_ADDRSTRLEN] = "";
    const in_addr network_order = {htonl(address)};
    inet_ntop(AF_INET, &network_order, text, sizeof text);
    return text;
}

std::string ipv6_text(const in6_addr &address)
{
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(AF_INET6, &address, text, sizeof text);
    return text;
}
