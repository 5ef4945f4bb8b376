#!/usr/bin/env bash
# Runs every example of the manual page on the demonstration fleet and compares what it prints with
# what the page says, in three locales: two devices more, whose names are not ASCII, make none of
# them stumble. The tool is installed, whole, below a prefix of awkward characters. SOURCE, BUILD and
# SIMULATOR come from CTest.
set -euo pipefail

"$SOURCE/lab/lab" -- true || exit # 77: no lab here
scratch=$(mktemp -d "$BUILD/manual-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/it's \"my\" \$HOME; prefix"
cmake --install "$BUILD" --prefix "$prefix" >/dev/null
status=0 count=0
diff -u - --label installed <(cd "$prefix" && find . -type f | sort) <<'END' || status=1
./bin/devscout
./lib/devscout/bin/devscout
./lib/devscout/share/OEM.ini
./share/bash-completion/completions/devscout
./share/doc/devscout/changelog.gz
./share/doc/devscout/copyright
./share/doc/devscout/examples/cups-queues
./share/doc/devscout/examples/inventory
./share/doc/devscout/examples/watch/devscout-watch
./share/doc/devscout/examples/watch/devscout-watch.service
./share/doc/devscout/examples/watch/devscout-watch.timer
./share/doc/devscout/firewall/devscout.nft
./share/doc/devscout/firewall/devscout.ufw
./share/doc/devscout/firewall/devscout.xml
./share/man/man1/devscout.1.gz
END

# What the examples call: every devscout has a lab of its own, on this host or on another one. What
# it says to the same arguments is kept: it is the same in every locale.
mkdir "$scratch/bin" "$scratch/examples" "$scratch/said"
cat "$SOURCE/lab/fleets/demo.fleet" - >"$scratch/fleet" <<'END'
device 10.9.9.1 id="MFG:Ramo;MDL:S;CLS:PRINTER;" nodeq.a="B\xfcro" nodeq.b="cut here: 12345678\xc3\xbc"
device 10.9.9.2 slp.url="service:printer:ipp://10.9.9.b\xfcro\xc3/"
END
cat >"$scratch/bin/devscout" <<END
#!/bin/sh
said='$scratch/said/run'\$(echo "\$*" | tr -c 'a-z0-9\n' _)
[ -e "\$said" ] || {
    '$SOURCE/lab/lab' --simulator '$SIMULATOR' --fleet '$scratch/fleet' -- \\
        $(printf %q "$prefix")/bin/devscout "\$@" >"\$said.\$\$" && mv "\$said.\$\$" "\$said"
}
exec cat "\$said"
END
printf '#!/bin/sh\nshift\nexec "$@"\n' >"$scratch/bin/ssh"
chmod +x "$scratch/bin"/*

# An example is a block of lines with one margin, begun by commands behind "$ " and, continued, "> ".
LC_ALL=C.UTF-8 MANWIDTH=120 GROFF_NO_SGR=1 man -l -Tutf8 -P cat "$SOURCE/share/man/man1/devscout.1" | col -bx |
    awk -v folder="$scratch/examples" '
        /^[^ ]/ { examples = $0 == "EXAMPLES" }
        examples && !open && /^ +\$ / { open = ++count; match($0, /^ +/); margin = substr($0, 1, RLENGTH) }
        !open || index($0, margin) != 1 { open = 0; next }
        { line = substr($0, length(margin) + 1) }
        line ~ /^[$>] / { print substr(line, 3) >(folder "/" open ".sh"); next }
        { print line >(folder "/" open ".expected") }'

# Neither order, tabs nor seconds can be read from the page, nor stand the two devices there.
comparable() {
    grep -v '10\.9\.9\.' | sort |
        sed -E 's/, [0-9]+s elapsed/, Ns elapsed/; s/Total 9 /Total 7 /; s/[[:blank:]]+/ /g; s/ $//'
}

localedef -i de_DE -f UTF-8 "$scratch/de_DE.UTF-8"
export LOCPATH=$scratch TMPDIR=$scratch
cd "$prefix/share/doc/devscout/examples"
for locale in C C.UTF-8 de_DE.UTF-8; do
    for example in "$scratch"/examples/*.sh; do
        PATH=$scratch/bin:$PATH LC_ALL=$locale bash "$example" >"${example%.sh}.$locale" 2>&1 </dev/null &
    done
    wait
done
export LC_ALL=C
for example in "$scratch"/examples/*.sh; do
    count=$((count + 1))
    name=${example%.sh}
    for locale in C C.UTF-8 de_DE.UTF-8; do
        diff -u --label 'the page' <(comparable <"$name.expected") --label "its example, $locale" \
            <(comparable <"$name.$locale") || { printf 'in: %s\n' "$(<"$example")"; status=1; }
    done
done
# In all the examples together the two devices stand on 14 lines.
for locale in C C.UTF-8 de_DE.UTF-8; do
    listed=$(cat "$scratch"/examples/*."$locale" | grep -c '10\.9\.9\.') || true
    [ "$listed" = 14 ] || { echo "$listed lines with names that are not ASCII instead of 14, $locale"; status=1; }
done
blocks=$(sed -n '/^\.Sh EXAMPLES/,/^\.Sh DIAG/p' "$SOURCE/share/man/man1/devscout.1" | grep -c '^\.Bd')
[ "$count" -eq "$blocks" ] || { echo "$count examples run of $blocks on the page"; status=1; }
exit $status
