# Completion of ozrz for bash.

_ozrz() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options="-z --compress -d --decompress -t --test -l --list --recover -c --stdout -o --output -f --force
        -k --keep -N --name --rm -F --format -1 -2 -3 -4 -5 -6 -7 -8 -9 --fast -n --no-name -D --dictionary -T --threads
        -B --block-size --block-checksum --no-check --content-size --crc --check-data --dims --rate --precision --accuracy
        --stats --plot -v --verbose -q --quiet --no-progress --formats -V --version -h --help"
    if [[ ${COMP_WORDS[1]} == bench && $COMP_CWORD -gt 1 ]]; then
        options="-F --format -T --threads --time --csv --json -B --block-size --block-checksum --no-check
            --content-size --crc --check-data --dims --rate --precision --accuracy --stats --plot -h --help"
    fi

    # The value of an option: the word behind it, or behind its "=", which bash takes for a word.
    if [[ $current == "=" ]]; then
        current=
    elif [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $previous in
        -F | --format)
            mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" --formats 2>/dev/null | sed '1d; s/ .*//')" -- "$current")
            return
            ;;
        -B | --block-size)
            mapfile -t COMPREPLY < <(compgen -W "64K 256K 1M 4M" -- "$current")
            return
            ;;
        -T | --threads | --time | --dims | --rate | --precision | --accuracy) return ;;
    esac

    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    if [[ $COMP_CWORD -eq 1 && -n $current && bench == "$current"* ]]; then COMPREPLY+=(bench); fi
}

complete -F _ozrz ozrz
