# Completion for fish: the command itself tells how a line may go on.
function __larkmoor_answers
    set -l words (commandline -opc) (commandline -ct)
    set -l answers (command $words[1] complete -- $words[2..-1] 2>/dev/null)
    if test (count $answers) -gt 0
        printf '%s\n' $answers
    else
        __fish_complete_path (commandline -ct)
    end
end
complete -c larkmoor -f -a '(__larkmoor_answers)'
