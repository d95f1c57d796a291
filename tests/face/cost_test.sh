#!/bin/bash
# usage: cost_test.sh OBJECT: of every pair c_NAME and face_NAME, the second makes the same calls as the first, and has no
# more than a few instructions more: those that check what a length type can express, which the first leaves out.
set -eu
object=$1
allowed=20
failed=0

body() { objdump -dr --no-show-raw-insn --disassemble="$1" "$object" | grep -E '^\s+[0-9a-f]+:'; }
instructions() { body "$1" | grep -vc R_X86_64 || true; }
calls() { body "$1" | grep -oE 'R_X86_64_PLT32\s+[A-Za-z_][A-Za-z0-9_]*' | awk '{ print $2 }' | sort -u; }

pairs=$(nm "$object" | awk '$2 == "T" && $3 ~ /^c_/ { sub("^c_", "", $3); print $3 }')
[ "$(wc -w <<<"$pairs")" -ge 5 ] || { echo "the object holds no pairs" && exit 1; }
for name in $pairs; do
    before=$(instructions "c_$name") after=$(instructions "face_$name")
    printf '%-14s %3d instructions with the C call, %3d with the face\n' "$name" "$before" "$after"
    [ "$after" -le $((before + allowed)) ] || { echo "$name: too many" && failed=1; }
    [ -n "$(calls "c_$name")" ] || { echo "$name: no call was found" && failed=1; }
    [ "$(calls "c_$name")" = "$(calls "face_$name")" ] || { echo "$name: other calls:" "$(calls "face_$name")" && failed=1; }
done
exit $failed
