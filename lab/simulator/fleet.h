// The fleet: what devices there are and what each of them says, read from a fleet file.
#pragma once

#include <cstdint>
#include <map>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <vector>

/// The networks in which a device with an IPv6 interface id has an address, in the order of
/// `device::ipv6`.
enum ipv6_network { IPV6_LINK, IPV6_SITE, IPV6_GLOBAL, IPV6_NETWORKS };

struct device {
    bool has_ipv4 = false;
    bool has_ipv6 = false;
    bool unreachable = false; ///< answers broadcasts and multicasts, but owns none of its addresses
    uint32_t ipv4 = 0;        ///< host byte order
    in6_addr ipv6[IPV6_NETWORKS] = {};
    /// Values by key, unescaped and with %n and %a replaced; several where a key was repeated.
    std::map<std::string, std::vector<std::string>, std::less<>> values;
};

struct fleet {
    int network = 9; ///< number of the lab network: 10.9.0.0/16, fd00:9::/64, 2001:db8:9::/64
    std::vector<device> devices;
    std::map<uint32_t, size_t> by_ipv4;    ///< index into `devices`, host byte order
    std::map<std::string, size_t> by_ipv6; ///< index into `devices`, by the 16 address bytes
};

constexpr size_t NO_DEVICE = SIZE_MAX;

/// Reads a fleet file into `devices`, whose network is set. Returns 0, or -1 after a line
/// "FILE:LINE: what is wrong" on standard error.
int fleet_read(const char *path, fleet &devices);

/// The index of the device that owns the address, or NO_DEVICE.
size_t fleet_find_ipv4(const fleet &devices, uint32_t address);
size_t fleet_find_ipv6(const fleet &devices, const in6_addr &address);

/// Whether the device has the key.
bool device_has(const device &one, std::string_view key);

/// Whether the device has a key that is `prefix` or begins with `prefix` and a dot.
bool device_has_any(const device &one, std::string_view prefix);

/// The (last) value of the key, or `otherwise`.
std::string device_text(const device &one, std::string_view key, std::string_view otherwise = "");

/// The number of a key whose value was checked to be one, or `otherwise`.
long device_number(const device &one, std::string_view key, long otherwise);

/// The bytes of a key whose value was checked to be hexadecimal.
std::string device_bytes(const device &one, std::string_view key);

/// The dotted-quad text of an address in host byte order.
std::string ipv4_text(uint32_t address);

/// The usual text of an IPv6 address.
std::string ipv6_text(const in6_addr &address);
