#!/usr/bin/env bash
# Runs what stands in share/examples: on tables of lines, with a real cupsd, and in the lab. SOURCE,
# BUILD and SIMULATOR come from CTest.
# shellcheck disable=SC2016 # what looks like the shell's in single quotes is not
set -euo pipefail

"$SOURCE/lab/lab" -- true || exit # 77: no lab here
scratch=$(mktemp -d /tmp/examples-XXXXXX) # cupsd's socket has little room for its path
trap 'rm -rf "$scratch"' EXIT
examples=$SOURCE/share/examples
mkdir "$scratch/bin" "$scratch/empty" "$scratch/kept"
status=0
same() # LABEL EXPECTED PRINTED
{
    diff -u --label 'expected' - --label "$1" <(printf '%s\n' "$3") <<<"$2" || status=1
}

# Hostile texts, names that several bear or that CUPS does not take, hosts that SLP cut.
printers='# Legend: ip: 10.9.1.1 slp: 1,1,1,1 vendor: X dsc: ""
ip: 10.9.1.10       slp: 1,1,0,1 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series [LOBBY] Ground floor"
ip: 10.9.1.20       slp: 1,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "Orvel Brightmoor X2 [STUDIO]"
ip: 10.9.1.70       slp: 1,1,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 10.9.1.71       slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: " [lobby]"
ip: 10.9.1.71       slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: " [again]"
ip: 10.9.1.72       slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: "-it'"'"'s $(touch x) `touch x` \ "q" ; #/"
ip: 10.9.1.73       slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: "ÄÖÜ [ß] [x] '"'"';é"
ip: fd00:9::1:50    slp: 1,0,0,1 snmp: 0,0,0 vendor:  dsc: "Folio 6"
ip: office          slp: 1,1,0,0 snmp: 0,0,0 vendor:  dsc: " 2nd [floor"
ip: printers.exampl slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: "Cut"
ip: $(touch${IFS}x) slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: "Folio 6"'
queues=$("$examples/cups-queues" <<<"$printers")
printf '#!/bin/sh\nprintf "<%%s>" "$@"\necho\n' >"$scratch/bin/lpadmin"
chmod +x "$scratch/bin/lpadmin"
same 'words of lpadmin' '<-p><LOBBY_10.9.1.10><-E><-v><socket://10.9.1.10:9100><-D><QD-77 Series><-L><Ground floor>
<-p><10.9.1.70><-E><-v><ipp://10.9.1.70/ipp/print><-m><everywhere>
<-p><lobby_10.9.1.71><-E><-v><lpd://10.9.1.71/>
<-p><it_s_touch_x_touch_x_q><-E><-v><lpd://10.9.1.72/><-D><-it'"'"'s $(touch x) `touch x` \ "q" ; #/>
<-p><10.9.1.73><-E><-v><lpd://10.9.1.73/><-D><ÄÖÜ><-L><[x] '"'"';é>
<-p><Folio_6><-E><-v><socket://[fd00:9::1:50]:9100><-D><Folio 6>
<-p><office><-E><-v><ipp://office/ipp/print><-m><everywhere><-L><2nd [floor>' \
    "$(cd "$scratch/empty" && PATH=$scratch/bin:$PATH sh <<<"$queues")"
same 'files made by texts' '' "$(ls "$scratch/empty")"
same 'remarks' '# printers.exampl is no whole address: no queue
# $(touch${IFS}x) is no whole address: no queue' "$(grep '^#' <<<"$queues")"

# A cupsd of the lab's own takes the commands. Its backends are stand-ins: nothing is printed.
if command -v cupsd >/dev/null && command -v lpadmin >/dev/null; then
    chmod 755 "$scratch"
    mkdir -p "$scratch"/cups/{backend,ppd,tmp,log}
    for backend in ipp lpd socket; do
        printf '#!/bin/sh\n' >"$scratch/cups/backend/$backend"
    done
    chmod +x "$scratch"/cups/backend/*
    printf '%s\n' "Listen $scratch/cups/socket" 'Browsing No' '<Location />' 'Allow all' '</Location>' \
        '<Policy default>' '<Limit All>' 'Allow all' '</Limit>' '</Policy>' >"$scratch/cups/cupsd.conf"
    printf "%s $scratch/cups/%s\n" ServerRoot '' ServerBin '' RequestRoot '' CacheDir '' StateDir '' \
        TempDir tmp AccessLog log/access ErrorLog log/error PageLog log/page >"$scratch/cups/files.conf"
    printf '%s\n' 'User lp' 'Group lp' 'SystemGroup root' 'Printcap' >>"$scratch/cups/files.conf"
    same 'queues of cupsd' 'device for 10.9.1.70: ipp://10.9.1.70/ipp/print
device for 10.9.1.73: lpd://10.9.1.73/
device for Folio_6: socket://[fd00:9::1:50]:9100
device for it_s_touch_x_touch_x_q: lpd://10.9.1.72/
device for LOBBY_10.9.1.10: socket://10.9.1.10:9100
device for lobby_10.9.1.71: lpd://10.9.1.71/
device for office: ipp://office/ipp/print' "$(CUPS_SERVER=$scratch/cups/socket "$SOURCE/lab/lab" -- \
        bash -c 'cupsd -f -c "$0/cupsd.conf" -s "$0/files.conf" & cupsd=$!
            for ((turn = 0; turn < 300; turn++)); do lpstat -r | grep -q "is running" && break; sleep 0.1; done
            # lpadmin may ask the printers of "-m everywhere" itself, and nobody is there.
            sh <<<"$1" |& grep -v "Unable to connect"; lpstat -v; kill "$cupsd"; wait "$cupsd"' "$scratch/cups" "$queues" 2>&1)"
fi

same 'inventory' '10.8.1.10 10.9.1.10|LOBBY|Taliven|QD-77|ipp lpr raw-tcp|Hall 1
10.9.1.11|DESK|Taliven|QD-77||
10.9.1.12|DESK|Orvel|QD-77||
10.9.1.13 10.9.1.14|DESK||||
10.9.1.15|DESK||||Hall 1
10.9.1.16|||||
10.9.1.17|||||
fd00:9::1:50 2001:db8:9::1:50||Pemberk|Folio 6||
fd00:a::1:50 2001:db8:a::1:50||Pemberk|Folio 6||
fd00:9::51||Pemberk|Folio 6||
2001:db8:9:0:1::5 FE80::1:0:0:5%eth0||Pemberk|Folio 6||
fd00::5||Pemberk|Folio 6||
fd00:9::A01:1 2001:db8:9::10.1.0.1||||lpr|' "$(sed 's/ |/ slp: 0,0,0,0 snmp: 0,0,0 vendor:/' <<'END' |
# addresses only
ip: 10.8.1.10 slp: 1,0,1,1 snmp: 0,0,0 vendor:  dsc: " [LOBBY] Hall 1"
ip: 10.9.1.10 slp: 1,1,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 [LOBBY] Hall 1"
ip: 10.9.1.10 | Taliven dsc: "QD-77 [LOBBY] Hall 1"
ip: 10.9.1.11 | Taliven dsc: "QD-77 [DESK]"
ip: 10.9.1.12 | Orvel dsc: "QD-77 [DESK]"
ip: 10.9.1.13 |  dsc: " [DESK]"
ip: 10.9.1.14 |  dsc: " [DESK]"
ip: 10.9.1.15 |  dsc: " [DESK] Hall 1"
ip: 10.9.1.16 |  dsc: ""
ip: 10.9.1.17 |  dsc: ""
ip: fd00:9::1:50 | Pemberk dsc: "Folio 6"
ip: 2001:db8:9::1:50 | Pemberk dsc: "Folio 6"
ip: fd00:a::1:50 | Pemberk dsc: "Folio 6"
ip: 2001:db8:a::1:50 | Pemberk dsc: "Folio 6"
ip: fd00:9::51 | Pemberk dsc: "Folio 6"
ip: 2001:db8:9:0:1::5 | Pemberk dsc: "Folio 6"
ip: FE80::1:0:0:5%eth0 | Pemberk dsc: "Folio 6"
ip: fd00::5 | Pemberk dsc: "Folio 6"
ip: fd00:9::A01:1 slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 2001:db8:9::10.1.0.1 |  dsc: ""
ip: 10.9.1.17 |  dsc: ""
END
    "$examples/inventory" | tr '\t' '|')"

# A stand-in of devscout: its list, what it says on standard error, its status.
printf '#!/bin/sh\ncat "$1"\nprintf "$SAID" >&2\nexit "$ENDED"\n' >"$scratch/bin/devscout"
chmod +x "$scratch/bin/devscout"
printf '# No total\n' >"$scratch/cut"
run_watch() # LOCALE LIST SAID STATUS: the watch's output and status
{
    echo "$2 $3"
    LC_ALL=$1 SAID=$3 ENDED=$4 PATH=$scratch/bin:$PATH \
        "$examples/watch/devscout-watch" "$scratch/kept" "$scratch/$2" 2>/dev/null || echo "status $?"
}
list() # NAME LINE...
{
    local name=$1
    shift
    { printf 'ip: %s\n' "$@"; echo '# Total 9 printers found, 4s elapsed'; } >"$scratch/$name"
}
a='10.9.1.2        slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: "A"'
b='10.9.1.10       slp: 0,0,0,0 snmp: 1,1,0 vendor:  dsc: "\t'"'"'$(ä)"'
list both "$a" "$b"
list turned "${b/1,1,0/0,0,0}" "$a"
list other "${a/1,0,1/1,1,1}" "fd00::1 ${a#* }"
list named "${a/A/A [HALL]}" "$b"
same 'the watch' 'both 
came: 10.9.1.10 slp: 0,0,0,0 vendor:  dsc: "\t'"'"'$(ä)"
came: 10.9.1.2 slp: 1,0,1,0 vendor:  dsc: "A"
turned noise\n
other devscout: snmp: Network is unreachable\n
failed: snmp: Network is unreachable
came: fd00::1 slp: 1,0,1,0 vendor:  dsc: "A"
cut 
failed: devscout made no list, status 0
status 1
both devscout: slp: killed\n
failed: slp: killed
failed: devscout made no list, status 124
status 1
other 
went: 10.9.1.10 slp: 0,0,0,0 vendor:  dsc: "\t'"'"'$(ä)"
changed: 10.9.1.2 slp: 1,1,1,0 vendor:  dsc: "A"
    was: 10.9.1.2 slp: 1,0,1,0 vendor:  dsc: "A"
named noise\n
came: 10.9.1.10 slp: 0,0,0,0 vendor:  dsc: "\t'"'"'$(ä)"
changed: 10.9.1.2 slp: 1,0,1,0 vendor:  dsc: "A [HALL]"
    was: 10.9.1.2 slp: 1,1,1,0 vendor:  dsc: "A"
went: fd00::1 slp: 1,0,1,0 vendor:  dsc: "A"' "$(
    run_watch C both '' 0
    run_watch C.UTF-8 turned 'noise\n' 0
    run_watch C other 'devscout: snmp: Network is unreachable\n' 0
    run_watch C cut '' 0
    run_watch C both 'devscout: slp: killed\n' 124
    run_watch C.UTF-8 other '' 0
    run_watch C named 'noise\n' 0)"
same 'what the watch keeps' list "$(ls "$scratch/kept")"

# The real program: among two devices, without a network, and among one.
mkdir "$scratch/real"
printf '#!/bin/sh\nexec "%s/devscout" "$@"\n' "$BUILD" >"$scratch/bin/devscout"
printf 'device 10.9.1.%s nodeq.a="Désk %%n"\n' 1 2 >"$scratch/two.fleet"
sed -n 2p "$scratch/two.fleet" >"$scratch/one.fleet"
same 'the watch in the lab' 'came: 10.9.1.1 slp: 0,0,0,0 vendor:  dsc: " [Désk 1]"
came: 10.9.1.2 slp: 0,0,0,0 vendor:  dsc: " [Désk 1]"
failed: nodeq: Network is unreachable
went: 10.9.1.1 slp: 0,0,0,0 vendor:  dsc: " [Désk 1]"' "$(for step in 'two up' 'two up' 'one down' 'one up'; do
    PATH=$scratch/bin:$PATH "$SOURCE/lab/lab" --simulator "$SIMULATOR" --fleet "$scratch/${step% *}.fleet" -- \
        sh -c 'ip link set eth0 "$2" && "$0" "$1" --nodeq 2>&1' "$examples/watch/devscout-watch" \
        "$scratch/real" "${step#* }"
done)"
exit $status
