#!/usr/bin/env bash
# Takes the pictures of every settings page and of the studio into docs/, and writes the page that shows them.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"

"$root/scripts/setup.sh"
build release larkmoor larkmoor-studio-pictures

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
say "taking pictures"
# Nothing of the user's own: settings, fonts' sizes, scale.
for scale in 1 2; do
    HOME=$work XDG_CONFIG_HOME=$work/c XDG_DATA_HOME=$work/d XDG_CACHE_HOME=$work/k XDG_RUNTIME_DIR=$work \
        QT_SCALE_FACTOR=$scale xvfb-run --auto-servernum --server-args '-screen 0 1600x1000x24' \
        "$root/build/release/bin/larkmoor-studio-pictures" "$work/pictures"
done

mkdir -p "$root/docs/pages"
rm -f "$root"/docs/pages/*.png
for picture in "$work"/pictures/*.png; do
    name=$(basename "$picture")
    # Windows have few colours, films have many.
    to=$root/docs/pages/$name dither=none
    [[ $name != studio* ]] || to=$root/docs/$name dither=bayer:bayer_scale=2
    ffmpeg -v error -nostdin -y -i "$picture" \
        -vf "split[a][b];[a]palettegen=reserve_transparent=0[p];[b][p]paletteuse=dither=$dither" -frames:v 1 "$to"
done

{
    printf '# Settings pages\n\n'
    printf 'The page of every effect with its default settings (Dissolve with Color Bleed chosen), as the studio shows it. `scripts/pictures.sh` takes them.\n'
    "$root/build/release/bin/larkmoor" list --json |
        jq -r '.[] | "\(.name)\t\(.class)"' | while IFS=$'\t' read -r name class; do
        [[ -f $root/docs/pages/$class.png ]] || continue
        printf '\n## %s\n\n![%s](pages/%s.png)\n' "$name" "$name" "$class"
    done
} >"$root/docs/pages.md"
say "docs/pages.md is written"
