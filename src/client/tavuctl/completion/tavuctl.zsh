#compdef tavuctl
# Completes tavuctl's command line in zsh. What may come next is known to `tavuctl complete`.

_tavuctl() {
    local line help
    local -a candidates
    for line in "${(@f)$("${(Q)words[1]}" complete "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
        if [[ $line == :files ]]; then
            [[ $PREFIX == --*=* ]] && compset -P '*='
            _files
            return
        fi
        help=${line#*$'\t'}
        [[ -n $line ]] && candidates+=("${${line%%$'\t'*}//:/\\:}${help:+:$help}")
    done
    _describe -V tavuctl candidates
}

if [[ $funcstack[1] == _tavuctl ]]; then
    _tavuctl "$@"
else
    compdef _tavuctl tavuctl
fi
