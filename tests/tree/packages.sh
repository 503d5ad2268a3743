#!/usr/bin/env bash
# Installs the packages into a root of their own, runs what is in them there, and removes them again, which must leave
# nothing; unpacks the portable folder and runs that. For ./dev package, as root.
#     packages.sh FOLDER
set -euo pipefail
packages=$(readlink -f "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

# The root holds what the programs load, and the files by which dpkg knows what is installed.
mkdir -p "$root"/{bin,lib64,tmp,root,var/lib/dpkg/{info,updates,triggers},var/log}
: >"$root/var/lib/dpkg/status"
mkdir "$work/plain"
tar -C "$work/plain" -xzf "$packages"/tessarune-*.tar.gz
plain=$(echo "$work"/plain/*)
for program in "$plain"/bin/* "$plain"/lib/libtessarune.so.2 /bin/sh; do
    ldd "$program" | grep -oE '/[^ ]+' || true
done | sort -u | while read -r file; do [ "${file#"$plain"}" != "$file" ] || install -D "$file" "$root$file"; done
install -D /bin/sh "$root/bin/sh"
list() { (cd "$root" && find . -path ./var -prune -o -print | sort); }
before=$(list)

dpkg --root="$root" --force-depends --force-script-chrootless --log=/dev/null -i "$packages"/*.deb >"$work/install.log" 2>&1 ||
    { cat "$work/install.log"; exit 1; }
for program in info config library run replay demo page; do
    chroot "$root" "/usr/bin/tessarune-$program" --version | grep -q "^tessarune-$program [0-9]" ||
        { echo "tessarune-$program of the package doesn't tell its version."; exit 1; }
done
chroot "$root" /usr/bin/tessarune-config set Output Silent
chroot "$root" /usr/bin/tessarune-config show | grep -q /usr/share/tessarune/Tessarune.afl
chroot "$root" /usr/bin/tessarune-run /usr/bin/tessarune-info >"$work/info.txt"
grep -q "AL vendor" "$work/info.txt"
chroot "$root" /usr/bin/tessarune-run --record /tmp/info.calls /usr/bin/tessarune-info >/dev/null
chroot "$root" /usr/bin/tessarune-replay --info /tmp/info.calls | grep -q alcOpenDevice
rm "$root/tmp/info.calls"
rm -rf "$root/root/.config" "$root"/tmp/HollowbrookLabs-*
dpkg --root="$root" --force-script-chrootless --log=/dev/null -P tessarune-openal tessarune-dev tessarune-page tessarune >"$work/remove.log" 2>&1 ||
    { cat "$work/remove.log"; exit 1; }
left=$(comm -13 <(echo "$before") <(list))
[ -z "$left" ] || { echo "The packages left behind:"; echo "$left"; exit 1; }

export XDG_CONFIG_HOME=$work/user XDG_CONFIG_DIRS=$work/nowhere
"$plain/bin/tessarune-config" set Output Silent
"$plain/bin/tessarune-run" "$plain/bin/tessarune-info" 2>&1 | grep -q "used Tessarune"
echo "The packages and the folder install, run and go without a trace."
