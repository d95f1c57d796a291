#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets to the directory seeds beside this script.

A seed is an input of its target: the parameters that the target takes from the front (see its first lines), then the data.
The seeds are committed; this script is kept so that they can be understood, changed and made again.
"""

import pathlib
import struct
import zlib

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

# --- LZ4 sources with history -----------------------------------------------------------------------------------------

for name, source in SOURCES.items():
    for kinds in range(8):
        size = len(source) // 2
        parameters = struct.pack("<BbHHH", kinds, kinds % 4 * 2 + 1, 60 if kinds == 5 else 3000, size, 10 * (kinds // 4))
        write("lz4_history", f"{name}_{kinds}", parameters + source + source[: size // 2])

# --- Checksums --------------------------------------------------------------------------------------------------------

for name, source in SOURCES.items():
    write("checksum", name, struct.pack("<IIB", 1, 0, 0) + source)
    write("checksum", f"{name}_repeated", struct.pack("<IIB", 2, 0xFFFFFFFF, 250) + source)

# --- LZO1X streams and sources ----------------------------------------------------------------------------------------


def lzo_extension(rest):
    return b"\0" * ((rest - 1) // 255) + bytes([(rest - 1) % 255 + 1])


def lzo_run(count):
    return (bytes([count - 3]) if count <= 18 else b"\0" + lzo_extension(count - 18)) + literals(count)


def lzo_first(count):
    return bytes([count + 17]) + literals(count)


def lzo_short(distance, length, behind=0):
    return bytes([(length - 1) * 32 + (distance - 1) % 8 * 4 + behind, (distance - 1) // 8]) + literals(behind)


def lzo_other(distance, length, behind=0):
    first, largest, base = (32, 33, 1) if distance <= 16384 else (16, 9, 16384) if distance < 32768 else (24, 9, 32768)
    head = bytes([first + length - 2]) if length <= largest else bytes([first]) + lzo_extension(length - largest)
    return head + struct.pack("<H", (distance - base) * 4 + behind) + literals(behind)


LZO_END = b"\x11\0\0"
LZO_STREAMS = {
    "first": lzo_first(30) + lzo_short(5, 8, 1) + LZO_END,
    "runs": lzo_run(40) + lzo_short(1, 3) + lzo_run(300) + lzo_short(9, 4) + lzo_run(5) + LZO_END,
    "matches": lzo_run(100) + b"".join(lzo_short(d, 3 + d % 6) for d in range(1, 20)) + lzo_other(70, 200, 3) + LZO_END,
    "far": lzo_run(20000) + lzo_other(16500, 9, 2) + lzo_other(20000, 400) + LZO_END,
    "two_and_three_bytes": lzo_run(3000) + b"\x05\x20" + literals(1) + b"\x04\x08" + lzo_run(4) + b"\x03\x01" + literals(3),
    "concatenated": (lzo_first(9) + LZO_END) * 3 + b"\x11" + lzo_run(30) + LZO_END + LZO_END,
    "unfinished": lzo_first(50) + lzo_other(5, 40),
    "zeros": lzo_first(9) + bytes(100),
    "container": bytes([0x55, 2, 0x57]) + struct.pack("<II", 11, 9) + lzo_first(5) + LZO_END + lzo_first(6) + LZO_END,
    "container_of_one": bytes([0x55, 1, 0x54]) + struct.pack("<I", 98) + lzo_first(8) + lzo_other(7, 90) + LZO_END,
}
for name, stream in LZO_STREAMS.items():
    write("lzo_decode", name, struct.pack("<H", 30000) + stream)
    write("lzo_decode", f"{name}_tight", struct.pack("<H", 340) + stream)
for name, source in SOURCES.items():
    write("lzo_encode", name, struct.pack("<HBB", 100, 3, 0) + source)
    write("lzo_encode", f"{name}_repeated", struct.pack("<HBB", 3000, 31, 250) + source)

# --- Deflate streams --------------------------------------------------------------------------------------------------


def deflated(source, level=9, strategy=zlib.Z_DEFAULT_STRATEGY):
    compressor = zlib.compressobj(level, zlib.DEFLATED, -15, 8, strategy)
    return compressor.compress(source) + compressor.flush()


def words(count):
    """Text with far and near repetitions, enough for a dynamic block of its own."""
    vocabulary = [bytes([97 + (i * 7 + j) % 26 for j in range(1 + i % 9)]) for i in range(40)]
    return b" ".join(vocabulary[i * i * 31 % 40] for i in range(count))


STREAMS = {
    "dynamic": deflated(words(300)),
    "fixed": deflated(words(80), strategy=zlib.Z_FIXED),
    "stored": deflated(literals(100), level=0),
    "literals_only": deflated(words(200), strategy=zlib.Z_HUFFMAN_ONLY),
    "runs": deflated(b"a" * 1000 + b"b" * 700, strategy=zlib.Z_RLE),
    "incompressible": deflated(literals(256)),
    "empty": deflated(b""),
    "distance_too_far": b"\x4b\x04\xc2\x00\x00",
    "no_meaning": bytes([0b00110011, 0b01100110, 0xFF, 0xFF]),
}

for name, stream in STREAMS.items():
    write("inflate", f"{name}_whole", struct.pack("<IIBBHB", 1, 1, 15, 15, 32767, 0) + stream)
    write("inflate", f"{name}_pieces", struct.pack("<IIBBHB", 2, 3, 3, 5, 32767, 2) + stream)
    write("face_inflate", f"{name}_whole", bytes([255, 255]) + stream)
    write("face_inflate", f"{name}_pieces", bytes([0, 1]) + stream)
for seed in range(8):
    write("inflate", f"random_codes_{seed}", struct.pack("<IIBBHB", 4, seed, 5, 6, 3000, 1) + literals(200))

# --- Code lengths -----------------------------------------------------------------------------------------------------

FIXED = bytes([8] * 144 + [9] * 112 + [7] * 24 + [8] * 8 + [5] * 30)
LADDER = bytes([*range(1, 15), 15, 15])


def tables(name, literal_count, distance_count, flags, data):
    write("inflate_tables", name, struct.pack("<HBB", literal_count, distance_count, flags) + data)


tables("fixed", 288, 30, 0, FIXED + literals(100))
tables("ladder", 288, 30, 0, bytes(256) + LADDER + bytes(16) + LADDER + bytes(14) + literals(100))
tables("completed", 286, 30, 1, literals(316) + literals(100))
tables("one_code", 257, 1, 4, bytes(256) + b"\x01\x01" + literals(20))
tables("nothing", 288, 30, 0, bytes(318))
tables("too_many", 289, 31, 0, bytes(320))

# --- Deflate sources --------------------------------------------------------------------------------------------------

for number, (name, source) in enumerate({**SOURCES, "words": words(100)}.items()):
    for level, sizes in ((0, 0x0303), (6, 0xFFFF), (17, 0x00FF), (30, 0x0000), (31, 0x3003)):
        write("face_deflate", f"{name}_{level}", struct.pack("<BHB", level, sizes, 255 * (number % 2)) + source)
    for level in (0, 1, 4, 6, 9, 14, 40, 41):
        repetition = 250 if level % 2 else 0
        write(
            "deflate_parse",
            f"{name}_{level}",
            struct.pack("<BIHHBB", level, number, 32767, 40000, number % 16, repetition) + source,
        )
    for flags in range(0, 16, 3):
        write(
            "deflate_single_pass",
            f"{name}_{flags}",
            struct.pack("<IHHBB", number, 4000 * number, 30000, flags, 40) + words(20)[:40] + source,
        )

# --- Stages of the block-sorting pipeline -----------------------------------------------------------------------------

RUNS = b"".join(bytes([i % 3]) * (1 + i * i % 300) for i in range(30))
RANKS = bytes(0 if i % 3 else i * i % 251 for i in range(400)) + bytes(100) + b"\x01\xff"
STAGES = {
    "encode_runs": RUNS,
    "decode_runs": bytes([7, 7, 7, 7, 255, 7, 7, 7, 7, 0, 1, 2, 3, 3, 3, 3, 9, 4, 4, 4]) * 5,
    "move_to_front": bytes(i * i % 97 for i in range(200)) + bytes(range(256)) + RUNS[:300],
    "encode_zeros": RANKS,
    "decode_zeros": bytes(1 + i % 2 for i in range(40)) + RANKS,
    "encode_symbols": RANKS + RUNS[:500],
}
for stage, (name, plain) in enumerate(STAGES.items()):
    for size, room in ((65535, 65535), (40, 30)):
        write("bz2_stages", f"{name}_{room}", struct.pack("<BHH", stage, size, room) + plain)


def packed(bits):
    return int((bits + "0" * (-len(bits) % 8)), 2).to_bytes((len(bits) + 7) // 8, "big")


# Two tables for five symbols, the last of which ends the block; three groups.
DESCRIPTION = "010" + f"{3:015b}" + "0" + "10" + "10" + "00010" + "0000" + "100" + "110" + "00010" + "0000" + "100"
for size, room in ((65535, 65535), (3, 7)):
    write("bz2_stages", f"decode_stream_{room}", struct.pack("<BHHB", 6, size, room, 4) + packed(DESCRIPTION + "00011011" * 15 + "111" + "0" * 40))

# --- The block sort ---------------------------------------------------------------------------------------------------

for number in range(8):
    write("bz2_transform", f"sort_{number}", struct.pack("<BH", 0, number) + words(30)[:150])
    write("bz2_transform", f"sort_runs_{number}", struct.pack("<BH", 0, number) + b"abaababaabaab" * 3 + RUNS[:400])
write("bz2_transform", "sort_pairs", struct.pack("<BH", 0, 1) + b"ab")
write("bz2_transform", "invert", struct.pack("<BH", 1, 3) + b"nnbaaa")
write("bz2_transform", "invert_any", struct.pack("<BH", 1, 123) + RUNS[:500])
SYMBOLS = b"".join(struct.pack("<H", 0 if i % 4 else 2 + i * i % 20) for i in range(300))
for name, capacity, last in (("", 2000, b""), ("_full", 250, b""), ("_beyond", 2000, b"\x30\0"), ("_long_run", 2000, bytes(100))):
    write("bz2_transform", "symbols" + name, struct.pack("<BHBH", 2, 5, 24, capacity) + SYMBOLS + last)

# --- ZFP --------------------------------------------------------------------------------------------------------------


def zfp_parameters(least, most, precision, exponent):
    return struct.pack("<HHBh", least, most, precision, exponent)


PARAMETERS = {
    "all": zfp_parameters(0, 4171, 64, -10740),
    "rate_8": zfp_parameters(512, 512, 64, -10740),
    "precision_10": zfp_parameters(0, 4171, 10, -10740),
    "accuracy": zfp_parameters(0, 4171, 64, -12),
    "endless": zfp_parameters(65535, 65535, 255, -32768),
}
RAMP = b"".join(struct.pack("<f", 0.25 * i - 3) for i in range(128))
BUMPS = b"".join(struct.pack("<f", 1e6 / (1 + (i * i * 37) % 1009)) for i in range(192))
FIELDS = {"ramp": RAMP, "bumps": BUMPS, "zeros": bytes(256), "infinite": struct.pack("<64f", *([1, float("inf")] * 32))}
for mode, parameters in PARAMETERS.items():
    for name, field in FIELDS.items():
        write("zfp_encode", f"{name}_{mode}", parameters + struct.pack("<H", 2000) + field)
    # A header with the exponent 1, then planes of every kind.
    for name, planes in (("empty", bytes(40)), ("full", b"\xff" * 300), ("mixed", literals(256))):
        write("zfp_decode", f"{name}_{mode}", parameters + b"\x01\x01" + planes)

# --- LZSS streams -----------------------------------------------------------------------------------------------------


def lzss_literal(byte):
    return f"1{byte:08b}"


def lzss_match(distance, length):
    return f"0{distance:015b}{length - 3:08b}"


LZSS_TOKENS = {
    "literals": "".join(map(lzss_literal, range(60))),
    "matches": "".join(map(lzss_literal, b"abc")) + "".join(lzss_match(1 + i % 3, 3 + 9 * i % 256) for i in range(60)),
    "mixed": "".join("".join(map(lzss_literal, b"xyz.,"[: i % 5])) + lzss_match(1 + i, 3 + i) for i in range(40)),
    "distance_zero": lzss_literal(7) + lzss_match(0, 100) + lzss_literal(8) + lzss_match(100, 258),
    "before_the_stream": lzss_match(32767, 258) + lzss_match(300, 100) + lzss_literal(1),
}
CUTS = {"whole": (255, 11, 0), "pieces": (90, 0, 5), "bytes": (0, 0, 0)}
for name, tokens in LZSS_TOKENS.items():
    for cut, (number, power, seed) in CUTS.items():
        sizes = struct.pack("<BBH", number, power, seed)
        write("lzss_decode", f"{name}_{cut}", sizes + sizes + b"\x55" + packed(tokens))
for name, source in {**SOURCES, "words": words(100)}.items():
    for cut, (number, power, seed) in CUTS.items():
        sizes = struct.pack("<BBH", number, power, seed)
        repetition = 250 if cut == "whole" else 0
        write("lzss_encode", f"{name}_{cut}", sizes + sizes + bytes([repetition]) + source)


def crc32c(data, crc=0):
    crc ^= 0xFFFFFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ (0x82F63B78 if crc & 1 else 0)
    return crc ^ 0xFFFFFFFF


def lzss_member(blocks):
    """A .lzss file of blocks, each a content and its tokens; without tokens the content is stored."""
    fields = b"\x89LSS" + bytes([1, 0, 10])
    file, headers = fields + bytes([crc32c(fields) & 255]), b""
    for content, tokens in blocks:
        data = packed(tokens) if tokens else content
        header = struct.pack("<III", len(content), len(data), crc32c(content))
        file, headers = file + header + data, headers + header
    return file + struct.pack("<II", 0, crc32c(headers))


LZSS_BLOCKS = [(b"abc" * 20, "".join(map(lzss_literal, b"abc")) + lzss_match(3, 57)), (literals(50), ""), (b"z" * 9, "")]
write("ozrz_formats", "lzss_blocks", lzss_member(LZSS_BLOCKS))
write("ozrz_formats", "lzss_two", lzss_member(LZSS_BLOCKS[:1]) + lzss_member([]) + lzss_member(LZSS_BLOCKS[1:]))
write("ozrz_formats", "lzss_garbage", lzss_member(LZSS_BLOCKS[:2]) + b"\x89LS?")
