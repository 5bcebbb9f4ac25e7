#!/usr/bin/env bash
# scripts/small-media.sh FOLDER    makes a tiny file of every container and picture format that the command is tried
#                                  with, by FFmpeg; names stay, and what is there is kept
# Fuzzing starts from them, and scripts/broken.sh turns their bits.
set -euo pipefail
folder=${1:?where to}
mkdir -p "$folder"
cd "$folder"

sound=(-f lavfi -i "sine=440:sample_rate=32000:duration=0.2")
make() { # NAME SIZE FRAMES OPTIONS...
    local name=$1 size=$2 frames=$3
    shift 3
    [[ -s $name ]] || ffmpeg -nostdin -v error -f lavfi -i "testsrc2=size=$size:rate=25:duration=1" "$@" \
        -frames:v "$frames" -fflags +bitexact -y "$name" || rm -f "$name"
}

for picture in png jpg gif bmp tif webp exr ppm tga jp2 dpx sgi pgm pam pcx; do make "a.$picture" 16x12 1; done
make deep.png 16x12 1 -pix_fmt rgba64be
make deep.tif 16x12 1 -pix_fmt rgb48le
make moving.gif 16x12 3
make moving.png 16x12 3 -f apng
make moving.webp 16x12 3
x264=(-c:v libx264 -preset ultrafast -x264-params "no-info=1" -pix_fmt yuv420p)
make a.mp4 32x24 3 "${x264[@]}"
make sound.mp4 32x24 3 "${sound[@]}" "${x264[@]}" -c:a aac -b:a 24k -shortest
make parts.mp4 32x24 3 "${x264[@]}" -movflags frag_keyframe+empty_moov
make a.mkv 32x24 3 "${sound[@]}" "${x264[@]}" -c:a aac -b:a 24k -shortest
make a.ts 32x24 3 "${x264[@]}"
make a.flv 32x24 3 "${x264[@]}"
make a.h264 32x24 3 "${x264[@]}"
make hevc.mp4 32x24 2 -c:v libx265 -preset ultrafast -x265-params "log-level=none:info=0" -pix_fmt yuv420p
make av1.mkv 32x24 2 -c:v libaom-av1 -cpu-used 8
make a.webm 32x24 3 -c:v libvpx-vp9 -cpu-used 8 -deadline realtime
make vp8.webm 32x24 3 -c:v libvpx -cpu-used 8 -deadline realtime
make a.ogv 32x24 3 -c:v libtheora
make a.avi 32x24 3 -c:v mpeg4
make motion.avi 32x24 2 -c:v mjpeg
make a.mpg 32x24 3 -c:v mpeg2video
make a.mxf 32x24 2 -c:v mpeg2video
make a.wmv 32x24 3 -c:v wmv2
make prores.mov 32x24 2 -c:v prores_ks -profile:v 4 -pix_fmt yuva444p10le
make a.mov 16x12 2 -c:v qtrle
make ffv1.mkv 16x12 2 -c:v ffv1
make a.nut 16x12 2 -c:v ffv1
make a.y4m 8x6 2
