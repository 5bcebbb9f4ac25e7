#!/usr/bin/env bash
# Installs the packages of packages.txt, and of further lists that are named, that are missing. Quick when none is.
#
# setup.sh [LIST...]
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"

mapfile -t wanted < <(sed -e '/^#/d' -e 's/[[:space:]].*//' -e '/^$/d' "$root/scripts/packages.txt" "$@" | sort -u)

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    say "no Debian package manager here; going on as if these were installed: ${wanted[*]}"
    exit 0
fi

mapfile -t missing < <(comm -23 <(printf '%s\n' "${wanted[@]}") \
    <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "${wanted[@]}" 2>/dev/null | sed -n 's/^installed //p' | sort))
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || fail "not root and no sudo; as root, run: apt-get install ${missing[*]}"
    as_root=(sudo)
fi
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)

say "installing ${missing[*]}"
"${apt[@]}" update >&2 || fail "apt-get update failed"
"${apt[@]}" install -y --no-install-recommends "${missing[@]}" >&2 </dev/null ||
    fail "apt-get could not install ${missing[*]}"
