#!/bin/sh
# usage: gzip_stream_test.sh PROGRAM: the example unpacks what gzip packs, and notices what is damaged.
# shellcheck disable=SC2094  # reading a file twice does no harm
set -eu
program=$1
for level in 1 6 9; do
    gzip -$level <"$program" | "$program" | cmp - "$program" # dynamic codes
done
printf hello | gzip -n | "$program" | grep -qx hello # the fixed code
head -c 100000 /dev/urandom >random
gzip <random | "$program" | cmp - random # stored
if gzip <"$program" | head -c 1000 | "$program" >/dev/null 2>&1; then
    echo "a truncated file was not noticed"
    exit 1
fi
if (gzip -n <"$program" | head -c -8 && printf 12345678) | "$program" >/dev/null 2>&1; then
    echo "a wrong checksum was not noticed"
    exit 1
fi
