# Completion of mod2neu for bash: models in whatever case, directories on the way, and switches.

_mod2neu()
{
    local word=${COMP_WORDS[COMP_CWORD]} switch
    COMPREPLY=()

    # The value of a switch is a number, which nobody can guess.
    case ${COMP_WORDS[COMP_CWORD - 1],,} in
        -dig | -hwnd) return ;;
    esac
    if [[ $word == -* ]]; then
        for switch in -DIG -HWND --help --version; do
            [[ ${switch,,} == "${word,,}"* ]] && COMPREPLY+=("$switch")
        done
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -X '!*.[mM][oO][dD]' -- "$word"; compgen -d -- "$word")
}

complete -F _mod2neu mod2neu
