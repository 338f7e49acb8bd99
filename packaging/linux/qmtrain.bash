# bash completion for qmtrain
_qmtrain() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before in
        --data | init)
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            compopt -o filenames
            return
            ;;
        --screenshot)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            compopt -o filenames
            return
            ;;
        --user | --subject | --paper | --trainings) return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(qmtrain --help 2> /dev/null | grep -o -e '--[a-z]*' | sort -u)" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -W "$(qmtrain --help 2> /dev/null |
            sed -n 's/^  \([a-z][a-z-]*\)[[:space:]].*/\1/p')" -- "$word")
    fi
} && complete -F _qmtrain qmtrain
