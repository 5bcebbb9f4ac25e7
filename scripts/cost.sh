#!/usr/bin/env bash
# Draws docs/cost.png, the cost of blur, median and min/max against radius and picture size, from the benchmark's own
# output.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
bench=$root/build/release/bin/larkmoor_bench
[[ -x $bench ]] || fail "build/release/bin/larkmoor_bench is not built; ./test builds it"
command -v gnuplot >/dev/null || fail "gnuplot is missing; apt-get install gnuplot-nox"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say "measuring; some minutes"
"$bench" --benchmark_filter='^(median|max)/(rectangle|size)|^max/ellipse|Gaussian' --benchmark_min_time=0.05 \
    --benchmark_format=json >"$work/all.json" 2>/dev/null

# rows NAME: "argument milliseconds" of every row whose name begins with NAME and ends in a number.
rows() {
    jq -r --arg name "$1" '.benchmarks[] | select(.run_type != "aggregate" and (.name | startswith($name)))
        | (.name | [scan("[0-9.]+")] | last | tonumber) as $x
        | (if .time_unit == "ns" then 1e-6 elif .time_unit == "us" then 1e-3 else 1 end) as $unit
        | "\($x) \(.cpu_time * $unit)"' "$work/all.json" | sort -n >"$work/$2"
}
rows median/rectangle median
rows max/rectangle max
rows max/ellipse ellipse
rows KwDibGaussianBlur/radius gauss
rows median/size median-size
rows max/size max-size
rows GaussianBySize gauss-size
for file in median max ellipse; do # tenths of a pixel
    awk '{ print $1 / 10, $2 }' "$work/$file" >"$work/tmp" && mv "$work/tmp" "$work/$file"
done

gnuplot <<PLOT
set terminal pngcairo size 1100,460 font "DejaVu Sans,10"
set output "$root/docs/cost.png"
set multiplot layout 1,2
set key left top
set logscale xy
set grid
set ylabel "milliseconds a frame, one thread"
set title "1920x1080, by radius"
set xlabel "radius, pixels"
plot "$work/gauss" with linespoints title "Gaussian Blur", \
     "$work/median" with linespoints title "Median, rectangle", \
     "$work/max" with linespoints title "Max, rectangle", \
     "$work/ellipse" with linespoints title "Max, ellipse"
set title "by picture size"
set xlabel "width, pixels"
plot "$work/gauss-size" with linespoints title "Gaussian Blur", \
     "$work/median-size" with linespoints title "Median, rectangle", \
     "$work/max-size" with linespoints title "Max, rectangle"
PLOT
say "wrote docs/cost.png"
