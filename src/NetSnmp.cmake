# Defines the target `netsnmp`: Net-SNMP's library with its headers.
include(CheckCXXSourceCompiles)

find_library(NETSNMP_LIBRARY netsnmp)
if(NETSNMP_LIBRARY)
  # Beside the library: under lib, lib64 or lib/ARCHITECTURE of the same prefix.
  get_filename_component(folder "${NETSNMP_LIBRARY}" DIRECTORY)
  find_path(NETSNMP_INCLUDE_DIR net-snmp/net-snmp-includes.h
    HINTS "${folder}/../include" "${folder}/../../include")
endif()
if(NOT NETSNMP_LIBRARY OR NOT NETSNMP_INCLUDE_DIR)
  message(FATAL_ERROR "Net-SNMP is needed, 5.7 or later: its library and its headers "
    "(libsnmp-dev on Debian, net-snmp-devel on Fedora). "
    "-DCMAKE_PREFIX_PATH=FOLDER names the place of a build of your own.")
endif()

# System headers: those of 5.7 and 5.8 give warnings, as errors too, that are none of ours.
add_library(netsnmp INTERFACE)
target_include_directories(netsnmp SYSTEM INTERFACE "${NETSNMP_INCLUDE_DIR}")
target_link_libraries(netsnmp INTERFACE "${NETSNMP_LIBRARY}")

set(CMAKE_REQUIRED_INCLUDES "${NETSNMP_INCLUDE_DIR}")
check_cxx_source_compiles("#include <net-snmp/net-snmp-config.h>
#ifndef NETSNMP_TRANSPORT_UDPIPV6_DOMAIN
#error built without --enable-ipv6
#endif
int main() { return 0; }" NETSNMP_HAS_IPV6)
unset(CMAKE_REQUIRED_INCLUDES)
if(NOT NETSNMP_HAS_IPV6)
  unset(NETSNMP_HAS_IPV6 CACHE) # asked again once another library is in its place
  message(FATAL_ERROR "The Net-SNMP of ${NETSNMP_INCLUDE_DIR} knows no IPv6. "
    "devscout needs one that was configured with --enable-ipv6.")
endif()
