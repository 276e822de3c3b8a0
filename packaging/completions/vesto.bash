# Completion of vesto and vesto-desktop for bash.
_vesto() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} verb=${COMP_WORDS[1]} words=
    local action=
    [ "$COMP_CWORD" -le 2 ] || action=${COMP_WORDS[2]}
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="watch folders pending accept ignore batch history undo name rename settings doctor read generic template
            model --help --version"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        return
    fi
    case $previous in
    --also) words="well-named no-title" ;;
    --title | --template | --locale | --min-confidence | --search | --limit) return ;;
    esac
    if [ -z "$words" ]; then
        case $verb in
        watch) words="--locale --verbose --json --help" ;;
        folders) words="--json --help" ;;
        pending | ignore | doctor | generic) words="--json --help" ;;
        accept) words="--title --json --help" ;;
        batch)
            words="--apply --also --min-confidence --json --verbose --help"
            ;;
        history) words="--search --limit --json --help" ;;
        undo) words="--last --batch --json --help" ;;
        name) words="--template --locale --generic-only --again --json --verbose --help" ;;
        rename) words="--template --locale --generic-only --again --min-confidence --json --verbose --help" ;;
        read) words="--locale --prompt --json --verbose --help" ;;
        template) words="--locale --json --help" ;;
        settings | model)
            words="--help"
            case "$verb $action" in
            "model add") words+=" --link --locale --json --verbose" ;;
            "model test") words+=" --locale --json --verbose" ;;
            *" "?*) words+=" --json" ;;
            esac
            ;;
        esac
        if [ "$COMP_CWORD" -eq 2 ]; then
            case $verb in
            folders) words+=" list add remove enable disable auto propose" ;;
            settings) words+=" get set" ;;
            model) words+=" list add remove use on off test" ;;
            esac
        elif [ "$verb" = settings ] && [ "$COMP_CWORD" -eq 3 ]; then
            words+=" template genericOnly autoThreshold paused onboarded notifyAutomatic"
        fi
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    case $verb in
    watch | folders | batch)
        [ "${current#-}" = "$current" ] && mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "$current")
        compopt -o filenames
        ;;
    undo | name | rename | read | model)
        [ "${current#-}" = "$current" ] && mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames
        ;;
    esac
}
_vesto_desktop() {
    mapfile -t COMPREPLY < <(compgen -W "--hidden --version --help" -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -F _vesto vesto
complete -F _vesto_desktop vesto-desktop
