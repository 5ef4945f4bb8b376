#!/usr/bin/env bash
# Builds the Debian package, installs it into a bare root, runs it there in the lab from PATH as an
# ordinary user, and removes it again. SOURCE, BUILD and SIMULATOR come from CTest.
#
# The root is laid from the host's essential packages and those that the package depends on.
set -euo pipefail

skip() { echo "$1"; exit 77; }
[ "$EUID" = 0 ] || skip 'only root can change its root'
command -v dpkg-buildflags >/dev/null || skip 'not a Debian system'
"$SOURCE/lab/lab" -- true || exit # 77: no lab here
scratch=$(mktemp -d "$BUILD/package-XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# script/package's own folder, so that nothing is compiled twice, unless the build stands elsewhere.
case $BUILD in
    "$SOURCE"/build/*) folder=$SOURCE/build ;;
    *) folder=$BUILD ;;
esac
package=$("$SOURCE/script/package" "$folder" 2>"$scratch/log") || { cat "$scratch/log"; exit 1; }

lay_root() # ROOT
{
    local root=$1 folder name
    mkdir -p "$root"/{dev,proc,tmp,etc} "$root"/var/lib/dpkg/{info,updates,triggers}
    for folder in bin sbin lib lib32 lib64 libx32; do
        [ ! -L /$folder ] || { mkdir -p "$root/usr/$folder" && ln -s "usr/$folder" "$root/$folder"; }
    done
    {
        dpkg-query -W -f '${Essential} ${Package}\n' | sed -n 's/^yes //p'
        dpkg-deb -f "$package" Depends | sed -E 's/ *\([^)]*\)//g; s/, +/\n/g'
    } | xargs apt-cache --installed --recurse --important depends | sort -u |
        comm -12 - <(dpkg-query -W -f '${Package}\n' | sort) >"$scratch/packages"
    xargs dpkg-query -L <"$scratch/packages" | grep -E '^/' | grep -vE '^/usr/share/(doc|man|locale)/' |
        while read -r name; do
            [ ! -f "$name" ] || echo "$name"
        done >"$scratch/files"
    tar -C / -cf - --no-recursion -T "$scratch/files" 2>/dev/null | tar -C "$root" -xf -
    xargs dpkg-query -s <"$scratch/packages" >"$root/var/lib/dpkg/status"
    while read -r name; do
        cp /var/lib/dpkg/info/"$name"{,:*}.list "$root/var/lib/dpkg/info/" 2>/dev/null || true
    done <"$scratch/packages"
    ldconfig -r "$root"
}

root=$scratch/root
lay_root "$root"
dpkg --root="$root" -i "$package" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }

# The mounts vanish with the lab.
# shellcheck disable=SC2016 # $1 is the inner shell's
report=$("$SOURCE/lab/lab" --simulator "$SIMULATOR" --fleet "$SOURCE/lab/fleets/demo.fleet" -- \
    bash -c 'mount --rbind /dev "$1/dev" && mount -t proc proc "$1/proc" &&
        exec chroot --userspec=65534:65534 "$1" /usr/bin/env -i PATH=/usr/local/bin:/usr/bin:/bin \
            devscout' bash "$root" 2>&1)
status=0
# Descriptions come from children of children.
[[ $report == '# Network printers discovery utility'* && $report == *'# Total 7 printers found'* &&
    $report == *'"Orvel Brightmoor X2 [STUDIO]"'* ]] || { printf 'installed:\n%s\n' "$report"; status=1; }

dpkg --root="$root" -r devscout >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
left=$(find "$root" -xdev -name '*devscout*')
[ -z "$left" ] || { printf 'left behind:\n%s\n' "$left"; status=1; }
exit $status
