#!/bin/bash
# usage: filter.sh FILE: a source of the site as Doxygen is to see it, line by line.
case $1 in
    *.hpp)
        # The face's inline namespace is for linkers: nobody writes its name. And the comment that opens a file describes it.
        if ! grep -q '@file' "$1"; then
            set -- "$1" -e '1,/^[^/]/s|^//|///|' -e '1s|^/// |/// @file ozrdc/'"${1##*/}"' @brief |' -e 's|^/// \(Copyright\|SPDX\).*||'
        fi
        sed -e 's/^inline namespace v11 {$//' -e 's|^}  // namespace v11$||' -e 's/\bv11:://g' "${@:2}" "$1"
        ;;
    *.md)
        # Links to files of the project become links to their pages, and names of functions outside of code links to them.
        sed -E -e 's#\]\((\.\./)*examples/(\w+\.c(pp)?)\)#](@ref \2)#g' -e 's#\]\((\.\./)*include/([a-z/]+\.h(pp)?)\)#](@ref \2)#g' \
            -e '/^\x60{3}./,/^\x60{3}$/b' -e 's#\x60(ozr(s|dc)[A-Z]\w*)\x60#<code>@ref \1</code>#g' "$1"
        ;;
esac
