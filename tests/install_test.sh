#!/usr/bin/env bash
# Installs below a prefix of awkward characters and runs the tool there from PATH; installs into a
# staging folder and looks at what stands there. SOURCE, BUILD and SIMULATOR come from CTest.
set -euo pipefail

"$SOURCE/lab/lab" -- true || exit # 77: no lab here
scratch=$(mktemp -d "$BUILD/install-XXXXXX")
trap 'rm -rf "$scratch"' EXIT

prefix="$scratch/it's \"my\" \$HOME; prefix"
cmake --install "$BUILD" --prefix "$prefix" >/dev/null
cd /
report=$(PATH="$prefix/bin:$PATH" "$SOURCE/lab/lab" --simulator "$SIMULATOR" \
    --fleet "$SOURCE/lab/fleets/demo.fleet" -- devscout --nodeq 2>&1)
status=0
[[ $report == '# Mode nodeq'* && $report == *'# Total 3 printers found'* ]] ||
    { printf 'from PATH:\n%s\n' "$report"; status=1; }

DESTDIR="$scratch/stage" cmake --install "$BUILD" --prefix /opt/devscout >/dev/null
cd "$scratch/stage"
diff -u - <(find . -type f | sort) <<'END' || status=1
./opt/devscout/bin/devscout
./opt/devscout/lib/devscout/bin/devscout
./opt/devscout/lib/devscout/share/OEM.ini
./opt/devscout/share/bash-completion/completions/devscout
./opt/devscout/share/doc/devscout/changelog.gz
./opt/devscout/share/doc/devscout/copyright
./opt/devscout/share/doc/devscout/firewall/devscout.nft
./opt/devscout/share/doc/devscout/firewall/devscout.xml
./opt/devscout/share/man/man1/devscout.1.gz
END
diff -u - opt/devscout/bin/devscout <<'END' || status=1
#!/bin/sh
exec '/opt/devscout/lib/devscout/bin/devscout' "$@"
END
exit $status
