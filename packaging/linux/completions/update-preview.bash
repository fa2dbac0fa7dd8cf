# Completion of update-preview(1) for bash.

_update_preview() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options="--feed --lang --unit --firmware --gallery --check --strict --scale --help --version"
    local IFS=$' \t\n'
    compopt +o default 2>/dev/null

    # bash breaks --option=value into three words.
    if [ "$current" = "=" ]; then
        current=""
    elif [ "$previous" = "=" ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    case $previous in
    --feed | --check)
        COMPREPLY=($(compgen -f -- "$current"))
        compopt -o filenames 2>/dev/null
        ;;
    --gallery)
        COMPREPLY=($(compgen -d -- "$current"))
        compopt -o filenames 2>/dev/null
        ;;
    --lang) COMPREPLY=($(compgen -W "en fr es de it ja zh" -- "$current")) ;;
    --unit) COMPREPLY=($(compgen -W "KD-MX2 KD-MX4" -- "$current")) ;;
    --scale) COMPREPLY=($(compgen -W "1 1.5 2 3" -- "$current")) ;;
    --firmware) ;;
    *) COMPREPLY=($(compgen -W "$options" -- "$current")) ;;
    esac
}
complete -F _update_preview update-preview
