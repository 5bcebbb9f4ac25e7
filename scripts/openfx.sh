#!/usr/bin/env bash
# The picture in docs/openfx.md: the icons of the built bundle, and what the tests' host is told of some plug-ins.
#
# openfx.sh OUT.png
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for effect in GaussianBlur ChromaKeyer ClockWipe Text; do
    sed -n "/^org.larkmoor.$effect /,/^$/p" "$root/tests/data/openfx.txt"
done | cut -c -130 >"$work/listing.txt"
icons=("$root"/build/release/OFX/Plugins/Larkmoor.ofx.bundle/Contents/Resources/*.png)
for i in "${!icons[@]}"; do ln -s "${icons[i]}" "$work/$(printf %02d "$i").png"; done
font=/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf
ffmpeg -v error -y -i "$work/%02d.png" -f lavfi -i "color=0x202428:s=1144x724" -filter_complex "
    [0]format=rgba,scale=96:96,tile=11x3:padding=8:margin=4:color=0x202428[icons];
    [1]drawtext=fontfile=$font:textfile=$work/listing.txt:fontcolor=0xd8dce0:fontsize=14:line_spacing=4:x=16:y=12[text];
    [icons]pad=1144:ih:0:0:0x202428[top];
    [top][text]vstack" -frames:v 1 "$1"
