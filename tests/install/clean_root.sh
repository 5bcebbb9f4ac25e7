#!/usr/bin/env bash
# The Debian packages in a root of their own: made, judged by lintian, installed, run, removed, and nothing left.
#
# clean_root.sh BUILD          in a copy of this system that forgets what is written: quick, no network
# clean_root.sh BUILD MIRROR   in a bare Debian from that mirror, where apt finds what the packages ask for
#
# Ends with 77 where no such root can be had.
set -euo pipefail
build=$(readlink -f "$1") mirror=${2-}
if [[ -z ${LARKMOOR_OWN_MOUNTS-} ]]; then
    if ((EUID != 0)) || ! unshare --mount true 2>/dev/null; then
        echo "skipped: only root may make roots" >&2
        exit 77
    fi
    LARKMOOR_OWN_MOUNTS=yes exec unshare --mount "$0" "$@"
fi
fail() {
    echo "$*" >&2
    exit 1
}
work=$(mktemp -d)
trap 'umount -lR "$work" 2>/dev/null; rm -rf "$work"' EXIT
mount -t tmpfs clean "$work" 2>/dev/null || {
    echo "skipped: nothing may be mounted here" >&2
    exit 77
}
root=$work/root
mkdir "$root" "$work/upper" "$work/inner" "$work/packages"

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/packages" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
rm -rf "$work/packages/_CPack_Packages"
lintian --fail-on error "$work"/packages/*.deb >"$work/log" 2>&1 || fail "$(cat "$work/log")"

inside() { chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"; }
if [[ -n $mirror ]]; then
    command -v mmdebstrap >/dev/null || fail "that takes the package mmdebstrap"
    mmdebstrap --quiet --variant=minbase --include=ca-certificates bookworm "$root" "$mirror"
    mount --bind /proc "$root/proc"
    inside apt-get -qq update
    inside apt-get -qq install -y --no-install-recommends ffmpeg >/dev/null
    written=$root
    installs=(apt-get -qq install -y --no-install-recommends)
else
    mount -t overlay clean -o "lowerdir=/,upperdir=$work/upper,workdir=$work/inner" "$root" 2>/dev/null || {
        echo "skipped: this system has no overlays" >&2
        exit 77
    }
    written=$work/upper
    installs=(dpkg --install)
fi
# What is there of ours, but for the packages themselves; a file that was taken from below shows as a device.
traces() { find "$written" -xdev -path "$written/tmp" -prune -o -iname '*larkmoor*' ! -type c -print; }
mkdir -p "$root/tmp/packages"
cp "$work"/packages/*.deb "$root/tmp/packages"
mapfile -t files < <(cd "$root" && ls -d tmp/packages/*.deb)
mapfile -t names < <(for file in "${files[@]}"; do dpkg-deb --field "$root/$file" Package; done)
inside "${installs[@]}" "${files[@]/#//}" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
[[ $(traces | wc -l) -gt 100 ]] || fail "the packages hold next to nothing: $(traces)"
((${#names[@]} == 5)) || fail "there are not five packages but ${names[*]}"

inside bash -euc '
    cd /tmp
    larkmoor generate "Test Pattern" --size 64x48 -o a.png
    larkmoor render a.png -o b.png --effect Invert
    ffmpeg -v error -i a.png -vf frei0r=larkmoor_invert -pix_fmt rgb24 -f rawvideo plug.raw
    ffmpeg -v error -i b.png -pix_fmt rgb24 -f rawvideo command.raw
    cmp plug.raw command.raw
    larkmoor-studio --help
    test -e /usr/OFX/Plugins/Larkmoor.ofx.bundle/Contents/Linux-x86-64/Larkmoor.ofx
' >"$work/log" 2>&1 || fail "what was installed does not run: $(cat "$work/log")"
inside dpkg --purge "${names[@]}" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
left=$(traces)
[[ -z $left ]] || fail "left when the packages were removed: $left"
echo "installed, run and removed: ${names[*]}"
