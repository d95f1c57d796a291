#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets to the directory seeds beside this script.

A seed is an input of its target: the parameters that the target takes from the front (see its first lines), then the data.
The seeds are committed; this script is kept so that they can be understood, changed and made again.
"""

import pathlib
import struct

SEEDS = pathlib.Path(__file__).parent / "seeds"


def write(target, name, data):
    directory = SEEDS / target
    directory.mkdir(parents=True, exist_ok=True)
    (directory / name).write_bytes(data)


# --- LZ4 blocks -------------------------------------------------------------------------------------------------------


def extension(length):
    if length < 15:
        return b""
    return b"\xff" * ((length - 15) // 255) + bytes([(length - 15) % 255])


def literals(count):
    return bytes((37 * i + 11) % 256 for i in range(count))


def sequence(run, offset, length):
    """A literal run and a match."""
    token = min(run, 15) << 4 | min(length - 4, 15)
    return bytes([token]) + extension(run) + literals(run) + struct.pack("<H", offset) + extension(length - 4)


def last_run(run):
    return bytes([min(run, 15) << 4]) + extension(run) + literals(run)


BLOCKS = {
    "run": last_run(40),
    "long_run": last_run(600),
    "overlapping_match": sequence(20, 1, 200) + last_run(60),
    "short_offsets": b"".join(sequence(16, offset, 40) for offset in range(1, 17)) + last_run(60),
    "history": sequence(10, 300, 40) + sequence(0, 12, 6) + last_run(60),
    "over_the_dictionarys_end": sequence(5, 25, 90) + last_run(60),
    "offset_zero": sequence(20, 0, 30) + last_run(60),
    "unfinished_length": sequence(20, 3, 30) + b"\xf0" + b"\xff" * 40,
    "run_of_32_at_the_end": sequence(30, 7, 20) + last_run(32),
}

for mode, mode_name in enumerate(("alone", "prefix", "separate")):
    for name, block in BLOCKS.items():
        write("lz4_decode", f"{name}_{mode_name}", struct.pack("<BHHH", mode, 2000, 400, 401) + block)

# --- LZ4 sources ------------------------------------------------------------------------------------------------------

SOURCES = {
    "text": b"the block, the stream and the window of the encoder; the match and the literal. " * 3,
    "run": b"x" * 300,
    "records": b"".join(struct.pack("<IIQ", i, 7, i * i) for i in range(40)),
    "incompressible": literals(256),
    "short": b"0123456789" * 3,
}

for name, source in SOURCES.items():
    write("lz4_encode", name, struct.pack("<HiB", 100, 8, 0) + source)
    write("lz4_encode", f"{name}_repeated", struct.pack("<HiB", 3000, 2, 250) + source)

# --- Checksums --------------------------------------------------------------------------------------------------------

for name, source in SOURCES.items():
    write("checksum", name, struct.pack("<IIB", 1, 0, 0) + source)
    write("checksum", f"{name}_repeated", struct.pack("<IIB", 2, 0xFFFFFFFF, 250) + source)
