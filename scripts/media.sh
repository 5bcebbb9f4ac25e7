#!/usr/bin/env bash
# Makes clips of many kinds with FFmpeg, renders each through an effect that changes nothing and through Sepia, compares
# what comes out with FFmpeg's own reading of what went in, and writes docs/media.md.
#
# To add a row: row NAME INPUT OUTPUT "OPTIONS OF THE ENCODER" [OPTIONS OF RENDER] [FILTERS OF THE REFERENCE], or, for
# an input that takes more to make, a line that makes it and `render_row`.
set -eu # no pipefail: words.sh cuts pipes short
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
source "$root/tests/apps/media/words.sh"
larkmoor=${1:-$root/build/release/bin/larkmoor}
[[ -x $larkmoor ]] || fail "build larkmoor first, or name it: scripts/media.sh LARKMOOR"
table=$(mktemp -d)
trap 'rm -rf "$table"' EXIT
cd "$table"
export size=320x180
none=(--effect Levels --preset "Reset to None")

verdict() { [[ $1 == "$2" ]] && printf same || printf '**%s, not %s**' "${1:-none}" "${2:-none}"; }
tags() { look v:0 stream=color_range,color_space,color_transfer,color_primaries,field_order,sample_aspect_ratio "$1" | sed 's/,*$//;q'; }

# sounds IN OUT: "same" where the samples are, else what they became.
sounds() {
    if [[ -z $(look a:0 stream=codec_name "$1") ]]; then
        echo -
    elif [[ $(sound "$2" 2>/dev/null) == "$(sound "$1")" ]]; then
        echo same
    else
        look a:0 stream=codec_name "$2" | head -n 1
    fi
}

# render_row NAME INPUT OUTPUT [OPTIONS] [FILTERS]: adds the row of a file that is there.
render_row() {
    local name=$1 in=$2 out=out.$3 filters=${5:-null} options status note rate
    read -ra options <<<"${4:-}"
    status=0
    "$larkmoor" render "$in" -y -o "$out" "${none[@]}" "${options[@]}" 2>note || status=$?
    note=$(sed 's/^larkmoor: //; s/|/,/g' note | tr '\n' ' ')
    if [[ $status != 0 && $status != 3 ]]; then
        printf '| %s | %s | %s | | | | | | **fails: %s** |\n' "$name" "${in#in.}" "$3" "$note" >>rows
        return
    fi
    ff -i "$in" -map 0:v:0 -vf "$filters" -fps_mode passthrough -c:v ffv1 ref.mkv 2>/dev/null || true
    rate=$(psnr ref.mkv "$out")
    # Sepia over FFmpeg's reading, without any codec, against Sepia on the way.
    "$larkmoor" render "$in" -y -o sepia.mkv --codec ffv1 --pixel-format bgr0 --effect Sepia "${options[@]}" 2>/dev/null || true
    ff -i ref.mkv -vf "scale=flags=lanczos+accurate_rnd+full_chroma_int+full_chroma_inp" -pix_fmt bgr0 -c:v ffv1 bgr.mkv
    "$larkmoor" render bgr.mkv -y -o want.mkv --effect Sepia 2>/dev/null
    printf '| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n' "$name" "${in#in.}" "$3" \
        "$(verdict "$(count "$out")" "$(count ref.mkv)")" \
        "$(if [[ $(stamps "$out") == "$(stamps ref.mkv)" ]]; then echo same; else echo "**differ**"; fi)" \
        "$(verdict "$(tags "$out")" "$(tags "$in")")" \
        "$(sounds "$in" "$out")" \
        "$rate" "$(psnr want.mkv sepia.mkv)" "$note$([[ $status == 0 ]] || echo "(exit code $status)")" >>rows
}

# clip FILE "OPTIONS"
clip() {
    local options
    read -ra options <<<"$2"
    make "$1" "${options[@]}"
}

# row NAME INPUT OUTPUT "OPTIONS" [OPTIONS OF RENDER] [FILTERS]
row() {
    say "$1: $2 to $3"
    clip "in.$2" "$4" 2>/dev/null || {
        printf '| %s | %s | %s | | | | | | | FFmpeg cannot make it |\n' "$1" "$2" "$3" >>rows
        return
    }
    render_row "$1" "in.$2" "$3" "${5:-}" "${6:-}"
}

x264="-pix_fmt yuv420p -c:v libx264 -g 25"
s="-f lavfi -i sine=440:duration=2"

# Containers and codecs, with the sound that is usual in each.
row "H.264" mp4 mp4 "$s $x264 -c:a aac"
row "H.264" mkv mkv "$s $x264 -c:a aac"
row "H.264" mov mov "$s $x264 -c:a pcm_s16le"
row "H.264" ts ts "$s $x264 -c:a aac"
row "H.264" m2ts m2ts "$s $x264 -c:a ac3"
row "H.264" flv flv "$s $x264 -c:a aac"
row "H.264, no container" h264 mkv "$x264"
row "HEVC" mp4 mp4 "$s -pix_fmt yuv420p -c:v libx265 -x265-params log-level=none -c:a aac"
row "HEVC" ts ts "-pix_fmt yuv420p -c:v libx265 -x265-params log-level=none"
row "AV1" mkv mkv "-pix_fmt yuv420p -c:v libaom-av1 -cpu-used 8 -usage realtime"
row "VP9" webm webm "$s -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -c:a libopus"
row "VP8" webm webm "$s -c:v libvpx -deadline realtime -c:a libvorbis"
row "MPEG-4" avi avi "$s -c:v mpeg4 -q:v 3 -c:a mp3"
row "MPEG-2" mpg mpg "$s -c:v mpeg2video -bf 2 -q:v 3 -c:a mp2"
row "MPEG-2" mxf mxf "-c:v mpeg2video -q:v 3"
row "Theora" ogv ogv "$s -c:v libtheora -q:v 8 -c:a libvorbis"
row "Windows Media" wmv wmv "$s -c:v wmv2 -q:v 3 -c:a wmav2"
row "Motion JPEG" avi avi "$s -c:v mjpeg -q:v 3 -c:a pcm_s16le"
row "ProRes 422" mov mov "-c:v prores_ks -profile:v 2"
row "DNxHR SQ" mov mov "-pix_fmt yuv422p -c:v dnxhd -profile:v dnxhr_sq"
row "FFV1" mkv mkv "-pix_fmt bgr0 -c:v ffv1"
row "GIF" gif mkv ""
# Depth.
row "10 bits, HEVC" mkv mkv "-pix_fmt yuv420p10le -c:v libx265 -x265-params log-level=none"
row "12 bits, FFV1" mkv mkv "-pix_fmt yuv444p12le -c:v ffv1"
row "16 bits, FFV1" mkv mkv "-pix_fmt gbrp16le -c:v ffv1"
row "16 bits, PNG" png png "-frames:v 1 -pix_fmt rgb48be"
row "16 bits, TIFF" tif tif "-frames:v 1 -pix_fmt rgb48le -compression_algo lzw"
row "float, EXR" exr exr "-frames:v 1 -pix_fmt gbrpf32le"
# Range.
full="-vf scale=out_range=pc -color_range pc"
row "full range" mp4 mp4 "$full $x264"
row "full range" mp4 ts "$full $x264"
row "full range" mp4 mpg "$full $x264"
row "full range" mp4 mov "$full $x264" "--codec prores_ks"
# Rotation.
for turn in 90 180 270; do
    clip up.mp4 "$x264"
    ff -i up.mp4 -c copy -metadata:s:v rotate=$turn in.mp4
    render_row "turned by $turn" in.mp4 mp4
    render_row "turned by $turn" in.mp4 mkv
done
# Fields, alpha, steps of time.
row "interlaced" mpg mpg "-vf tinterlace=4,fieldorder=tff -c:v mpeg2video -flags +ildct+ilme -q:v 3"
row "interlaced" mkv mkv "-vf tinterlace=4 -pix_fmt yuv420p -c:v libx264 -flags +ildct+ilme"
alpha="-vf format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X,256)'"
row "alpha, ProRes 4444" mov mov "$alpha -pix_fmt yuva444p10le -c:v prores_ks"
row "alpha, QuickTime" mov mov "$alpha -pix_fmt argb -c:v qtrle"
row "alpha, VP9" webm webm "$alpha -pix_fmt yuva420p -c:v libvpx-vp9 -deadline realtime"
row "alpha, PNG" png png "$alpha -frames:v 1"
row "steps of time vary" mkv mp4 "-vf select=not(between(n\\,5\\,9)) -fps_mode vfr $x264"
row "steps of time vary" mkv mkv "-vf select=not(between(n\\,5\\,9)) -fps_mode vfr $x264"
# Sound.
for codec in aac mp3 ac3 flac alac libopus libvorbis pcm_s16le; do
    row "sound: $codec" mkv mp4 "$s $x264 -c:a $codec"
    row "sound: $codec" mkv ts "$s $x264 -c:a $codec"
done
# Starts.
after="select='gte(t,1.3999)',setpts=PTS-STARTPTS"
for kind in mp4 mkv ts m2ts flv avi h264; do row "start at 1.4 s" $kind mkv "$x264 -bf 2" "--start 1.4" "$after"; done
row "start at 1.4 s" mpg mkv "-c:v mpeg2video -bf 2" "--start 1.4" "$after"
row "start at 1.4 s" nut mkv "-c:v mpeg4 -bf 2" "--start 1.4" "$after"
# Damage. FFmpeg's reading of broken files is no measure of stamps and counts.
clip a.ts "$s $x264 -c:a aac"
cat a.ts a.ts >in.ts
render_row "two recordings in a row" in.ts mp4
clip in.mp4 "$x264"
poke in.mp4 450 200
render_row "broken bytes" in.mp4 mp4
clip in.mp4 "$s $x264 -c:a aac -movflags +faststart"
cutTo in.mp4 600
render_row "cut short" in.mp4 mp4
clip in.mkv "$s $x264 -c:a aac"
cutTo in.mkv 600
render_row "cut short" in.mkv mkv

{
    cat <<'END'
# Real material

What becomes of files of many kinds on their way through `larkmoor render`. `scripts/media.sh` makes the clips (two
seconds of 320 x 180 by FFmpeg's encoders), renders each with an effect that changes nothing, at default quality, and
compares what comes out with FFmpeg's own reading of what went in. "None" is the mean PSNR of that, in dB, losses of the
output's codec included; "Sepia" that of the effect's picture before any codec, against the same effect over FFmpeg's
conversion to RGB. Sound is "same" where its samples are, else the codec of what it became is told. What is bold is not
as it should be.

| material | in | out | frames | stamps | tags | sound | none | Sepia | it says |
| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |
END
    cat rows
} >"$root/docs/media.md"
