# Completes tavuctl's command line in fish. What may come next is known to `tavuctl complete`.

function __tavuctl_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct | string replace -ra '[\\\\"\']' '')
    test (count $current) -gt 0; or set current ''
    for line in ($before[1] complete $before[2..-1] "$current" 2>/dev/null)
        if test "$line" = :files
            set -l option (string match -r -- '^--[^=]*=' $current)
            set -l path (string replace -- "$option" '' $current)
            __fish_complete_path "$path" | string replace -r '^' -- "$option"
        else
            echo $line
        end
    end
end

complete -c tavuctl -f -k -a '(__tavuctl_complete)'
