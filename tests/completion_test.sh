#!/usr/bin/env bash
# Completes lines as bash does when the tab key is hit. SOURCE comes from CTest.
set -euo pipefail
# shellcheck source=/dev/null
. "$SOURCE/share/bash-completion/completions/devscout"

# shellcheck disable=SC2317 # the completion calls it
ip()
{
    [ "$*" = neigh ] || return
    echo '10.9.1.10 dev eth0 lladdr 02:00:0a:09:01:0a REACHABLE'
    echo '10.9.1.11 dev eth0 FAILED'
    echo 'fe80::1:50 dev eth0 lladdr 02:00:0a:09:00:02 router STALE'
    echo '10.9.1.10 dev eth1 lladdr 02:00:0a:09:01:0b STALE'
}

# shellcheck disable=SC2317 # likewise
_devscout_interfaces() { printf '%s\n' eth0 eth1 wlan0; }

# shellcheck disable=SC2317 # likewise
compopt() { no_blank=+; }

status=0
completes() # LINE COMPLETION...
{
    COMP_LINE=$1 COMP_POINT=${#1} COMP_WORDBREAKS=$' \t\n:' COMPREPLY=() no_blank=
    _devscout
    shift
    [ "${COMPREPLY[*]}$no_blank" = "$*" ] || { echo "'$COMP_LINE' becomes '${COMPREPLY[*]}', not '$*'"; status=1; }
}
completes 'devscout -d' -d+
completes 'devscout --sn' --snmp --snmp6
completes 'devscout -c vesper --ti' --time
completes 'devscout -c '
completes 'devscout -c --s'
completes 'devscout -R ' 10.9.1.10 fe80::1:50
completes 'devscout -c vesper -I 10.' 10.9.1.10
completes 'devscout -R fe80::1' 1:50 # what stands behind the last colon is replaced
completes 'devscout --interface ' eth0 eth1 wlan0
completes 'devscout --snmp --interface et' eth0 eth1
completes 'devscout word'
exit $status
