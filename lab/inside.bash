# shellcheck shell=bash
# shellcheck disable=SC2154 # the options and names that are not set here come from the script lab
# What the script lab does inside its namespaces, in stages:
#   host     process 1 of the lab, in the namespace of the command
#   devices  in the namespace of one network's simulated devices, starts their simulator
#   agent    in the namespace of the real SNMP agent, starts snmpd
#   tunnel   in the namespace of the command, holds the far end of a tunnel
# The others tell the first by words on a pipe how far they are.

readonly FIRST_NUMBER=9 # of the network behind eth0: 10.9.0.0/16
readonly AGENT_MAC=02:00:0a:09:00:a1
# The numbers of the interfaces that lead nowhere, in their addresses, by kind and from 0.
readonly -A IDLE_NUMBERS=([bridge]=20 [unplugged]=30 [down]=40 [tunnel]=50)

ip=$(tool ip)

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

# The hardware address of one end of a network: 1 is the host's, 2 the device side's.
mac() # NUMBER END
{
    printf '02:00:0a:%02d:00:%02d' "$1" "$2"
}

# Prints the `ip -batch` lines for the addresses of one IPv6 interface id in network NUMBER.
ipv6_lines() # NUMBER ID INTERFACE
{
    printf "address add %s/64 dev $3 nodad\n" "fe80$2" "fd00:$1$2" "2001:db8:$1$2"
}

# Prints the `ip -batch` lines that spare an answer the search for the host's hardware address.
host_neighbour_lines() # NUMBER
{
    local address
    for address in "10.$1.0.1" "fe80::$1:1" "fd00:$1::$1:1" "2001:db8:$1::$1:1"; do
        printf 'neighbour add %s lladdr %s dev eth0 nud permanent\n' "$address" "$(mac "$1" 1)"
    done
}

# Waits until packets pass an interface. The kernel opens it some time after both ends of the link
# are up, drops what is sent before, and then adds the route of ff00::/8.
wait_for_link() # INTERFACE IPV6
{
    local turn
    for ((turn = 0; turn < 2000; turn++)); do
        [[ $("$ip" -o link show dev "$1") == *' state UP '* &&
            ($2 == no || -n $("$ip" -6 route show table local ff00::/8 dev "$1")) ]] && return
        read -r -t 0.005 -u "$idle"
    done
    return 1
}

# --- the host side -----------------------------------------------------------------------

# Prints the `ip -batch` lines for the host's addresses on one interface.
host_address_lines() # NUMBER INTERFACE
{
    if [[ $2 == tunnel* ]]; then
        printf 'address add 10.%d.0.1 peer 10.%d.0.2 dev %s\n' "$1" "$1" "$2"
    else
        printf 'address add 10.%d.0.1/16 broadcast 10.%d.255.255 dev %s\n' "$1" "$1" "$2"
    fi
    [[ $ipv6 == no ]] || ipv6_lines "$1" "::$1:1" "$2"
}

# Prints the `ip -batch` lines of one interface; the other end of a link is in the devices' namespace.
interface_lines() # NAME
{
    local kind=${1%[0-9]} place=${1: -1} number end=eth0
    if [[ $kind == eth ]]; then
        number=$((FIRST_NUMBER + place))
        [[ $place$snmpd != 0yes ]] || end=port0
        printf 'link add %s address %s type veth peer name %s address %s netns %d\n' "$1" \
            "$(mac $number 1)" $end "$(mac $number 2)" "${device_pids[place]}"
    else
        number=$((${IDLE_NUMBERS[$kind]} + place))
        case $kind in
            # A priority makes the kernel look for members: without, a new bridge has a carrier.
            bridge) printf 'link add %s type bridge priority 32768\n' "$1" ;;
            tunnel) printf 'tuntap add dev %s mode tun\n' "$1" ;;
            *) printf 'link add %s type veth peer name %s netns %d\n' "$1" "$1" "${device_pids[0]}" ;;
        esac
    fi
    host_address_lines $number "$1"
    [[ $kind == down ]] || printf 'link set %s up\n' "$1"
}

# Lays the interfaces in the order in which the system is to list them.
lay_interfaces()
{
    local name text
    text=$({
        printf 'link set lo up\n'
        for name in $interfaces; do
            interface_lines "$name"
        done
        [[ $route == no ]] || printf 'route add default dev eth0\n'
    } | "$ip" -batch - 2>&1 >/dev/null) ||
        fail "$NO_NAMESPACES" "the host side of the network cannot be laid: ${text%%$'\n'*}"
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

# Starts the stages that run beside this one. Each reads a line before it goes on.
start_stages()
{
    local place name
    for ((place = 0; place <= ${#networks[@]}; place++)); do
        unshare --net --mount "$self" --stage devices $place <&"$go" &
    done
    for name in $interfaces; do
        [[ $name == tunnel* ]] || continue
        "$self" --stage tunnel "$name" <&"$go" &
    done
    wait
}

# Reads the words of the other stages until `missing` of them have said that they are so far.
wait_for_stages() # MISSING
{
    local missing=$1 word rest
    while ((missing > 0)); do
        read -r -t 30 -u "$words" word rest || fail "$BAD_USE" 'the device side does not start'
        case $word in
            devices) device_pids[${rest% *}]=${rest#* } ;;&
            devices | tunnel | link | ready) ((missing--)) ;;
            simulator) simulator_pids+=("$rest") ;;
            unlaid) fail "$NO_NAMESPACES" "the device side of the network cannot be laid${rest:+: $rest}" ;;
            told) exit "$BAD_USE" ;;
            *) fail "$BAD_USE" "${rest:-the device side} has ended early" ;;
        esac
    done
}

# Lays the whole network and waits until packets pass.
lay_network()
{
    local name stages=$((${#networks[@]} + 1)) missing turn
    missing=$((stages + ${#networks[@]})) # links and simulators
    [[ -z $fleet ]] || ((missing++))
    [[ $snmpd == no ]] || ((missing++))
    for name in $interfaces; do
        [[ $name != tunnel* ]] || ((stages++, missing++))
    done
    exec {idle}<> <(:) # reading it is a short sleep
    exec {go}<> <(:)
    exec {words}< <(start_stages)
    wait_for_stages $stages
    lay_interfaces
    # Lines of one byte: stages that read the pipe at once cannot take a part of another's line.
    for ((turn = 0; turn < stages; turn++)); do
        echo >&"$go"
    done
    exec {go}<&-
    wait_for_stages $missing
    for name in $interfaces; do
        [[ $name != eth* ]] || wait_for_link "$name" "$ipv6" ||
            fail "$NO_NAMESPACES" "the link of $name does not come up"
    done
}

host_stage() # COMMAND [ARG...]
{
    local status words go idle error pid simulator_pids=() device_pids=() confined=()
    quiet_interfaces
    if [[ $ipv6 == no ]]; then
        printf 1 | tee /proc/sys/net/ipv6/conf/{all,default}/disable_ipv6 >/dev/null 2>&1
    fi
    lay_network
    unset LAB_SETTINGS # the command has the caller's environment
    if [[ -n $etc ]]; then
        cover_etc 2>/dev/null || fail "$BAD_USE" "--etc: cannot lay $etc over /etc"
    fi
    # Last: it may hide the folder of --etc.
    if [[ -n $tmp ]]; then
        cover_tmp 2>/dev/null || fail "$BAD_USE" "--tmp: cannot put $tmp in the place of /tmp"
    fi

    # Without any that root could get back, root is for the kernel a user like others.
    [[ $capabilities == yes ]] || confined=(setpriv --bounding-set=-all --inh-caps=-all)

    # The shell would report a command that a signal has ended: not on the caller's standard error.
    exec {error}>&2
    { (exec "${confined[@]}" "$@" 2>&"$error" {error}>&- {words}<&- {idle}<&-); } 2>/dev/null
    status=$?
    exec {error}>&-

    # Each simulator writes down what has already arrived before it ends.
    for pid in "${simulator_pids[@]}"; do
        kill -TERM "$pid" 2>/dev/null || continue
        while read -r -t 5 -u "$words" word rest && [[ $word != ended ]]; do
            :
        done
    done
    exit $status
}

# --- the device side of one network --------------------------------------------------------

# Prints the `ip -batch` lines of the device side. The host side has laid eth0, or with the real
# agent port0: then eth0 is a bridge over that and the link to the agent (port1).
device_link_lines() # LINES: what `simulator --addresses` printed
{
    if [[ -n $agent_pid ]]; then
        printf 'link add eth0 address %s type bridge mcast_snooping 0\n' "$(mac "$number" 2)"
        printf 'link add port1 type veth peer name eth0 address %s netns %d\n' $AGENT_MAC "$agent_pid"
        printf 'link set port1 master eth0 up\n'
        printf 'link set port0 master eth0 up\n'
    fi
    printf 'link set lo up\n'
    printf 'address add 10.%d.0.2/16 broadcast 10.%d.255.255 dev eth0\n' "$number" "$number"
    ipv6_lines "$number" "::$number:2" eth0
    # Addresses first: on a link that is up each one costs the kernel six times as much.
    printf '%s\n' "$1"
    printf 'link set eth0 up\n'
    printf 'route add default dev eth0\n' # back to the host's addresses in other subnets
    host_neighbour_lines "$number"
}

# Prints nft rules that drop the lost ones of the TCP segments with which a connection begins or is
# refused. Which of a thousand these are is drawn from the seed: numgen's own numbers have none.
loss_rules()
{
    local hook turn lost
    RANDOM=$seed
    for hook in input output; do
        lost=''
        for ((turn = 0; turn < 1000; turn++)); do
            ((RANDOM % 100 >= loss)) || lost+=$turn,
        done
        printf 'add chain inet loss %s { type filter hook %s priority 0; }\n' $hook $hook
        printf 'add rule inet loss %s tcp flags & (syn | rst) != 0 numgen inc mod 1000 { %s } drop\n' \
            $hook "${lost%,}"
    done
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

# Runs a simulator to its end, with a record of its own where one is kept.
run_simulator() # RECORD [OPTION...]
{
    "$simulator" "${@:2}" --ready-fd 1 ${record:+--record "$1"} &
    echo simulator $!
    wait $!
    simulator_end $?
}

# Both ports of the bridge, if there is one, must take part in it.
wait_for_device_link()
{
    local turn
    wait_for_link eth0 yes || return
    [[ -n $agent_pid ]] || return 0
    for ((turn = 0; turn < 2000; turn++)); do
        [[ $("$ip" -d -o link show master eth0) == *' state forwarding '*' state forwarding '* ]] && return
        read -r -t 0.005 -u "$idle"
    done
    return 1
}

devices_stage() # PLACE: 0 for the network behind eth0
{
    local place=$1 lines='' agent_pid='' text idle number=$((FIRST_NUMBER + $1)) own_record=$record
    quiet_interfaces
    exec {idle}<> <(:)
    echo devices "$place" $$
    if ((place > 0)); then
        fleet=${networks[place - 1]}
        own_record+=.eth$place
    fi
    if [[ -n $fleet ]]; then
        lines=$("$simulator" --addresses "$fleet" --network $number) || {
            simulator_end $?
            exit
        }
    fi
    if [[ $place$snmpd == 0yes ]]; then
        exec 3>&1
        coproc agent { exec unshare --net --mount "$self" --stage agent; }
        agent_pid=$!
        read -r -t 20 -u "${agent[0]}" _
    fi
    read -r _ # the host side has laid the links
    text=$(device_link_lines "$lines" | "$ip" -batch - 2>&1 >/dev/null) || {
        echo unlaid "${text%%$'\n'*}"
        exit
    }
    if ((loss > 0)) && PATH=$SYSTEM_PATH type -P nft >/dev/null; then
        { echo 'add table inet loss' && loss_rules; } | "$(tool nft)" -f - >&2 || echo unlaid 'nft'
    fi
    [[ -z $agent_pid ]] || echo >&"${agent[1]}"
    if [[ -n $fleet ]]; then
        run_simulator "$own_record" --fleet "$fleet" --network $number --interface eth0 \
            --loss "$loss" --seed "$seed" &
    fi
    if wait_for_device_link; then
        echo link
    else
        echo unlaid "the link of network $place"
    fi
    wait
    # The addresses stay as long as something is in this namespace.
    exec tail -f /dev/null
}

# --- the far end of a tunnel ---------------------------------------------------------------

tunnel_stage() # INTERFACE
{
    echo tunnel
    read -r _ # the interface is here
    run_simulator "$record.$1" --tunnel "$1"
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
    local idle turn pid number=$FIRST_NUMBER
    quiet_interfaces
    echo here
    read -r _ # the interface is here
    {
        printf 'link set lo up\n'
        printf 'address add 10.%d.0.161/16 broadcast 10.%d.255.255 dev eth0\n' "$number" "$number"
        ipv6_lines "$number" ::161 eth0
        printf 'link set eth0 up\n'
        host_neighbour_lines "$number"
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
    if agent_is_bound && wait_for_link eth0 yes; then
        echo ready >&3
        wait $pid
    fi
    echo ended snmpd >&3
}
