#!/bin/sh
# The studio's page of the manual, from what its --help tells: studio_manual.sh PROGRAM VERSION
set -eu
help=$("$1" --help)
printf '.TH LARKMOOR\\-STUDIO 1 "" "Larkmoor %s" "Larkmoor"\n' "$2"
printf '%s\n' '.SH NAME' 'larkmoor\-studio \- desktop studio for video effects' '.SH SYNOPSIS' '.nf'
troff() { sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e "s/^[.']/\\\\\\&&/"; }
printf '%s\n' "$help" | sed -n 's/^Usage: //p' | troff
printf '%s\n' '.fi' '.SH DESCRIPTION' '.nf'
printf '%s\n' "$help" | sed '/^Usage: /d' | troff
printf '%s\n' '.fi' '.SH SEE ALSO' '.BR larkmoor (1)'
