#!/usr/bin/env bash
# Makes docs/speed.md and docs/speed.png from the benchmark: every effect as a host runs it, in copies of the picture,
# and the nearest filters of other libraries that are installed here; what the command adds to ffmpeg's own work; and the
# effects that lose more than half with the registers of older processors.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
bench=$root/build/release/bin/larkmoor_bench
[[ -x $bench ]] || fail "build/release/bin/larkmoor_bench is not built; ./test builds it"
command -v gnuplot >/dev/null || fail "gnuplot is missing; apt-get install gnuplot-nox"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say "measuring; some minutes"
# Rows of "name", milliseconds, copies.
measure() {
    "$bench" --benchmark_filter="$1" --benchmark_min_time="${least:-0.2}" --benchmark_format=json 2>/dev/null |
        jq -r '.benchmarks[] | select(.copies) | [(.name | rtrimstr("/manual_time")), .real_time, .copies] | @tsv'
}
least=${1:-}
# Effect, preset, peers, and what those leave out.
cat >"$work/peers" <<'ROWS'
Invert|100% Inversion|OpenCV/Invert FFmpeg/Invert frei0r/Invert|a negative within alpha, amounts
Brightness and Contrast|Brighter|OpenCV/Table FFmpeg/Table frei0r/Brightness|the limit to alpha
Levels|Brighten|OpenCV/Table FFmpeg/Brightness_and_Contrast frei0r/Levels|the limit to alpha
Black and White|50% Black and White|OpenCV/Black_and_White FFmpeg/Black_and_White frei0r/Black_and_White|amounts between
Sepia|Neutral|OpenCV/Sepia FFmpeg/Sepia frei0r/Sepia|strength, the limit to alpha
HSL Adjust|Max Saturation|OpenCV/HSL_Adjust FFmpeg/HSL_Adjust|soft alpha
Threshold|50 %|OpenCV/Threshold frei0r/Threshold|OpenCV takes each channel by itself instead of their mean
Add Noise|Medium|OpenCV/Add_Noise/uniform FFmpeg/Add_Noise|the limit to alpha
Add Noise|Grainy|OpenCV/Add_Noise/Gaussian|the limit to alpha
Sharpen|Medium|OpenCV/filter2D3x3 FFmpeg/Sharpen|strengths between
Gaussian Blur|Light Blur|OpenCV/GaussianBlur/radius:5 FFmpeg/Gaussian_Blur/radius:5|numbers between levels from one pass to the next
Gaussian Blur|Soften|OpenCV/GaussianBlur/radius:52 FFmpeg/Gaussian_Blur/radius:52|numbers between levels from one pass to the next
Gaussian Blur|Extreme Blur|FFmpeg/Gaussian_Blur/radius:360|numbers between levels from one pass to the next
Median|50 %|FFmpeg/Median|radii between whole pixels
Pixelate|Medium|OpenCV/resizeTwice/percent:50 FFmpeg/Pixelate frei0r/Pixelate|cells of fractional size
Wave|Medium|OpenCV/remap/waves:5|
Mask Generator|Luminance Mask|OpenCV/Mask_Generator|
Black Restore|Streaming|OpenCV/Black_Restore|
Chroma Keyer|Green Screen|FFmpeg/Chroma_Keyer|hue and lightness in the distance, spill
ROWS

# What is compared is measured by turns, and the least time counts, as other work may slow down one of the rows.
beside=$(awk -F'|' '{
        print "host/" $1 "/" $2 "/opaque"
        count = split($3, names, " ")
        for (i = 1; i <= count; i++) { gsub("_", " ", names[i]); print names[i] }
    }' "$work/peers" | sort -u | paste -sd'|')
levels=(v4 v3 base)
measure '^host/' >"$work/rows"
for round in 1 2 3; do
    measure "^($beside)(/manual_time)?\$" >>"$work/turns"
    for level in "${levels[@]}"; do
        LARKMOOR_LEVEL=$level measure '^host/.*/opaque' | sed "s/^/$level\t/"
    done >>"$work/levels"
done
copy=$(awk -F'\t' '/^host\// { print $2 / $3 }' "$work/rows" | sort -n | awk '{ v[NR] = $1 } END { printf "%.2f", v[int((NR + 1) / 2)] }')

# The least seconds of the processor that a command takes in five rounds.
cost() {
    local TIMEFORMAT='%U %S' round
    for round in 1 2 3 4 5; do
        { time "$@" >/dev/null 2>&1 </dev/null; } 2>&1
    done | awk '{ s = $1 + $2; if (NR == 1 || s < least) least = s } END { printf "%.2f", least }'
}

# Files through ffmpeg and through the command: file, threads, seconds of either.
if command -v ffmpeg >/dev/null; then
    ffmpeg -v error -f lavfi -i testsrc2=s=1920x1080:r=25 -frames:v 200 -pix_fmt yuv420p "$work/clip.mp4"
    ffmpeg -v error -i "$work/clip.mp4" -frames:v 100 "$work/clip.y4m"
    for clip in mp4:200 y4m:100; do
        file=clip.${clip%:*}
        for threads in 1 2; do
            theirs=$(cost ffmpeg -v error -threads $threads -filter_threads $threads -i "$work/$file" -an -vf format=bgra \
                -threads $threads -f rawvideo -)
            ours=$(cost "$root/build/release/bin/larkmoor" render "$work/$file" --effect Invert --threads $threads \
                --raw 1920x1080:bgra:25 -o -)
            printf '%s\t%s\t%s\t%s\t%s\n' "${clip%:*}" $threads "$theirs" "$ours" "${clip#*:}"
        done
    done >"$work/command"
fi

# The peers' row: effect, preset, copies, fastest peer, its copies, what it leaves out.
awk -F'\t' -v peers="$work/peers" -v copy="$copy" '
    !($1 in copies) || $2 / copy < copies[$1] { copies[$1] = $2 / copy }
    END {
        while ((getline line < peers) > 0) {
            split(line, part, "|")
            count = split(part[3], names, " ")
            best = ""
            for (i = 1; i <= count; i++) {
                gsub("_", " ", names[i])
                if (names[i] in copies && (best == "" || copies[names[i]] < copies[best])) best = names[i]
            }
            own = "host/" part[1] "/" part[2] "/opaque"
            if (best != "" && own in copies)
                printf "%s\t%s\t%.1f\t%s\t%.1f\t%s\n", part[1], part[2], copies[own], best, copies[best], part[4]
        }
    }' "$work/turns" >"$work/beside"

{
    model=$(awk -F': ' '/^model name/ { print $2; exit }' /proc/cpuinfo)
    printf '# What the effects cost\n\n'
    printf 'Made by `scripts/speed.sh`. Every effect as a host runs it: through the contract, on 1920x1080 pixels of\n'
    printf 'premultiplied BGRA, in a ring of four pictures that no cache holds, in one thread. What is counted is the time\n'
    printf 'of the processor, in copies: how many plain copies of the picture would have taken as long. Copies are timed\n'
    printf 'between the frames of each row; one took %s ms on this machine (%s).\n\n' "$copy" "${model:-no name}"
    printf '## Beside other libraries\n\n![Effects and peers](speed.png)\n\n'
    printf 'The fastest of those installed here, at the nearest settings, the least of three rounds by turns. Most do less or\n'
    printf 'something else: see the last column. Transitions draw over an output that is cleared first, which is in their\n'
    printf 'figures.\n\n'
    printf '| effect | copies | peer | copies | peer / Larkmoor | what it leaves out |\n| --- | --: | --- | --: | --: | --- |\n'
    awk -F'\t' '{ printf "| %s, %s | %s | %s | %s | %.1f | %s |\n", $1, $2, $3, $4, $5, $5 / $3, $6 }' "$work/beside"
    if [[ -f $work/command ]]; then
        printf '\n## The command\n\nSeconds of the processor for a clip of 1920x1080 (H.264, 200 frames; raw video, 100 frames) to bare\n'
        printf 'frames of BGRA: by `ffmpeg -vf format=bgra`, and by `larkmoor render --effect Invert`, which inverts them too.\n'
        printf 'The last column is without what Invert takes in the tables of this page.\n\n'
        printf '| clip | threads | ffmpeg | larkmoor | larkmoor / ffmpeg | without Invert |\n| --- | --: | --: | --: | --: | --: |\n'
        awk -F'\t' '
            NR == FNR { if ($1 == "host/Invert/100% Inversion/opaque") effect = $2 / 1000; next }
            { printf "| %s | %s | %s | %s | %.2f | %.2f |\n", $1, $2, $3, $4, $4 / $3, ($4 - $5 * effect) / $3 }' \
            "$work/rows" "$work/command"
    fi
    printf '\n## Older processors\n\nEffects that take more than twice as long with the registers of AVX2 (v3) or of SSE2 (base) as with those of\n'
    printf 'AVX-512 (v4), at the preset that loses the most.\n\n| effect | preset | v4, ms | v3 / v4 | base / v4 |\n| --- | --- | --: | --: | --: |\n'
    awk -F'\t' '
        {
            if (!(($1, $2) in ms)) ms[$1, $2] = $3
            if ($3 < ms[$1, $2]) ms[$1, $2] = $3
            if ($1 == "base") rows[$2]
        }
        END {
            for (row in rows) {
                best = ms["v4", row]
                if (!best) continue
                split(row, part, "/")
                loss = ms["v3", row] > ms["base", row] ? ms["v3", row] / best : ms["base", row] / best
                if (loss > 2 && loss > most[part[2]]) { most[part[2]] = loss; worst[part[2]] = row }
            }
            for (effect in worst) {
                row = worst[effect]
                split(row, part, "/")
                best = ms["v4", row]
                printf "| %s | %s | %.1f | %.1f | %.1f |\n", part[2], part[3], best, ms["v3", row] / best, ms["base", row] / best
            }
        }' "$work/levels" | LC_ALL=C sort -f
    printf '\n## Every preset\n\n| effect | preset | ms | copies | copies with soft alpha |\n| --- | --- | --: | --: | --: |\n'
    awk -F'\t' '
        $1 ~ /^host\// { split($1, part, "/"); key = part[2] "\t" part[3] }
        $1 ~ /^host\/.*\/opaque$/ { order[++n] = key; ms[key] = $2; hard[key] = $3 }
        $1 ~ /^host\/.*\/soft$/ { soft[key] = $3 }
        END {
            for (i = 1; i <= n; i++) {
                split(order[i], part, "\t")
                printf "| %s | %s | %.1f | %.1f | %.1f |\n", part[1], part[2], ms[order[i]], hard[order[i]], soft[order[i]]
            }
        }' "$work/rows" | LC_ALL=C sort -f -t'|' -k2,2 -s
} >"$work/speed.md"

awk -F'\t' '{ printf "\"%s\" %s %s\n", $1 == "Gaussian Blur" || $1 == "Add Noise" ? $1 ", " $2 : $1, $3, $5 }' "$work/beside" >"$work/bars"
gnuplot <<PLOT
set terminal pngcairo size 1100,600 font "DejaVu Sans,10"
set output "$root/docs/speed.png"
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9
set logscale y
set yrange [0.5:*]
set rmargin 14
set bmargin 12
set grid ytics
set ylabel "copies of the picture"
set xtics rotate by -40 left
set key left top
plot "$work/bars" using 2:xtic(1) title "Larkmoor", "" using 3 title "the fastest peer here"
PLOT
mv "$work/speed.md" "$root/docs/speed.md"
say "wrote docs/speed.md and docs/speed.png"
