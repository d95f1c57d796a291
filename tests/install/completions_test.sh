#!/bin/bash
# usage: completions_test.sh OZRZ DIRECTORY: the completions know every option that --help tells, and no other, and complete
# what they should. Shells that are not installed are passed over, but for bash.
set -eu
ozrz=$1 directory=$2
PATH=$(dirname "$ozrz"):$PATH
failed=0
complain() { echo "$*" && failed=1; }

# The long options in a text, one a line.
long_options() { grep -oE -e '(^|[^-a-z])--[a-z][a-z-]*' | grep -oE -e '--[a-z-]+' | sort -u; }
told=$({ "$ozrz" --help && "$ozrz" bench --help; } | grep -E '^  ' | long_options)
check_options() {
    [ "$2" = "$told" ] || complain "$1 and --help differ:" "$(diff <(echo "$2") <(echo "$told"))"
}
check_options bash "$(long_options <"$directory/ozrz.bash")"
check_options zsh "$(long_options <"$directory/_ozrz")"
check_options fish "$(grep '^ *complete' "$directory/ozrz.fish" | grep -oE -e '-l [a-z-]+' | sed 's/-l /--/' | sort -u)"

# expect SHELL WORDS GOT WANTED: every wanted word is there.
expect() {
    local word
    for word in $4; do
        grep -qxF -e "$word" <<<"$3" || complain "$1: \"$2\" is not completed to $word, but to:" "$3"
    done
}

# shellcheck source=/dev/null
. "$directory/ozrz.bash"
bash_completes() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _ozrz
    printf '%s\n' "${COMPREPLY[@]}"
}
touch a-file
expect bash "ozrz --dec" "$(bash_completes ozrz --dec)" --decompress
expect bash "ozrz -F " "$(bash_completes ozrz -F '')" "lz4 gzip"
expect bash "ozrz --format = g" "$(bash_completes ozrz --format = g)" gzip
expect bash "ozrz be" "$(bash_completes ozrz be)" bench
expect bash "ozrz bench --j" "$(bash_completes ozrz bench --j)" --json
expect bash "ozrz -B 6" "$(bash_completes ozrz -B 6)" 64K
expect bash "ozrz a-" "$(bash_completes ozrz a-)" a-file

if command -v fish >/dev/null; then
    fish_completes() { HOME=$PWD fish -c "source $directory/ozrz.fish; complete -C \"$1\"" | cut -f 1; }
    expect fish "ozrz --dec" "$(fish_completes 'ozrz --dec')" --decompress
    expect fish "ozrz -F " "$(fish_completes 'ozrz -F ')" "lz4 gzip"
    expect fish "ozrz bench --j" "$(fish_completes 'ozrz bench --j')" --json
fi
if command -v zsh >/dev/null; then
    zsh -n "$directory/_ozrz" || complain "zsh does not take its file"
fi
exit $failed
