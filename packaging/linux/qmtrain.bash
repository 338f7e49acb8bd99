# bash completion for qmtrain
_qmtrain() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before in
        --data | init)
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            compopt -o filenames
            return
            ;;
        --screenshot | --output | --template)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            compopt -o filenames
            return
            ;;
        --format)
            mapfile -t COMPREPLY < <(compgen -W "gift aiken xml csv html pdf" -- "$word")
            return
            ;;
        paper)
            mapfile -t COMPREPLY < <(compgen -W "make pack print" -- "$word")
            return
            ;;
        server)
            mapfile -t COMPREPLY < <(compgen -W "init copy link" -- "$word")
            return
            ;;
        --user | --subject | --paper | --training | --trainings | --bank | --name | --title) return ;;
    esac
    local command=(qmtrain)
    case ${COMP_WORDS[1]} in
        paper | server) command+=("${COMP_WORDS[1]}" "${COMP_WORDS[2]}") ;;
        import | export | export-history | export-paper | export-notes) command+=("${COMP_WORDS[1]}") ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("${command[@]}" --help 2> /dev/null |
            grep -o -e '--[a-z][a-z-]*' | sort -u)" -- "$word")
    elif [ "$COMP_CWORD" -gt 1 ]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames
    else
        mapfile -t COMPREPLY < <(compgen -W "init seed list papers practice history notes import export paper \
            export-history export-paper export-notes server" -- "$word")
    fi
} && complete -F _qmtrain qmtrain
