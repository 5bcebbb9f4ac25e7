#!/usr/bin/env bash
# Renders every effect of the command's list over a real photograph and a moving clip, into out/.
set -Eeuo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"

larkmoor=$root/build/release/bin/larkmoor
out=$root/out
started=$SECONDS
mkdir -p "$out/before-after"
rm -f "$out"/before-after/*.png
work=$(mktemp -d "$out/.work.XXXXXX")
trap 'wait; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

photographs=/usr/share/backgrounds
photo_a=$photographs/Picture_1A_by_freespace.jpg
photo_b=$photographs/picosdeeuropa_by_Aitzol_Berasategi.jpg

encode=(-c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p
    -colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv)
ff() { ffmpeg -v error -nostdin -y "$@"; }

# moving_clip PHOTO SIZE SECONDS FILE: a slow zoom and pan at 25 frames a second under a chord that wanders from left to
# right.
moving_clip() {
    local frames
    frames=$(awk "BEGIN { print int($3 * 25) }")
    ff -i "$1" -f lavfi -i "aevalsrc='0.1*(1-t/6)*(sin(1382.3*t)+sin(1741.6*t))|0.1*t/6*(sin(2071*t)+sin(2764.6*t)):s=48000:d=$3'" \
        -filter_complex "[0:v]crop='min(iw,ih*16/9)':'min(ih,iw*9/16)',scale=2560:1440:out_color_matrix=bt709:out_range=tv,format=yuv420p,\
zoompan=z='1+0.35*on/$frames':x='(iw-iw/zoom)*(0.2+0.6*on/$frames)':y='(ih-ih/zoom)*0.4':d=$frames:s=$2:fps=25,setsar=1[v]" \
        -map '[v]' -map 1:a -t "$3" "${encode[@]}" -c:a aac -b:a 128k -movflags +faststart "$4"
}

still() { ff -i "$1" -vf "crop='min(iw,ih*16/9)':'min(ih,iw*9/16)',scale=960:540,setsar=1" -frames:v 1 "$2"; }

# Sets `look` to the options that show an effect best: without a line here, its last preset that does something.
choose_look() {
    case $1 in
    Invert) look=() ;;
    'Quick Blur') look=(--set blendAmount=1) ;;
    'Brightness and Contrast') look=(--preset 'Brighter, More Contrast') ;;
    Levels) look=(--preset Darken) ;;
    'Add Noise') look=(--preset Color) ;;
    'Gaussian Blur') look=(--preset 'Medium Blur') ;;
    Pixelate) look=(--preset Large) ;;
    Wave) look=(--preset Large) ;;
    'Chroma Keyer') look=(--preset 'Blue Screen') ;;
    'Mask Generator') look=(--preset 'Luminance Mask') ;;
    *)
        local preset
        preset=$("$larkmoor" show "$1" --json |
            jq -r '[.presets[]? | (.name? // .) | select(. != "Reset to None")] | last // empty')
        look=(${preset:+--preset "$preset"})
        ;;
    esac
}

# render_effect NAME KIND NUMBER: the pair of pictures, a labelled thumbnail and a labelled piece of the tour.
render_effect() {
    local name=$1 kind=$2 base=$work/$3 before=$out/photo.png slug look
    slug=$(slug_of "$name")
    choose_look "$name"
    case $kind in
    filter)
        "$larkmoor" render "$out/photo.png" -o "$base.png" -y --effect "$name" "${look[@]}"
        "$larkmoor" render "$work/small.mp4" -o "$base.mp4" -y --effect "$name" "${look[@]}"
        ;;
    transition)
        "$larkmoor" join "$work/a.mp4" "$work/b.mp4" -o "$base.mp4" -y --duration 1 --transition "$name" "${look[@]}"
        ff -ss 1 -i "$base.mp4" -frames:v 1 "$base.png"
        ;;
    generator)
        "$larkmoor" generate "$name" -o "$base.mp4" -y --size 640x360 --rate 25 --duration 2 "${look[@]}"
        "$larkmoor" generate "$name" -o "$base.png" -y --size 960x540 "${look[@]}"
        ;;
    *) fail "the list names a kind that is unknown here: $kind" ;;
    esac
    printf '%s' "$name" >"$base.txt"
    local label="drawtext=textfile=$3.txt:font=Sans:fontcolor=white"
    (cd "$work" && ff -i "$before" -i "$3.png" -i "$3.mp4" -filter_complex "\
[0:v]scale=960:540,format=rgba[before];[1:v]scale=960:540,format=rgba,split[after][top];\
[before][after]hstack[pair];\
[top]scale=320:180[top];color=0x606060:s=320x180[grey];[grey][top]overlay=shortest=1,format=rgb24,\
pad=320:208:0:0:0x202020,$label:fontsize=18:x=(w-tw)/2:y=185[thumb];\
[2:v]fps=25,scale=640:360:out_color_matrix=bt709:out_range=tv,format=yuv420p,setsar=1,$label:fontsize=22:x=16:y=h-th-16:box=1:boxcolor=black@0.5:boxborderw=8[tour]" \
        -map '[pair]' -frames:v 1 "$out/before-after/$slug.png" -map '[thumb]' -frames:v 1 "thumb-$3.png" \
        -map '[tour]' -frames:v 50 "${encode[@]}" -video_track_timescale 12800 "tour-$3.mp4")
}

slug_of() { tr 'A-Z ' 'a-z-' <<<"$1"; }

for photo in "$photo_a" "$photo_b"; do
    [[ -r $photo ]] || fail "no photograph at $photo; the package lomiri-wallpapers-16.04 has it"
done

mapfile -t effects < <("$larkmoor" list --json | jq -r '.[] | [.name, .kind] | @tsv')
((${#effects[@]})) || fail "larkmoor list --json names no effect"

say "making a still and moving clips from a photograph"
still "$photo_a" "$out/photo.png"
if [[ ! $out/clip.mp4 -nt ${BASH_SOURCE[0]} ]]; then
    moving_clip "$photo_a" 1280x720 4 "$work/clip.mp4"
    mv "$work/clip.mp4" "$out/clip.mp4"
fi
ff -i "$out/clip.mp4" -t 2 -vf scale=640:360 "${encode[@]}" -c:a aac "$work/small.mp4"
if [[ ${effects[*]} == *$'\t'transition* ]]; then
    moving_clip "$photo_a" 640x360 1.5 "$work/a.mp4"
    moving_clip "$photo_b" 640x360 1.5 "$work/b.mp4"
fi

full=Invert
say "rendering $full over the whole clip"
"$larkmoor" render "$out/clip.mp4" -o "$out/clip-$(slug_of "$full").mp4" -y --effect "$full"

say "rendering ${#effects[@]} effect(s) over the photograph and the clip"
number=0
for effect in "${effects[@]}"; do
    while (($(jobs -rp | wc -l) >= $(nproc))); do wait -n; done
    IFS=$'\t' read -r name kind <<<"$effect"
    number=$((number + 1))
    say "  $name"
    {
        trap 'say "$name could not be rendered"' ERR
        render_effect "$name" "$kind" "$(printf %02d $number)"
    } &
done
while [[ -n $(jobs -p) ]]; do wait -n; done

say "joining the tour and the contact sheet"
for ((i = 1; i <= number; i++)); do printf "file tour-%02d.mp4\n" $i; done >"$work/tour.txt"
ff -f concat -i "$work/tour.txt" -stream_loop -1 -i "$out/clip.mp4" -map 0:v -map 1:a -c copy -t $((number * 2)) \
    -movflags +faststart "$out/tour.mp4"
columns=$((number < 6 ? number : 6))
ff -i "$work/thumb-%02d.png" -vf "tile=${columns}x$(((number + columns - 1) / columns)):padding=8:margin=8:color=0x202020" \
    -frames:v 1 "$out/contact-sheet.png"

cat <<END
The photograph and the clip:     out/photo.png  out/clip.mp4
The clip under $full, 1280x720:  out/clip-$(slug_of "$full").mp4
Every effect over the clip:      out/tour.mp4
Every effect at a glance:        out/contact-sheet.png
Before and after, each effect:   out/before-after/  ($number pictures)
Done in $((SECONDS - started)) s; everything is below $out
END
