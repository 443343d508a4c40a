# Completes tavuctl's command line in bash. What may come next is known to `tavuctl complete`.

_tavuctl() {
    local left=${COMP_LINE:0:COMP_POINT} words=() word prefix= line i
    # bash also splits words at "=" and ":". What no blank parts is one word of the command line; the
    # last one ends at the cursor.
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ $i -eq 0 || $left == [[:space:]]* ]] && words+=("")
        left=${left#"${left%%[![:space:]]*}"}
        ((i == COMP_CWORD)) && word=$left
        left=${left#"$word"}
        words[-1]+=$word
    done
    unset 'words[0]'
    # An inserted word replaces what stands behind the last place at which bash splits.
    local current=${words[-1]}
    if [[ $current != *[\"\']* ]]; then
        for i in : =; do
            [[ $COMP_WORDBREAKS == *$i* && $current == *$i* ]] || continue
            word=${current%"$i"*}$i
            ((${#word} > ${#prefix})) && prefix=$word
        done
    fi

    COMPREPLY=()
    local helps=()
    while IFS= read -r line; do
        if [[ $line == :files ]]; then
            compopt -o default 2>/dev/null
            return
        fi
        word=${line%%$'\t'*}
        COMPREPLY+=("${word#"$prefix"}")
        helps+=("${line#*$'\t'}")
    done < <("$1" complete "${words[@]//[\\\"\']/}" 2>/dev/null)

    # 63 is "?": the matches are only listed, nothing is inserted.
    if ((COMP_TYPE == 63 && ${#COMPREPLY[@]} > 1)); then
        for i in "${!COMPREPLY[@]}"; do
            [[ -n ${helps[i]} ]] && COMPREPLY[i]+="  (${helps[i]})"
        done
    else
        compopt -o filenames 2>/dev/null # for the quotation marks that a blank needs
    fi
}

complete -o nosort -F _tavuctl tavuctl
