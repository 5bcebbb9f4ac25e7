# Words for looking into media files, for the tables of tests/apps and for scripts/media.sh. Plain sh,
# sourced. FFmpeg's own reading is the measure.

ff() { ffmpeg -nostdin -v error -y "$@"; }

# make NAME OPTIONS...: a small moving clip of two seconds, 25 frames each.
make() {
    made=$1
    shift
    ff -f lavfi -i "testsrc2=size=${size:-96x64}:rate=25:duration=${seconds:-2}" "$@" "$made"
}

# look STREAM ENTRIES FILE: what ffprobe shows of a stream (v, a:1, ...), values only, one section a line.
look() { ffprobe -v error -select_streams "$1" -show_entries "$2" -of csv=p=0 "$3"; }

# tag KEY FILE: one value of the video stream.
tag() { look v:0 "stream=$1" "$2" | head -n 1 | tr -d ','; }

# pictures FILE [PIXEL_FORMAT]: a digest of each picture, upright.
pictures() { ff -i "$1" -map 0:v:0 -fps_mode passthrough ${2:+-pix_fmt "$2"} -f framemd5 - | sed -n 's/^0,.*, *//p'; }

# count FILE: pictures in it.
count() { pictures "$1" | wc -l; }

# stamps FILE [STREAM]: time stamps of the packets, in order of time, from the first on, in milliseconds.
stamps() {
    look "${2:-v:0}" packet=pts_time "$1" | tr -d ',' | grep . | sort -n |
        awk 'NR == 1 { first = $1 } { printf "%.0f\n", ($1 - first) * 1000 }'
}

# sound FILE [N]: a digest of a sound stream's samples.
sound() { ff -i "$1" -map "0:a:${2:-0}" -f md5 -; }

# psnr A B: the mean PSNR of the pictures in dB; "inf" for none that differ.
psnr() {
    ffmpeg -nostdin -v info -i "$1" -i "$2" -lavfi "[0:v]settb=1/1000,setpts=N[a];[1:v]settb=1/1000,setpts=N[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*average:\([^ ]*\).*/\1/p'
}

# levels FILE: how many levels the luma of the first picture has; highest FILE: the highest of them.
lumas() {
    ff -i "$1" -frames:v 1 -vf extractplanes=y -f rawvideo - | case $(tag pix_fmt "$1") in
    *10le) od -v -An -w2 -tu2 ;;
    *) od -v -An -w1 -tu1 ;;
    esac | sort -nu
}
levels() { lumas "$1" | wc -l; }
highest() { lumas "$1" | tail -n 1; }

# atLeast MINIMUM VALUE: numbers, inf included.
atLeast() { [ "$2" = inf ] || awk "BEGIN { exit !($2 >= $1) }" || { echo "$2 is less than $1"; return 1; }; }

# same A B: two texts are the same, and not empty.
same() {
    if [ -n "$1" ] && [ "$1" = "$2" ]; then return 0; fi
    printf '%s\n-- against --\n%s\n' "$1" "$2"
    return 1
}

# poke FILE PER_MILLE COUNT: changes bytes from a place on.
poke() {
    at=$(($(wc -c <"$1") * $2 / 1000))
    tail -c +"$((at + 1))" "$1" | head -c "$3" | tr '\000-\377' '\201-\377\000-\200' >.poked
    dd if=.poked of="$1" bs=1 seek="$at" conv=notrunc status=none
    rm .poked
}

# cutTo FILE PER_MILLE: leaves that much of it.
cutTo() { truncate -s "$(($(wc -c <"$1") * $2 / 1000))" "$1"; }

# What several rows are given.
withFlac() { make in.mkv -f lavfi -i sine=440:d=2 -pix_fmt yuv420p -c:v libx264 -c:a flac; }
withThreeSounds() {
    make in.mkv -f lavfi -i sine=440:d=2 -f lavfi -i sine=880:d=2 -f lavfi -i sine=990:d=2 -map 0 -map 1 -map 2 -map 3 \
        -pix_fmt yuv420p -c:v libx264 -c:a:0 pcm_s16le -c:a:1 aac -c:a:2 flac -metadata:s:a:1 language=fin
}
deepClip() { make in.mkv -vf format=yuv420p16,noise=alls=4:allf=t,format=yuv420p10 -c:v ffv1; }
floatPicture() { ff -f lavfi -i testsrc2=size=96x64 -frames:v 1 in.png && ff -i in.png -pix_fmt gbrpf32le in.exr; }
clearPicture() { make in.png -vf format=rgba,geq=r=X:g=Y:b=0:a=X -frames:v 1; }

# full: a clip of the full range, and `limited`, what a file that cannot tell it should hold.
full() {
    make in.mp4 -vf scale=out_range=pc,format=yuv420p -color_range pc -c:v libx264 -crf 5
    ff -i in.mp4 -vf scale=in_range=pc:out_range=tv,format=yuv420p -c:v ffv1 limited.mkv
}

# hdr: a clip of HDR; light FILE: what it tells of its display and its light.
hdr() {
    make in.mp4 -vf format=yuv420p10le -c:v libx265 -color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc \
        -x265-params "log-level=error:max-cll=1000,400:master-display=G(13250,34500)B(7500,3000)R(34000,16000)\
WP(15635,16450)L(10000000,1)"
}
light() {
    ffprobe -v error -select_streams v -read_intervals %+#1 -show_frames -show_streams "$1" |
        grep -E 'red_x|max_content' | sort -u | tr '\n' ' '
}

# soundCodecs FILE: of all its sound; gap FILE: milliseconds from the first sound to the first picture.
soundCodecs() { look a stream=codec_name "$1" | grep . | sort -u | tr '\n' ' '; }
first() { look "$1" packet=pts_time "$2" | tr -d , | grep . | sort -n | head -n 1; }
gap() { echo "$(first v:0 "$1") $(first a:0 "$1")" | awk '{ printf "%.0f", ($1 - $2) * 1000 }'; }

# ascends NUMBERS...: none is less than the one before, and the last is more than the first.
ascends() {
    echo "$*" | awk '{ for (i = 2; i <= NF; ++i) if ($i + 0 < $(i - 1) + 0) exit 1; exit !($NF > $1) }' ||
        { echo "$*"; return 1; }
}
