# bash completion for simcardctl: commands, options, card files and the
# data-model paths that the configuration document serves. Paths and files
# come from simcardctl itself (`paths`, `card ls`), run on the card that the
# command line names (--virtual, --config, --sandbox), one component at a time.

_simcardctl_list() {
    # The card options already on the line, then the listing command.
    local -a card=()
    local i w
    for ((i = 1; i < ${#COMP_WORDS[@]}; i++)); do
        ((i == COMP_CWORD)) && continue
        w=${COMP_WORDS[i]}
        case $w in
        --virtual | --config | -c | --sandbox)
            if [[ ${COMP_WORDS[i + 1]} == "=" ]]; then
                card+=("$w=${COMP_WORDS[i + 2]}")
            else
                card+=("$w" "${COMP_WORDS[i + 1]}")
            fi
            ;;
        esac
    done
    "${COMP_WORDS[0]}" --quiet "${card[@]}" "$@" 2>/dev/null
}

_simcardctl() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local prev=""
    ((COMP_CWORD > 0)) && prev=${COMP_WORDS[COMP_CWORD - 1]}
    local options="--virtual= --config= --sandbox= --trace --trace=hex --pcap= --quiet --force
        --values --json --hex --help --version"
    local commands="get set add del sync restore first-online dump tree paths card"

    # The value of an option: a file (the word breaks at "=").
    if [[ $prev == "=" ]] && ((COMP_CWORD > 1)); then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
        case $prev in
        --virtual | --config | --sandbox | --pcap)
            COMPREPLY=($(compgen -f -- "$cur"))
            return
            ;;
        esac
    fi
    case $prev in
    --virtual | --config | -c | --sandbox | --pcap)
        COMPREPLY=($(compgen -f -- "$cur"))
        return
        ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace
        return
    fi

    # The words of the current command: after the last "--", options and
    # their values left out.
    local -a args=()
    local i w
    for ((i = 1; i < COMP_CWORD; i++)); do
        w=${COMP_WORDS[i]}
        case $w in
        --) args=() ;;
        --virtual | --config | -c | --sandbox | --pcap)
            [[ ${COMP_WORDS[i + 1]} == "=" ]] && ((i++))
            ((i++))
            ;;
        -* | =) ;;
        *) args+=("$w") ;;
        esac
    done

    local n=${#args[@]}
    if ((n == 0)); then
        COMPREPLY=($(compgen -W "$commands" -- "$cur"))
        return
    fi
    case ${args[0]} in
    card)
        if ((n == 1)); then
            COMPREPLY=($(compgen -W "ls cat check repair reset apdu" -- "$cur"))
        elif [[ ${args[1]} == cat || ${args[1]} == reset || ${args[1]} == repair ]]; then
            COMPREPLY=($(compgen -W "$(_simcardctl_list card ls | awk 'NR > 1 {print $1}')" -- "$cur"))
        fi
        ;;
    get | set | add | del)
        # set takes one path, then its value; add and del one path.
        [[ ${args[0]} != get ]] && ((n > 1)) && return
        COMPREPLY=($(_simcardctl_list paths | awk -v cur="$cur" '
            index($0, cur) == 1 {
                rest = substr($0, length(cur) + 1)
                dot = index(rest, ".")
                print cur (dot ? substr(rest, 1, dot) : rest)
            }' | sort -u))
        [[ ${#COMPREPLY[@]} -gt 0 && ${COMPREPLY[0]} == *. ]] && compopt -o nospace
        ;;
    esac
}

complete -F _simcardctl simcardctl
