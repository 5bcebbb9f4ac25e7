# Completion for bash: the command itself tells how a line may go on.
_larkmoor() {
    local words=() i word last answers=()
    # bash cuts at "=": --set gamma=1 comes as three words.
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]//[\"\'\\]/}
        if ((i > 1)) && [[ $word == = || ${COMP_WORDS[i - 1]} == = ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    last=${words[-1]}
    mapfile -t answers < <("$1" complete -- "${words[@]}" 2>/dev/null)
    COMPREPLY=()
    for word in "${answers[@]}"; do
        [[ ${word,,} == "${last,,}"* ]] || continue
        [[ $last == *=* ]] && word=${word#*=}
        COMPREPLY+=("$word")
    done
    # "filenames" has bash quote blanks.
    compopt -o filenames
    [[ ${#COMPREPLY[@]} -gt 0 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace
    return 0
}
complete -o default -F _larkmoor larkmoor
