# bash completion for jetsql
_jetsql() {
    local word=${COMP_WORDS[COMP_CWORD]}
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(jetsql --help 2> /dev/null | grep -o -e '--[a-z]*' | sort -u)" -- "$word")
    elif [ "${COMP_WORDS[COMP_CWORD - 1]}" = -f ]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames
    else
        mapfile -t COMPREPLY < <(compgen -d -- "$word"; compgen -f -X '!*.[mM][dD][bB]' -- "$word")
        compopt -o filenames
    fi
} && complete -F _jetsql jetsql
