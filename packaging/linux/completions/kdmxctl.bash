# Completion of kdmxctl(1) for bash.

_kdmxctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local commands="info rate power-save fader mute stereo route routes debug raw set-u8 set-u32 query command-a2 firmware monitor"
    local options="--json --verify --timeout --log --trace --replay --virtual --help --version"
    local channels="line-out master-out computer-out analog-in direct-monitor"
    local IFS=$' \t\n'
    compopt +o default 2>/dev/null

    # bash breaks --option=value into three words.
    if [ "$current" = "=" ]; then
        current=""
    elif [ "$previous" = "=" ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
        if [ "$previous" = --trace ]; then
            COMPREPLY=($(compgen -f -- "$current"))
            compopt -o filenames 2>/dev/null
            return
        fi
    fi

    case $previous in
    --log | --replay)
        COMPREPLY=($(compgen -f -- "$current"))
        compopt -o filenames 2>/dev/null
        return
        ;;
    --timeout | -n | --blocks) return ;;
    esac

    # The command, and how many of its arguments stand before the current word.
    local index word command="" action="" count=0
    for ((index = 1; index < COMP_CWORD; index++)); do
        word=${COMP_WORDS[index]}
        case $word in
        --log | --replay | --timeout | -n | --blocks) ((index++)) ;;
        = | -*) ;;
        *)
            # What stands after "=" belongs to an option.
            if [ "${COMP_WORDS[index - 1]}" = "=" ]; then
                continue
            elif [ -z "$command" ]; then
                [[ " $commands " == *" $word "* ]] && command=$word
            else
                [ -n "$action" ] || action=$word
                ((count++))
            fi
            ;;
        esac
    done

    local choices=""
    case $current in
    -*)
        choices=$options
        [ "$command" = raw ] && choices+=" -n --blocks"
        [ "$command" = firmware ] && choices+=" --yes"
        ;;
    *)
        case $command:$count:$action in
        :*) choices=$commands ;;
        power-save:0:) choices="on off" ;;
        fader:0: | mute:0: | stereo:0:) choices="get set" ;;
        fader:1:* | mute:1:* | stereo:1:* | route:0: | route:2:*) choices=$channels ;;
        mute:3:set) choices="on off" ;;
        stereo:3:set) choices="mono stereo" ;;
        firmware:0:)
            COMPREPLY=($(compgen -f -- "$current"))
            compopt -o filenames 2>/dev/null
            return
            ;;
        esac
        ;;
    esac
    COMPREPLY=($(compgen -W "$choices" -- "$current"))
}
complete -F _kdmxctl kdmxctl
