// The agent's settings, as far as "/etc/slp.conf" can change them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

constexpr char SLP_PROPERTIES_PATH[] = "/etc/slp.conf";
constexpr size_t SLP_TIMEOUTS_MAX = 16;    ///< waits of one search
constexpr size_t SLP_ADDRESSES_MAX = 32;   ///< entries of an address list; more are passed over
constexpr int32_t SLP_RESULTS_MAX = 65536; ///< URLs of one search: a bound on memory

/// The waits of a search, one after another, in milliseconds.
struct slp_timeouts {
    bool is_set = false; ///< by the file
    size_t count = 6;
    std::array<int32_t, SLP_TIMEOUTS_MAX> ms = {500, 750, 1000, 1500, 2000, 3000};
};

/// The properties that the agent knows, with their defaults.
struct slp_properties {
    std::string use_scopes = "default";       ///< comma-separated, no blanks around the commas
    std::vector<std::string> da_addresses;    ///< directory agents: addresses or host names
    std::vector<std::string> interfaces;      ///< names or addresses of those to use; empty: all
    bool active_da_detection = true;          ///< search for directory agents by multicast
    bool is_broadcast_only = false;           ///< broadcast where multicast does not work
    int32_t da_discovery_maximum_wait = 2000; ///< milliseconds; 0: no search for them
    int32_t multicast_maximum_wait = 5000;    ///< milliseconds
    bool is_multicast_wait_set = false;       ///< by the file
    slp_timeouts da_discovery_timeouts;
    slp_timeouts multicast_timeouts;
    int32_t multicast_ttl = 8;
    int32_t mtu = 1400; ///< bytes of a packet, its IP and UDP headers included
    /// URLs after which a search ends. A usual default of a few hundred would let one print server
    /// with many queues end it before the printers are heard.
    int32_t max_results = SLP_RESULTS_MAX;
};

constexpr uint16_t SLP_PORT = 427;

/// Where the agent sends its requests, besides what its properties say.
struct slp_settings {
    slp_properties properties;
    const char *multicast_group = "239.255.255.253";
    const char *broadcast_address = "255.255.255.255";
    uint16_t port = SLP_PORT; ///< of service agents and directory agents, host byte order
};

/// Takes over the properties that stand in `text`, lines of the form "name = value". Lines that
/// begin with "#" or ";", lines without "=" and unknown names are passed over. A value that does
/// not read as its type, or lies outside its range, leaves the property as it is.
void slp_properties_parse(std::string_view text, slp_properties *properties);

/// Returns the defaults, changed by what stands in the file. A file that is missing or no regular
/// file changes nothing; only the first 256 KiB are read.
slp_properties slp_properties_read(const char *path);
