#!/usr/bin/env -S zsh -f
# What the line becomes in an interactive zsh when the tabulator is pressed at its end.
#
# complete.zsh FOLDER LINE: FOLDER holds _larkmoor
zmodload zsh/zpty
zpty shell zsh -f -i
show='accept() { print -r -- "<""<$BUFFER>>"; BUFFER=; zle .accept-line }; zle -N accept; bindkey "^X" accept'
zpty -w shell "fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -u -D; bindkey '^I' complete-word; $show"
zpty -w -n shell "$2"$'\t\x18'
zpty -r shell out '*<<*>>*'
out=${${out##*<<}%%>>*}
print -r -- "${out% }"
