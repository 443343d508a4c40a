#!/bin/bash
# What bash's completion hands to tavuctl, and what it makes of the answer. usage: ... SCRIPT
source "$1" || exit

# In place of tavuctl: tells the words it got, and answers with the lines below.
tavuctl() {
    shift # "complete"
    printf '[%s]' "$@" >"$told"
    printf '%s\n' "${answer[@]}"
}
told=$(mktemp) && trap 'rm -f "$told"' EXIT

failed=0
# check LINE "WORDS HANDED OVER" REPLY... with LINE's words as bash has split them in COMP_WORDS
check() {
    local line=$1 handed=$2
    shift 2
    COMP_LINE=$line COMP_POINT=${#line} COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_TYPE=9
    _tavuctl tavuctl
    if [[ $(<"$told") != "$handed" || ${COMPREPLY[*]} != "$*" ]]; then
        echo "$line: handed over $(<"$told"), not $handed; got '${COMPREPLY[*]}', not '$*'" >&2
        failed=1
    fi
}

answer=($'last\tthe latest' $'Drop test\tfile 1')
COMP_WORDS=(tavuctl play '')
check 'tavuctl  play ' '[play][]' last 'Drop test'
COMP_WORDS=(tavuctl play --check '"Dr')
check 'tavuctl play --check "Dr' '[play][--check][Dr]' last 'Drop test'
COMP_WORDS=(tavuctl info 'Drop\ t')
check 'tavuctl info Drop\ t' '[info][Drop t]' last 'Drop test'
answer=($'--format=png\t' $'--format=pgm\t')
COMP_WORDS=(tavuctl export --format = p)
check 'tavuctl export --format=p' '[export][--format=p]' png pgm
COMP_WORDS=(tavuctl export --format =)
check 'tavuctl export --format=' '[export][--format=]' png pgm
answer=($'3:1\tDrop test')
COMP_WORDS=(tavuctl play 3 :)
check 'tavuctl play 3:' '[play][3:]' 1
answer=(:files)
COMP_WORDS=(tavuctl export -o pic)
check 'tavuctl export -o pic' '[export][-o][pic]'
exit $failed
