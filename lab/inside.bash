# shellcheck shell=bash
# shellcheck disable=SC2154 # the options and names that are not set here come from the script lab
# What the script lab does inside its namespaces, in stages:
#   host     process 1 of the lab, in the namespace of the command
#   devices  in the namespace of the simulated devices, starts the simulator
#   agent    in the namespace of the real SNMP agent, starts snmpd
# The last two tell the first by words on a pipe how far they are.

readonly HOST_MAC=02:00:0a:09:00:01 DEVICES_MAC=02:00:0a:09:00:02 AGENT_MAC=02:00:0a:09:00:a1
readonly IPV6_PREFIXES=(fe80: fd00:9: 2001:db8:9:)

# --- all namespaces ------------------------------------------------------------------------------

# Switches off what would make a new interface wait (duplicate address detection) or take addresses
# of its own.
quiet_interfaces()
{
    local folder=/proc/sys/net/ipv6/conf/default
    [[ -d $folder ]] || return 0
    printf 0 >$folder/accept_dad
    printf 0 >$folder/accept_ra
    printf 0 >$folder/router_solicitations
    printf 1 >$folder/addr_gen_mode
} 2>/dev/null

# Prints the `ip -batch` lines for the addresses of one IPv6 interface id.
ipv6_lines() # ID
{
    local prefix
    for prefix in "${IPV6_PREFIXES[@]}"; do
        printf 'address add %s/64 dev eth0 nodad\n' "$prefix$1"
    done
}

# Prints the `ip -batch` lines that spare an answer the search for the host's hardware address.
host_neighbour_lines()
{
    printf 'neighbour add 10.9.0.1 lladdr %s dev eth0 nud permanent\n' $HOST_MAC
    local prefix
    for prefix in "${IPV6_PREFIXES[@]}"; do
        printf 'neighbour add %s lladdr %s dev eth0 nud permanent\n' "$prefix:9:1" $HOST_MAC
    done
}

# --- the host side -----------------------------------------------------------------------

host_addresses()
{
    {
        printf 'link set lo up\n'
        printf 'address add 10.9.0.1/16 broadcast 10.9.255.255 dev eth0\n'
        [[ $ipv6 == no ]] || ipv6_lines :9:1
        printf 'link set eth0 up\n'
        [[ $route == no ]] || printf 'route add default dev eth0\n'
    } | "$ip" -batch - >/dev/null 2>&1 || fail "$NO_NAMESPACES" 'the host side of the network cannot be laid'
    [[ $ipv6 == no ]] || wait_for_multicast_route
}

# The kernel adds the route of ff00::/8 a moment after the link has come up.
wait_for_multicast_route()
{
    local turn
    for ((turn = 0; turn < 400; turn++)); do
        [[ $(</proc/net/ipv6_route) == *ff00000000000000*' eth0'* ]] && return
        read -r -t 0.005 -u "$idle"
    done
    fail "$NO_NAMESPACES" 'the IPv6 multicast route does not come up'
}

cover_tmp()
{
    local folder
    while read -r folder; do
        mount -n --rbind "$folder" "$tmp${folder#/tmp}" || return
    done < <(kept_folders)
    mount -n --rbind "$tmp" /tmp
}

cover_etc()
{
    mount -n -t tmpfs -o mode=755 tmpfs /mnt || return
    cp -dR --preserve=mode,timestamps /etc/. /mnt 2>/dev/null # what cannot be read is left out
    cp -dR "$etc/." /mnt || return
    mount -n --move /mnt /etc
}

# Reads the words of the other stages until `missing` of them have said that they are ready.
wait_for_stages() # MISSING
{
    local missing=$1 word rest
    while ((missing > 0)); do
        read -r -t 30 -u "$words" word rest || fail "$BAD_USE" 'the device side does not start'
        case $word in
            laid)
                host_addresses
                ((missing--)) ;;
            ready) ((missing--)) ;;
            simulator) simulator_pid=$rest ;;
            unlaid) fail "$NO_NAMESPACES" "the device side of the network cannot be laid${rest:+: $rest}" ;;
            told) exit "$BAD_USE" ;;
            *) fail "$BAD_USE" "${rest:-the device side} has ended early" ;;
        esac
    done
}

host_stage()
{
    local missing=1 status word simulator_pid='' words idle error
    [[ -z $fleet ]] || ((missing++))
    [[ $snmpd == no ]] || ((missing++))
    quiet_interfaces
    if [[ $ipv6 == no ]]; then
        printf 1 | tee /proc/sys/net/ipv6/conf/{all,default}/disable_ipv6 >/dev/null 2>&1
    fi
    exec {idle}<> <(:) # reading it is a short sleep
    stage_arguments devices
    exec {words}< <(exec unshare --net --mount "$self" "${arguments[@]}" </dev/null)
    wait_for_stages $missing
    if [[ -n $etc ]]; then
        cover_etc 2>/dev/null || fail "$BAD_USE" "--etc: cannot lay $etc over /etc"
    fi
    # Last: it may hide the folder of --etc.
    if [[ -n $tmp ]]; then
        cover_tmp 2>/dev/null || fail "$BAD_USE" "--tmp: cannot put $tmp in the place of /tmp"
    fi

    # The shell would report a command that a signal has ended: not on the caller's standard error.
    exec {error}>&2
    { (exec "${command[@]}" 2>&"$error" {error}>&- {words}<&- {idle}<&-); } 2>/dev/null
    status=$?
    exec {error}>&-

    # The simulator writes down what has already arrived before it ends.
    if [[ -n $simulator_pid ]] && kill -TERM "$simulator_pid" 2>/dev/null; then
        while read -r -t 5 -u "$words" word rest && [[ $word != ended ]]; do
            :
        done
    fi
    exit $status
}

# --- the device side ---------------------------------------------------------------------

# Prints the `ip -batch` lines of the device side. With the real agent, eth0 is a bridge over the
# link to the host (port0) and the one to the agent (port1).
device_link_lines() # LINES: what `simulator --addresses` printed
{
    local link=eth0
    if [[ $snmpd == yes ]]; then
        link=port0
        printf 'link add eth0 address %s type bridge mcast_snooping 0\n' $DEVICES_MAC
        printf 'link add port1 type veth peer name eth0 address %s netns %d\n' $AGENT_MAC "$agent_pid"
        printf 'link set port1 master eth0 up\n'
    fi
    printf 'link add %s type veth peer name eth0 address %s netns 1\n' $link $HOST_MAC
    if [[ $snmpd == yes ]]; then
        printf 'link set port0 master eth0 up\n'
    else
        printf 'link set eth0 address %s\n' $DEVICES_MAC
    fi
    printf 'link set lo up\n'
    printf 'address add 10.9.0.2/16 broadcast 10.9.255.255 dev eth0\n'
    ipv6_lines :9:2
    # Addresses first: on a link that is up each one costs the kernel six times as much.
    printf '%s\n' "$1"
    printf 'link set eth0 up\n'
    host_neighbour_lines
}

# Reports the end of a simulator: with its status 3 it has said why itself.
simulator_end()
{
    if (($1 == 3)); then
        echo told
    else
        echo ended the simulator
    fi
}

devices_stage()
{
    local lines='' agent_pid='' text
    quiet_interfaces
    if [[ -n $fleet ]]; then
        lines=$("$simulator" --addresses "$fleet") || {
            simulator_end $?
            exit
        }
    fi
    if [[ $snmpd == yes ]]; then
        stage_arguments agent
        exec 3>&1
        coproc agent { exec unshare --net --mount "$self" "${arguments[@]}"; }
        agent_pid=$!
        read -r -t 20 -u "${agent[0]}" _
    fi
    text=$(device_link_lines "$lines" | "$ip" -batch - 2>&1 >/dev/null) || {
        echo unlaid "${text%%$'\n'*}"
        exit
    }
    echo laid
    [[ $snmpd == no ]] || echo >&"${agent[1]}"
    if [[ -n $fleet ]]; then
        "$simulator" --fleet "$fleet" --interface eth0 --ready-fd 1 ${record:+--record "$record"} &
        simulator_pid=$!
        echo simulator $simulator_pid
        wait $simulator_pid
        simulator_end $?
    fi
    wait
    # The addresses stay as long as something is in this namespace.
    exec tail -f /dev/null
}

# --- the real SNMP agent -----------------------------------------------------------------

# Whether both UDP ports 161 (a1 in hexadecimal) are bound in this namespace.
agent_is_bound()
{
    [[ $(</proc/net/udp) == *:00A1\ * && $(</proc/net/udp6) == *:00A1\ * ]]
}

# Standard input and output are the device side's; descriptor 3 leads to the host side.
agent_stage()
{
    local idle turn pid
    quiet_interfaces
    echo here
    read -r _ # the interface is here
    {
        printf 'link set lo up\n'
        printf 'address add 10.9.0.161/16 broadcast 10.9.255.255 dev eth0\n'
        ipv6_lines :161
        printf 'link set eth0 up\n'
        host_neighbour_lines
    } | "$ip" -batch - >/dev/null 2>&1 || echo 'unlaid the real agent' >&3
    exec {idle}<> <(:)
    mount -n -t tmpfs tmpfs /mnt # for what the agent wants to keep
    MIBS='' SNMP_PERSISTENT_DIR=/mnt "$(tool snmpd)" -f -Ln -C -c "$lab/snmpd.conf" >/dev/null 2>&1 &
    pid=$!
    for ((turn = 0; turn < 2000; turn++)); do
        agent_is_bound && break
        kill -0 $pid 2>/dev/null || break
        read -r -t 0.005 -u "$idle"
    done
    if agent_is_bound; then
        echo ready >&3
        wait $pid
    fi
    echo ended snmpd >&3
}
