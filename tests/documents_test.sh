#!/usr/bin/env bash
# Compares the options and keys that the program and the lab read with those that their documents,
# the usage and the completion for bash name, and the README's report with the manual's. SOURCE comes
# from CTest.
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
options() { grep -oE -- '--?[A-Za-z0-9]+' | sed -E 's/^(-[A-Za-z])[A-Z]+$/\1/'; }

options_read=$({
    grep -ohE '"--?[A-Za-z0-9]+"' src/driver/command_line.cpp src/driver/help.cpp
    grep -oE "option == '.'" src/driver/command_line.cpp | sed -E "s/.*'(.)'/-\1/"
    sed -nE 's/^ *\{"([a-z0-9]+)", [0-9].*/--\1/p' src/driver/method.h
} | options)
compare 'options in the usage' "$options_read" "$(grep -E '^ *"  -' src/driver/help.cpp | options)"
compare 'options in the manual' "$options_read" \
    "$(sed -n 's/^\.It Fl/Fl/p' share/man/man1/devscout.1 | sed 's/Fl /-/g' | options)"
# shellcheck disable=SC2016 # the backticks are the README's
compare 'options in the README' "$options_read" "$(grep '^|' README.md | grep -oE '`-[^` ]+' | options)"
compare 'options of the completion' "$options_read" \
    "$(sed -n "/options='/,/'\$/p" share/bash-completion/completions/devscout | options)"

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
    src/snmp/description_query.cpp)
for place in 'share/man/man1/devscout.1:whole @ ms' 'README.md:description,* @ ms' \
    'docs/measurements.md:description @ ms' 'script/bench:turns \* @)'; do
    pattern=${place#*:}
    grep -q "${pattern/@/$wait}" "${place%%:*}" ||
        { echo "${place%%:*} does not name the wait of a description, '$wait' ms"; status=1; }
done

# The manual's first example; what it prints, another test compares with a run.
compare 'the report' "$(sed -n 's/\\-/-/g; /^\$ devscout$/,/^\.Ed/s/^ip: /&/p' share/man/man1/devscout.1)" \
    "$(sed -nE 's/^    (ip: [0-9a-f])/\1/p' README.md)"
exit $status
