#!/usr/bin/env bash
# Makes clips of many kinds with FFmpeg, renders each through an effect that changes nothing and through Sepia, compares
# what comes out with FFmpeg's own reading of what went in, and writes docs/media.md. LARKMOOR names the command where
# it is not the release build's.
#
# To add a row: row NAME INPUT OUTPUT "OPTIONS OF THE ENCODER" [OPTIONS OF RENDER] [FILTERS OF THE REFERENCE], or, for
# an input that takes more to make, a line that makes it and `render_row`.
set -eu # no pipefail: words.sh cuts pipes short
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
source "$root/tests/apps/media/words.sh"
larkmoor=${LARKMOOR:-$root/build/release/bin/larkmoor}
[[ -x $larkmoor ]] || fail "build larkmoor first, or name it: LARKMOOR=FILE scripts/media.sh"
table=$(mktemp -d)
trap 'rm -rf "$table"' EXIT
cd "$table"
export size=320x180
none=(--effect Sepia --preset "Reset to None")
tone=(--effect Sepia --preset Warm --codec ffv1 --pixel-format bgr0)
exact=flags=bicubic+accurate_rnd+full_chroma_int+full_chroma_inp+bitexact
# More than 8 bits without clipping, which the scaler does.
deep=zscale=min=170m:rin=limited:cin=left:filter=bicubic:param_a=0:param_b=0.5:m=gbr:r=full

verdict() { [[ $1 == "$2" ]] && printf same || printf '**%s, not %s**' "${1:-none}" "${2:-none}"; }

# tags FILE: shape of a pixel, range, matrix, transfer, primaries; whether the first picture has fields, and the top one
# first. What is not told counts as what players take it for.
tags() {
    local -A t=()
    local key value
    while IFS='=' read -r key value; do t[$key]=$value; done < <(ffprobe -v error -select_streams v:0 -of default=nw=1 \
        -read_intervals %+#1 -show_entries frame=interlaced_frame,top_field_first \
        -show_entries stream=sample_aspect_ratio,pix_fmt,color_range,color_space,color_transfer,color_primaries "$1")
    [[ ${t[sample_aspect_ratio]} != N/A ]] || t[sample_aspect_ratio]=1:1
    case ${t[pix_fmt]}:${t[color_range]} in
    yuvj* | yuv*:pc) t[color_range]=pc ;;
    yuv*) t[color_range]=tv ;;
    *) t[color_range]=- ;;
    esac
    case ${t[color_space]} in unknown | bt470bg | smpte170m | gbr) t[color_space]=usual ;; esac
    [[ ${t[interlaced_frame]:-0} == 1 ]] || t[top_field_first]=0
    for key in sample_aspect_ratio color_{range,space,transfer,primaries} interlaced_frame top_field_first; do
        printf '%s ' "${t[$key]:-?}"
    done
}

# tag_verdict OUT IN: where a file cannot tell of the full range, or has no RGB, the range becomes the limited one.
tag_verdict() {
    if [[ $1 != "$2" && ($1 == "${2/ pc / tv }" || $1 == "${2/ - / tv }") ]]; then
        echo "limited range"
    else
        verdict "$1" "$2"
    fi
}

# packets FILE: a digest of each packet of the first sound.
packets() { ff -i "$1" -map 0:a:0 -c copy -f framemd5 - | awk -F ', *' '/^0,/ { print $6 }'; }

# sounds IN OUT: "same" where the samples are, "copied" where the packets are, else what they became.
sounds() {
    if [[ -z $(look a:0 stream=codec_name "$1") ]]; then
        echo -
    elif [[ $(sound "$2" 2>/dev/null) == "$(sound "$1")" ]]; then
        echo same
    elif [[ $(packets "$2" 2>/dev/null) == "$(packets "$1")" ]]; then
        echo copied
    else
        local from to
        from=$(look a:0 stream=codec_name "$1" | head -n 1)
        to=$(look a:0 stream=codec_name "$2" | head -n 1)
        [[ $from != "$to" ]] || to="**not as it was**"
        echo "$to"
    fi
}

# reader FILE: options with which FFmpeg sees a file's alpha.
reader() { [[ $(look v:0 stream_tags=alpha_mode "$1") != 1* ]] || echo "-c:v libvpx-vp9"; }

format_of() { if [[ -n $(reader "$1") ]]; then echo yuva420p; else tag pix_fmt "$1"; fi; }
has_alpha() { [[ $1 == @(yuva*|rgba*|bgra*|argb|abgr|gbrap*) ]]; }

# chroma_at FILE: where chroma sits across, in 1/256 of a sample; FFmpeg's scaler does not ask the file.
chroma_at() { case $(tag chroma_location "$1") in center | top | bottom) echo 128 ;; *) echo 0 ;; esac; }

# decibel LEAST VALUE: bold where it is less.
decibel() {
    local short=${2:0:4}
    if [[ -n $2 ]] && atLeast "$1" "$2" >/dev/null; then echo "${short%.}"; else echo "**${short:-none}**"; fi
}

# likeness IN OUT FILTERS TURN: of what an effect that changes nothing gives, in the output's own format; over black where
# there is alpha.
likeness() {
    local format from to=null seen filters=$3 stored=()
    format=$(format_of "$2")
    from=$(format_of "$1")
    if has_alpha "$from" && has_alpha "$format"; then
        seen="scale=$exact,format=gbrap16,premultiply=inplace=1,format=gbrp16"
        # shellcheck disable=SC2046 # options
        ff $(reader "$1") -i "$1" -map 0:v:0 -vf "$3,$seen" -fps_mode passthrough -c:v ffv1 a.mkv
        # shellcheck disable=SC2046
        ff $(reader "$2") -i "$2" -map 0:v:0 -vf "$seen" -fps_mode passthrough -c:v ffv1 b.mkv
        psnr a.mkv b.mkv
        return
    fi
    if [[ $format != "$from" ]]; then
        to="scale=$exact:in_h_chr_pos=$(chroma_at "$1"):out_h_chr_pos=$(chroma_at "$2")"
        [[ $(tag color_range "$2") != tv ]] || to+=:out_range=tv
        to+=,format=$format
    fi
    # FFmpeg mirrors chroma with the picture, and then takes it for that of the other column.
    if [[ $4 == *hflip* ]]; then
        stored=(-noautorotate)
        filters="scale=$exact:in_h_chr_pos=0,format=yuv444p,$4,scale=$exact:out_h_chr_pos=0,format=$from"
    fi
    ff "${stored[@]}" -i "$1" -map 0:v:0 -vf "$filters,$to" -fps_mode passthrough -c:v ffv1 a.mkv 2>/dev/null || true
    psnr a.mkv "$2"
}

# toned IN FILTERS TURN OPTIONS...: the likeness of Sepia on the way to Sepia over FFmpeg's RGB, both before any loss.
toned() {
    local in=$1 filters=$2 turn=$3 form=bgra shape to
    shift 3
    [[ ${1:-} != --codec ]] || shift 2
    rm -f a.mkv b.mkv
    "$larkmoor" render "$in" -y -o a.mkv "$@" "${tone[@]}" 2>/dev/null || true
    shape=$(look v:0 stream=width,height a.mkv | tr , x)
    to=scale=interl=-1:$exact:in_h_chr_pos=$(chroma_at "$in")
    case $(format_of "$in") in
    *f32*) form=gbrpf32le ;;
    yuv[0-9]*[0-9][lb]e) to="$deep" form=gbrapf32le ;;
    *[0-9][lb]e) form=rgba64le ;;
    esac
    # shellcheck disable=SC2046
    ff -noautorotate $(reader "$in") -i "$in" -map 0:v:0 -fps_mode passthrough -f rawvideo \
        -vf "$filters,$to,format=$form,$turn" - 2>/dev/null |
        "$larkmoor" render - --raw "$shape:$form:25" -y -o b.mkv "${tone[@]}" 2>/dev/null
    psnr a.mkv b.mkv
}

# render_row NAME INPUT OUTPUT [OPTIONS] [FILTERS] [TURN]: adds the row of a file that is there.
render_row() {
    local name=$1 in=$2 out=out.$3 filters=${5:-null} options status note
    read -ra options <<<"${4:-}"
    status=0
    "$larkmoor" render "$in" -y -o "$out" "${none[@]}" "${options[@]}" 2>note || status=$?
    note=$(sed 's/^larkmoor: //; s/|/,/g' note | tr '\n' ' ' | sed 's/ $//')
    if [[ $status != 0 && $status != 3 ]]; then
        printf '| %s | %s | %s | | | | | | | **fails: %s** |\n' "$name" "${in#in.}" "$3" "$note" >>rows
        return
    fi
    ff -i "$in" -map 0:v:0 -vf "$filters" -fps_mode passthrough -c:v ffv1 ref.mkv 2>/dev/null || true
    printf '| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n' "$name" "${in#in.}" "$3" \
        "$(verdict "$(count "$out")" "$(count ref.mkv)")" \
        "$(if [[ $(stamps "$out") == "$(stamps ref.mkv)" ]]; then echo same; else echo "**differ**"; fi)" \
        "$(tag_verdict "$(tags "$out")" "$(tags "$in")")" \
        "$(sounds "$in" "$out")" \
        "$(decibel 40 "$(likeness "$in" "$out" "$filters" "${6:-null}")")" \
        "$(decibel 50 "$(toned "$in" "$filters" "${6:-null}" "${options[@]}")")" \
        "$note$([[ $status == 0 ]] || echo " (exit code $status)")" >>rows
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
row "MPEG-2" mpg mpg "$s -pix_fmt yuv420p -c:v mpeg2video -bf 2 -q:v 3 -c:a mp2"
row "MPEG-2" mxf mxf "-pix_fmt yuv420p -c:v mpeg2video -q:v 3"
row "Theora" ogv ogv "$s -pix_fmt yuv420p -c:v libtheora -q:v 8 -c:a libvorbis"
row "Windows Media" wmv wmv "$s -c:v wmv2 -q:v 3 -c:a wmav2"
row "Motion JPEG" avi avi "$s -pix_fmt yuvj420p -c:v mjpeg -q:v 3 -c:a pcm_s16le"
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
clip up.mp4 "$x264"
for turn in 90:transpose=cclock 180:hflip,vflip 270:transpose=clock; do
    ff -i up.mp4 -c copy -metadata:s:v "rotate=${turn%:*}" in.mp4
    for out in mp4 mkv; do render_row "turned by ${turn%:*}" in.mp4 $out "" "" "${turn#*:}"; done
done
# Fields, alpha, steps of time.
row "interlaced" mpg mpg "-vf tinterlace=4,fieldorder=tff -pix_fmt yuv420p -c:v mpeg2video -flags +ildct+ilme -q:v 3"
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
row "start at 1.4 s" mpg mkv "-pix_fmt yuv420p -c:v mpeg2video -bf 2" "--start 1.4" "$after"
row "start at 1.4 s" nut mkv "-c:v mpeg4 -bf 2" "--start 1.4" "setpts=PTS-STARTPTS,$after" # tells no start
# Damage. FFmpeg's reading of broken files is no measure of stamps and counts.
clip a.ts "$s $x264 -c:a aac"
cat a.ts a.ts >in.ts
render_row "two recordings in a row" in.ts mp4
clip in.mp4 "$x264 -threads 1" # the same bytes each time
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
seconds of 320 x 180, hard edges in pure colours, by FFmpeg's encoders) and compares with FFmpeg's own reading of them.
Frames, stamps: their number and times. Tags: pixel shape, range, matrix, transfer, primaries, fields; what is not told
counts as what players take it for. Sound: "same" samples, "copied" packets, else the codec that it became. None: PSNR
with an effect that changes nothing, at default quality; losses of the output's codec count. Sepia: the effect's RGB
before any codec, against the same effect over FFmpeg's RGB (by zimg for luma and chroma of more than 8 bits); above 50
they differ by rounding. Alpha is compared over black. Bold is not as it should be, or below 40 and 50 dB.

| material | in | out | frames | stamps | tags | sound | none | Sepia | it says |
| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |
END
    cat rows
} >"$root/docs/media.md"
