#!/bin/bash
# usage: examples_test.sh EXAMPLE PROGRAM: runs an example on data that are made here, and checks what it says or makes.
set -eu
example=$1 program=$2
mkdir -p "$example"
cd "$example"
fail() { echo "$1" && exit 1; }

case $example in
    bz2_inspect)
        seq 300000 >numbers
        bzip2 -1 <numbers >file.bz2
        printf x | bzip2 -9 >>file.bz2
        "$program" file.bz2 >shown
        [ "$(grep -c '^stream' shown)" -eq 2 ] || fail "two streams are not shown"
        [ "$(grep -c 'right$' shown)" -eq "$(grep -c '^bit' shown)" ] || fail "a checksum is wrong"
        [ "$(awk '/^bit/ { for (i = 1; i < NF; ++i) if ($(i + 1) == "bytes") n += $i } END { print n }' shown)" \
            -eq $(($(stat -c %s numbers) + 1)) ] || fail "the sizes are not those of the data"
        dd if=/dev/zero of=file.bz2 bs=1 count=1 seek=5000 conv=notrunc status=none
        ! "$program" file.bz2 >shown 2>&1 || grep -q WRONG shown || fail "damage is not shown"
        ;;
    checksum_mmap)
        printf 123456789 >digits
        "$program" digits | grep -qx 'crc32 cbf43926  crc32c e3069283  adler32 091e01de  9 bytes' || fail "not the check values"
        : >empty
        "$program" empty | grep -qx 'crc32 00000000  crc32c 00000000  adler32 00000001  0 bytes' || fail "not those of nothing"
        seq 500000 >numbers
        crc=$(gzip -c numbers | tail -c 8 | od -An -tx4 -N4 | tr -d ' ')
        "$program" numbers | grep -q "^crc32 $crc " || fail "not the checksum that gzip has"
        ! "$program" missing 2>/dev/null || fail "a missing file is no error"
        ;;
    parallel_gzip)
        seq 1000000 >numbers
        for size in 0 1 1048576 1048577 6000000; do
            head -c $size numbers >part
            "$program" <part >part.gz
            gzip -dc <part.gz | cmp - part || fail "gzip does not unpack $size bytes"
        done
        [ "$(stat -c %s part.gz)" -lt 3000000 ] || fail "it has not become smaller"
        ;;
    lz4_log_store)
        for i in $(seq 2000); do
            echo "2025-05-09T12:$((i % 60)):00Z host$((i % 7)) service[$((i * 37 % 1000))]: request $i was answered in $((i * 13 % 97)) ms"
        done >log
        "$program" log 1234 >said
        tail -1 said | grep -q 'request 1235 was answered' || fail "not the record that was asked for"
        sed -E 's/[^0-9]+/ /g' said | head -1 | {
            read -r records plain packed alone
            [ "$records" -eq 2000 ] || fail "not all records"
            [ $((packed * 3)) -lt $((plain * 2)) ] || fail "the records have not become much shorter"
            [ "$packed" -lt "$alone" ] || fail "the dictionary is of no use"
        }
        ! "$program" log 2000 2>/dev/null >&2 || fail "a record that is not there is no error"
        ;;
    lzss_fixed_memory)
        seq 200000 >numbers
        for size in 0 1 4096 4097 1000000; do
            head -c $size numbers >part
            "$program" pack part packed && "$program" unpack packed back
            cmp part back || fail "$size bytes do not come back"
        done
        [ "$(stat -c %s packed)" -lt 700000 ] || fail "it has not become smaller"
        head -c 100000 packed >shortened
        ! "$program" unpack shortened back 2>/dev/null || fail "a cut file is no error"
        printf '\377\377\377' | dd of=packed bs=1 seek=50000 conv=notrunc status=none
        ! "$program" unpack packed back 2>/dev/null || fail "a damaged file is no error"
        ;;
    *) fail "there is no test of $example" ;;
esac
