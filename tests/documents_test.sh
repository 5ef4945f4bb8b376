#!/usr/bin/env bash
# Compares the options, ports and keys that the program and the lab read with those that their
# documents, the rules for firewalls and the completion for bash name, and the README's report with the
# manual's. SOURCE comes from CTest.
set -euo pipefail
cd "$SOURCE"

status=0
compare() # TEXT CODE DOCUMENT: names, one on each line
{
    [ -n "$2" ] || { echo "$1: the code's names are not found"; status=1; }
    diff -u --label "$1: the code" <(sort -u <<<"$2") --label 'the document' <(sort -u <<<"$3") ||
        status=1
}

# The words behind .Li in the manual's entry of a file, and of what is listed in that.
manual_names() # FILE
{
    awk -v file="$1" '/^\.It Pa/ { open = index($0, file) > 0 }
        /^\.El/ && open && !(--lists) { open = 0 }
        /^\.Bl/ && open { lists++ }
        open && /^(\.It )?\.?Li / { gsub(/^\.(It )?Li | ,/, ""); print }' share/man/man1/devscout.1 |
        tr ' ' '\n' | grep -E '^[A-Za-z_.]{3,}$'
}
table_keys() { sed -nE 's/^ *\{"([A-Za-z0-9_.]+)=?", *.*/\1/p' "$@"; }

# One option in each line; what is attached to a letter, such as a level, is cut off.
options() { grep -oE -- '--?[A-Za-z0-9][A-Za-z0-9-]*=?' | sed -E 's/^(-[A-Za-z])[A-Z]+$/\1/'; }
manual_options() { sed -nE '/^\.It Fl/ { s/^\.It//; s/ Ns =/=/g; s/ Ns [^,]*//g; s/Fl /-/gp }' | options; }
rows() { sed -nE 's/^ *\{"(-[^"]+)", "([^"]*)", option_place::([a-z_]+),.*/\1 \3 \2/p' src/driver/options.h; }
methods=$(tr -s '\n ' ' ' <src/driver/method.h |
    grep -oE '\{"[a-z0-9]+", [0-9][^}]*AF_INET6?, [0-9]+,' |
    sed -E 's/\{"([a-z0-9]+)".*AF_INET(6?), ([0-9]+),/--\1 IPv\2 \3/; s/v /v4 /')

options_read=$(rows | cut -d' ' -f1; cut -d' ' -f1 <<<"$methods")
compare 'options in the manual' "$options_read" "$(manual_options <share/man/man1/devscout.1)"
while IFS=: read -r heading place; do
    compare "options in the manual under $heading" "$(rows | grep " $place " | cut -d' ' -f1)" \
        "$(sed -n "/^\.Ss $heading\$/,/^\.S[hs]/p" share/man/man1/devscout.1 | manual_options)"
done < <(sed -nE 's/.*print_options\("(.*)", option_place::([a-z_]+)\);/\1:\2/p' src/driver/usage.cpp)
compare 'the synopsis' "$(sed -nE 's/.*"(Usage:|      ) (devscout [^"]*)\\n".*/\2/p' src/driver/usage.cpp)" \
    "$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESC/ { /^\.Sh/d; p }' share/man/man1/devscout.1 |
        sed -E 's/^\.Nm$/@devscout/; s/Fl /-/g; s/Ar ([a-z]+)( \.)?/\U\1\2/g; s/^\.Op (.*) \.\.\./ [\1...]/; s/^\.-/ -/' |
        tr -d '\n' | tr @ '\n' | sed 1d)"
# shellcheck disable=SC2016 # the backticks are the README's
compare 'options in the README' "$options_read" "$(grep '^|' README.md | grep -oE '`-[^` ]+' | options)"
compare 'leading options in the README' "$(rows | grep 'before_methods\|anywhere' | cut -d' ' -f1)" \
    "$(grep -oE '^Any argument besides [^.]* ends' README.md | options)"
completion=share/bash-completion/completions/devscout
compare 'options of the completion' "$options_read" "$(sed -n "/options='/,/'\$/p" $completion | options)"
compare 'options with a value in the completion' "$(rows | sed -n 's/ [a-z_]*  .*//p')" \
    "$(grep -E '^ +-[^)]*\)' $completion | cut -d')' -f1 | options)"

# The methods' ports and families.
ports=$(cut -d' ' -f3 <<<"$methods" | sort -nu)
list=$(paste -sd, <<<"$ports" | sed 's/,/, /g')
compare 'ports' "$ports" "$(grep -rhE '_PORT = [0-9]+;' src | grep -v INQUIRY | grep -oE '= [0-9]+' | tr -d '= ')"
compare 'ports of firewalld' "$ports" "$(sed -nE 's/.*protocol="udp" port="([0-9]+)".*/\1/p' share/firewall/devscout.xml)"
compare 'ports of nftables' "$list" "$(sed -nE 's/^udp sport \{ (.*) \} udp.*/\1/p' share/firewall/devscout.nft)"
compare 'ports of ufw' "$list" "$(sed -nE 's/^ufw .* any port ([0-9,]+) to .*/\1/p' share/firewall/devscout.ufw | sed 's/,/, /g')"
for place in share/man/man1/devscout.1 share/firewall/devscout.{nft,ufw,xml} src/driver/help.cpp README.md; do
    tr '\n' ' ' <"$place" | grep -q "ports ${list%, *} and ${list##*, }[ :,\\]" ||
        { echo "$place: the ports are not $list"; status=1; }
done
while read -r word family _; do
    sed -n "/^\.It Fl $word\$/,/^\.It Fl/p" share/man/man1/devscout.1 | grep -q "$family" ||
        { echo "the manual does not name the family of $word, $family"; status=1; }
done <<<"${methods//--/-}"

compare 'log configuration' "$(table_keys src/log/log.cpp)" \
    "$(sed -nE '/^\.Bl -tag -width "USE_TIMESTAMP"/,/^\.El/ s/^\.It Li //p' share/man/man1/devscout.1 |
        sed 's/ , /\n/g')"
compare 'OEM.ini' "$(table_keys src/config/oem_config.cpp)" "$(manual_names OEM.ini)"
compare 'slp.conf' \
    "$(grep -oE '"net\.slp\.[A-Za-z]+"' src/slp/agent/properties.cpp | sed 's/"//g; s/^net\.slp\.//')" \
    "$(manual_names slp.conf | sed 's/^net\.slp\.//')"

fleet_keys=$(table_keys lab/simulator/fleet_keys.cpp)
# shellcheck disable=SC2016 # the backticks are the README's
compare 'fleet files' "$fleet_keys" "$(sed -n '/^## Fleet files/,/^## Record/p' lab/README.md |
    grep -E '^\| `' | cut -d'|' -f2 | grep -oE '`[a-z0-9.]+(=[^`]*)?`' | sed -E 's/`([a-z0-9.]+).*/\1/' |
    grep -vxE 'count|id6|global|language|unicast|version|function')"
for key in $fleet_keys; do
    grep -rqE "[\" ]${key//./\\.}([= \"]|\\\\n|\$)" tests bench lab/fleets ||
        { echo "fleet files: no test uses $key"; status=1; }
done

# How long a description is awaited stands in documents too, and in what the benchmark expects.
wait=$(sed -nE 's/^constexpr .*REQUEST_BUDGET_US = ([0-9]+) \* MICROSECONDS_PER_MILLISECOND;/\1/p' \
    src/snmp/description_query.h)
for place in 'share/man/man1/devscout.1:whole @ ms' 'README.md:description,* @ ms' \
    'docs/measurements.md:description @ ms' 'script/bench:turns \* @)'; do
    pattern=${place#*:}
    grep -q "${pattern/@/$wait}" "${place%%:*}" ||
        { echo "${place%%:*} does not name the wait of a description, '$wait' ms"; status=1; }
done

# The manual's first example; what it prints, another test compares with a run.
compare 'the report' "$(sed -n 's/\\-/-/g; /^\$ devscout$/,/^\.Ed/s/^ip: /&/p' share/man/man1/devscout.1)" \
    "$(sed -nE 's/^    (ip: [0-9a-f])/\1/p' README.md)"
# The README's measurements are some of those that stand in their own document.
! grep ' ms |' README.md | grep -vxFf docs/measurements.md || { echo 'README: not in docs/measurements.md'; status=1; }
exit $status
