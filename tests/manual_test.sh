#!/usr/bin/env bash
# Runs every example of the manual page on the demonstration fleet and compares what it prints with
# what the page says. The tool is installed below a prefix of awkward characters. SOURCE, BUILD and
# SIMULATOR come from CTest.
set -euo pipefail

"$SOURCE/lab/lab" -- true || exit # 77: no lab here
scratch=$(mktemp -d "$BUILD/manual-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/it's \"my\" \$HOME; prefix"
cmake --install "$BUILD" --prefix "$prefix" >/dev/null

# What the examples call: every devscout has a lab of its own, on this host or on another one.
mkdir "$scratch/bin" "$scratch/examples"
cat >"$scratch/bin/devscout" <<END
#!/bin/sh
exec '$SOURCE/lab/lab' --simulator '$SIMULATOR' --fleet '$SOURCE/lab/fleets/demo.fleet' -- \\
    $(printf %q "$prefix")/bin/devscout "\$@"
END
printf '#!/bin/sh\nshift\nexec "$@"\n' >"$scratch/bin/ssh"
chmod +x "$scratch/bin"/*

# An example is a block of indented lines, begun by commands behind "$ " and, continued, "> ".
LC_ALL=C.UTF-8 MANWIDTH=120 man -l -Tutf8 -P cat "$SOURCE/share/man/man1/devscout.1" | col -bx |
    awk -v folder="$scratch/examples" -v margin='           ' '
        /^[^ ]/ { examples = $0 == "EXAMPLES" }
        !examples || index($0, margin) != 1 { open = 0; next }
        { line = substr($0, length(margin) + 1) }
        !open { open = ++count }
        line ~ /^[$>] / { print substr(line, 3) >(folder "/" open ".sh"); next }
        { print line >(folder "/" open ".expected") }'

# Neither order, tabs nor seconds can be read from the page.
comparable() { sed -E 's/, [0-9]+s elapsed/, Ns elapsed/; s/[[:blank:]]+/ /g; s/ $//' | sort; }

for example in "$scratch"/examples/*.sh; do
    (cd "$prefix/share/doc/devscout/examples" && PATH=$scratch/bin:$PATH TMPDIR=$scratch \
        exec bash "$example" >"${example%.sh}.out" 2>&1 </dev/null) &
done
wait
status=0 count=0
for example in "$scratch"/examples/*.sh; do
    count=$((count + 1))
    name=${example%.sh}
    diff -u --label 'the page' <(comparable <"$name.expected") --label 'its example' <(comparable <"$name.out") ||
        { printf 'in: %s\n' "$(<"$example")"; status=1; }
done
blocks=$(sed -n '/^\.Sh EXAMPLES/,/^\.Sh DIAG/p' "$SOURCE/share/man/man1/devscout.1" | grep -c '^\.Bd')
[ "$count" -eq "$blocks" ] || { echo "$count examples run of $blocks on the page"; status=1; }
exit $status
