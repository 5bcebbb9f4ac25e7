#!/usr/bin/env bash
# Writes docs/reference.md, the page of every effect, from what the module says of itself.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
larkmoor=$root/build/release/bin/larkmoor
[[ -x $larkmoor ]] || fail "build/release/bin/larkmoor is not built; ./run builds it"

page=$root/docs/reference.md
{
    cat <<'TEXT'
# Reference

Every effect of the module, from its own field tables. `scripts/reference.sh` writes this page; do not edit it by hand.
Lengths and levels are fractions unless a unit is told. Interface ids never change. An effect that works at any depth
makes of float pictures what it makes of 8-bit ones, finer; pictures of more than 8 bits go through the others at 8 bits.

TEXT
    "$larkmoor" list --json | jq -r '.[].class' | while read -r class; do
        "$larkmoor" show "$class" --json | jq -r '
            def cell: tostring | gsub("\\|"; "\\|");
            def number: if . == null then "any" elif . == (. | floor) then (. | floor) else ((. * 10000 | round) / 10000) end | tostring;
            def range: if .choices then [.choices[] | (.text? // .)] | join(", ")
                elif .kind == "switch" then "on, off"
                elif .kind == "text" or .kind == "font" then ""
                else "\(.minimum | number) to \(.maximum | number)" end;
            "## \(.name)\n",
            "`\(.class)`, \(.kind), \(if .minInputs == .maxInputs then .maxInputs else "\(.minInputs) or \(.maxInputs)" end) inputs. Works \(if .soundInFloat then "at any depth" else "at 8 bits" end). Class \(.classId), interface \(.interfaceId).\n",
            (if (.fields | length) > 0 then
                "| field | label | values | default | unit | meaning |\n| --- | --- | --- | --- | --- | --- |",
                (.fields[] | "| `\(.name)` | \(.label | gsub("&"; "") | cell) | \(range | cell) | \(.default | cell) | \(.unit | cell) | \(.help | cell) |"),
                ""
             else empty end),
            (if (.presets | length) > 0 then "Presets: \([.presets[].name] | join("; ")).\n" else empty end)'
    done
} >"$page.new"
mv "$page.new" "$page"
say "wrote docs/reference.md"
