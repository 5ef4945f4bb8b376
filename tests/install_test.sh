#!/usr/bin/env bash
# Installs into a staging folder and looks at what stands there. SOURCE and BUILD come from CTest.
set -euo pipefail

scratch=$(mktemp -d "$BUILD/install-XXXXXX")
trap 'rm -rf "$scratch"' EXIT

status=0
DESTDIR="$scratch/stage" cmake --install "$BUILD" --prefix /opt/devscout >/dev/null
cd "$scratch/stage"
diff -u - <(find . -type f | sort) <<'END' || status=1
./opt/devscout/bin/devscout
./opt/devscout/lib/devscout/bin/devscout
./opt/devscout/lib/devscout/share/OEM.ini
./opt/devscout/share/bash-completion/completions/devscout
./opt/devscout/share/doc/devscout/changelog.gz
./opt/devscout/share/doc/devscout/copyright
./opt/devscout/share/doc/devscout/examples/cups-queues
./opt/devscout/share/doc/devscout/examples/inventory
./opt/devscout/share/doc/devscout/examples/watch/devscout-watch
./opt/devscout/share/doc/devscout/examples/watch/devscout-watch.service
./opt/devscout/share/doc/devscout/examples/watch/devscout-watch.timer
./opt/devscout/share/doc/devscout/firewall/devscout.nft
./opt/devscout/share/doc/devscout/firewall/devscout.ufw
./opt/devscout/share/doc/devscout/firewall/devscout.xml
./opt/devscout/share/man/man1/devscout.1.gz
END
diff -u - opt/devscout/bin/devscout <<'END' || status=1
#!/bin/sh
exec '/opt/devscout/lib/devscout/bin/devscout' "$@"
END
exit $status
