/*
 * ozrdc.h - data-compression primitives for x86-64 processors with SSE4.2.
 *
 * Copyright 2025 The ozrdc authors
 * SPDX-License-Identifier: Apache-2.0
 */
/**
 * @file
 * @brief The C interface of libozrdcy8: every exported function, every `Status` and the public records.
 *
 * What holds for every function of this header:
 *
 * - **No side effects.** A call works on the caller's buffers, on the calling thread, and returns. It never allocates
 *   memory, opens files, writes logs, starts threads, throws, or keeps a pointer after it has returned (but in
 *   the caller's own state, where that says so).
 * - **Status.** The result is a `Status`: 0 is success, a negative value is an error, a positive value is a warning,
 *   which means that useful work was done and that the lengths tell how much.
 * - **Argument checks** come before any work: null pointers first, in the order of the parameters
 *   (`StatusNullPointer`), then lengths and sizes (`StatusSizeError`), then modes, levels, factors and state
 *   identifiers. A call that fails a check leaves every output untouched. A function that departs from this says so.
 * - **Threads.** All tables of the library are constant. Any number of threads may call any functions at the same time,
 *   as long as no two of them share a state, a table or an output buffer.
 * - **Aliasing.** Buffers of one call must not overlap unless the function says that they may.
 * - **Alignment.** Byte buffers may start at any address.
 *
 * The type tags in the names: `_8u` unsigned 8-bit elements, `_16u` unsigned 16-bit, `_32f` 32-bit float; a name with
 * two tags reads the source type, then the destination type; `_I` marks an operation in place.
 */
#ifndef OZRDC_H
#define OZRDC_H

#include <stdint.h>

/** Marks a function that never throws. */
#ifdef __cplusplus
#define OZRDC_NOEXCEPT noexcept
extern "C" {
#else
#define OZRDC_NOEXCEPT
#endif

/** @defgroup status Status
 *
 * What every function returns, but for the one that tells the version.
 *  @{ */

/** Result of a call: 0 success, below 0 an error, above 0 a warning. The values are the enumerators below. */
typedef int32_t Status;

/** The values of `Status`. */
enum {
    /** Success. */
    StatusOk = 0,
    /** Warning: the source ran out before the unit being decoded was complete. */
    StatusSourceExhausted = 32,
    /** Warning: the destination filled before all output was produced; lengths tell what was done. */
    StatusDestinationFull = 33,
    /** Warning: the comparison sort of the block-sorting transform ran out of its budget; its output is invalid. */
    StatusSortBudgetExceeded = 47,
    /** Warning: the next sequence of the high-compression LZ4 encoder does not fit in the destination. */
    StatusOutputTruncated = 48,
    /** A Huffman code cannot be limited to its maximum length. */
    StatusCodeLengthLimit = -1,
    /** Corrupt input. */
    StatusError = -2,
    /** The ZFP bit stream reached the end of its buffer. */
    StatusStreamEnd = -4,
    /** An argument's value lies outside its allowed set. */
    StatusBadArgument = -5,
    /** A length or size is zero, negative or too large. */
    StatusSizeError = -6,
    /** A required pointer is null. */
    StatusNullPointer = -8,
    /** A state buffer does not carry its family's identifier, or is not in the condition that the call requires. */
    StatusContextMismatch = -13,
    /** The LZ4 acceleration factor is below 1. */
    StatusBadFactor = -16,
    /** Huffman code lengths, or the description of a code table, are invalid. */
    StatusBadCodeTable = -200,
    /** An LZO1X stream is malformed. */
    StatusBrokenStream = -214
};

/** @} */

/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup library Library
 *
 * What was linked: the version of the library.
 *  @{ */

/** What the library says of itself. All texts are NUL-terminated and constant. */
typedef struct LibraryVersion {
    int32_t major;         /**< Major version. */
    int32_t minor;         /**< Minor version. */
    int32_t majorBuild;    /**< Third component of the version. */
    int32_t build;         /**< Build number. */
    char targetCpu[4];     /**< Code of the processor variant, padded with NULs. */
    const char* name;      /**< Name of the library and its variant. */
    const char* version;   /**< The version as text: "major.minor.majorBuild (rBUILD)", BUILD in hexadecimal. */
    const char* buildDate; /**< Date of the build, in the form of a compiler's date stamp. */
} LibraryVersion;

/**
 * Tells the version of the library.
 *
 * @return A constant record, the same on every call; never null. It must not be written to.
 */
const LibraryVersion* ozrdcGetLibVersion(void) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup checksums Checksums
 *
 * Running checksums: the caller keeps the value and passes it from call to call, so that a long message may be given in
 * pieces of any size. Each call takes the fastest path that the processor offers; all paths give the same value.
 *  @{ */

/**
 * Adler-32 (RFC 1950), the checksum of zlib streams.
 *
 * A new checksum starts from 1. A null source starts one: whatever `len` is, the call writes 1 to `*pAdler` and
 * succeeds.
 *
 * @param[in]     pSrc    The bytes; may be null (see above).
 * @param[in]     len     Number of bytes. 0 or below processes nothing and leaves both halves of the value reduced
 *                        modulo 65521.
 * @param[in,out] pAdler  The running value: sum A in the low 16 bits, sum B in the high 16 bits.
 * @retval StatusOk           The value was updated (or set to 1).
 * @retval StatusNullPointer  `pAdler` is null.
 */
Status ozrsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pAdler) OZRDC_NOEXCEPT;

/**
 * CRC-32 of zlib, gzip and Ethernet (reflected polynomial 0xEDB88320; RFC 1952).
 *
 * The value is inverted on entry and on return, so that a new checksum starts from 0 and `*pCRC` always holds the
 * finished CRC of what has been given so far.
 *
 * @param[in]     pSrc  The bytes.
 * @param[in]     len   Number of bytes, at least 1.
 * @param[in,out] pCRC  The running value.
 * @retval StatusOk           The value was updated.
 * @retval StatusNullPointer  `pSrc` or `pCRC` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsCRC32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pCRC) OZRDC_NOEXCEPT;

/**
 * CRC-32 of bzip2 (polynomial 0x04C11DB7, most significant bit first).
 *
 * Inverted on entry and on return: a new checksum starts from 0, and `*pCRC` always holds the finished value.
 *
 * @param[in]     pSrc  The bytes.
 * @param[in]     len   Number of bytes, at least 1.
 * @param[in,out] pCRC  The running value.
 * @retval StatusOk           The value was updated.
 * @retval StatusNullPointer  `pSrc` or `pCRC` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsCRC32_BZ2_8u(const uint8_t* pSrc, int32_t len, uint32_t* pCRC) OZRDC_NOEXCEPT;

/**
 * CRC-32C (Castagnoli, reflected polynomial 0x82F63B78; RFC 3720), the checksum of iSCSI, ext4 and storage engines.
 *
 * Unlike `ozrsCRC32_8u` this function does **not** invert: `*pCRC` is the raw register. For the standard checksum start
 * from 0xFFFFFFFF and invert the last value.
 *
 * @param[in]     pSrc  The bytes.
 * @param[in]     len   Number of bytes, at least 1; unsigned, so that lengths of 2^31 and above work.
 * @param[in,out] pCRC  The register.
 * @retval StatusOk           The register was updated.
 * @retval StatusNullPointer  `pSrc` or `pCRC` is null.
 * @retval StatusSizeError    `len` is 0.
 */
Status ozrsCRC32C_8u(const uint8_t* pSrc, uint32_t len, uint32_t* pCRC) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup lz4 LZ4 blocks
 *
 * Encoders and decoders of single blocks of the published LZ4 block format. Frames, block headers and checksums are the
 * caller's.
 *
 * A block of n source bytes takes at most n + n / 255 + 16 bytes. Sources above 2139095024 bytes may make a block whose
 * length does not fit the 32 bits of `*pDstLen`: cut them, or use the bounded encoder.
 *  @{ */

/**
 * Decodes one self-contained LZ4 block.
 *
 * Any bytes may be given: nothing is read outside the source or written outside the destination. What lies in the
 * destination behind the bytes written is unspecified, up to its capacity. An offset of 0 is not refused: the bytes of
 * such a match are unspecified. They are what the destination held, which the decoder's own copies of whole units may
 * have overwritten before.
 *
 * @param[in]     pSrc     The block.
 * @param[in]     srcLen   Its length in bytes, at least 1. A single byte decodes to nothing, with
 *                         `StatusSourceExhausted`.
 * @param[out]    pDst     Receives the decoded bytes.
 * @param[in,out] pDstLen  In: capacity of `pDst` in bytes, at least 1. Out: bytes written. Left alone on an error.
 * @retval StatusOk               The block was decoded. A destination that fills exactly at the end of a literal run
 *                                also gives this status, even if source bytes remain, and so does a block that was
 *                                cut right behind a long match, or one byte further. Whether a block is whole shows
 *                                in its length, which the caller has to know, or in `*pSrcLen` of
 *                                `ozrsDecodeLZ4Dict_8u`.
 * @retval StatusDestinationFull  Literals or a match do not fit. What fits was written; if the source ends inside the
 *                                literals, that may be less than the capacity.
 * @retval StatusSourceExhausted  The source ends inside a sequence, or behind a match: a literal run ends in the last 8
 *                                source bytes but not at the end (then nothing behind it is decoded), or the bytes of
 *                                a length or an offset run off the source. (Runs of 25 to 32 literals whose token
 *                                stands at least 34 bytes before the source's end are taken wherever they end; 33
 *                                bytes with a history.)
 * @retval StatusNullPointer      `pSrc`, `pDst` or `pDstLen` is null.
 * @retval StatusSizeError        `srcLen` or `*pDstLen` is below 1, or a match length does not fit 32 bits.
 * @retval StatusError            A match reaches before the start of the output.
 */
Status ozrsDecodeLZ4_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen) OZRDC_NOEXCEPT;

/**
 * Decodes one LZ4 block whose matches may reach into earlier history.
 *
 * Output goes to `pDst + dstIdx`. Nothing is read outside the source and the history, or written outside the output;
 * what lies behind the bytes written is unspecified, up to the capacity. Where the history lies is decided in this
 * order:
 *
 * 1. `pDict` is null or `dictSize` is 0: there is none; the block is self-contained.
 * 2. The dictionary ends exactly where the output begins (`pDict + dictSize == pDst + dstIdx`): the history is the
 *    `dictSize` bytes in front of the output, which must be readable (prefix mode; for blocks decoded one behind
 *    another into one buffer).
 * 3. Otherwise the dictionary is separate. The destination is seen as one address space whose first `dictSize`
 *    positions stand for the dictionary: they are read from `pDict`, never from `pDst`, and a match that runs past
 *    them goes on in `pDst + dictSize`. Callers normally pass `dstIdx == dictSize`. With a smaller `dstIdx` the output
 *    below `dictSize` cannot be reached by matches: the dictionary hides it. With a larger one the bytes between
 *    `pDst + dictSize` and `pDst + dstIdx` are read as earlier output.
 *
 * @param[in]     pSrc      The block.
 * @param[in,out] pSrcLen   In: its length in bytes, at least 1. Out: bytes consumed. Left alone on an error.
 * @param[out]    pDst      Base of the destination.
 * @param[in]     dstIdx    Where the output begins, in bytes from `pDst`; may be negative.
 * @param[in,out] pDstLen   In: capacity from `pDst + dstIdx` on, at least 1. Out: bytes written there. Left alone on an
 *                          error.
 * @param[in]     pDict     The dictionary, or null.
 * @param[in]     dictSize  Its size in bytes.
 * @retval StatusOk               The block was decoded (see `ozrsDecodeLZ4_8u`).
 * @retval StatusDestinationFull  Literals or a match do not fit; what fits was written.
 * @retval StatusSourceExhausted  The source ends inside a sequence (see `ozrsDecodeLZ4_8u`).
 * @retval StatusNullPointer      `pSrc`, `pSrcLen`, `pDst` or `pDstLen` is null.
 * @retval StatusSizeError        `*pSrcLen` or `*pDstLen` is below 1, `dictSize` is below 1 where the dictionary is
 *                                separate, or a match length does not fit 32 bits.
 * @retval StatusError            A match reaches before the history (in separate mode: before `pDst`).
 */
Status ozrsDecodeLZ4Dict_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t dstIdx, int32_t* pDstLen,
                            const uint8_t* pDict, int32_t dictSize) OZRDC_NOEXCEPT;

/**
 * Tells the size of the hash table that the LZ4 hash-table encoders need.
 *
 * @param[out] pHashTableSize  Receives the size in bytes (16384).
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pHashTableSize` is null.
 */
Status ozrsEncodeLZ4HashTableGetSize_8u(int32_t* pHashTableSize) OZRDC_NOEXCEPT;

/**
 * Clears a hash table. The encoders below clear it themselves at every call, so that this call is optional before them.
 *
 * @param[out] pHashTable  The table, 16384 bytes.
 * @param[in]  srcLen      Length of the source to come, in bytes, at least 1. Below 65536 the first 8192 bytes of the
 *                         table are cleared, otherwise all of it.
 * @retval StatusOk           The table is clear.
 * @retval StatusNullPointer  `pHashTable` is null.
 * @retval StatusSizeError    `srcLen` is below 1.
 */
Status ozrsEncodeLZ4HashTableInit_8u(uint8_t* pHashTable, int32_t srcLen) OZRDC_NOEXCEPT;

/**
 * Encodes a buffer as one LZ4 block, without checking the room in the destination.
 *
 * @param[in]  pSrc        The bytes to encode.
 * @param[in]  srcLen      Their number n, at least 1.
 * @param[out] pDst        Receives the block: n + n / 255 + 16 bytes must be writable. Bytes behind the block, up to
 *                         that size, are unspecified.
 * @param[out] pDstLen     Receives the length of the block in bytes.
 * @param[out] pHashTable  Scratch, 16384 bytes at any address; cleared by the call (before its other checks), and worth
 *                         nothing after it.
 * @retval StatusOk           The block was written.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `srcLen` is below 1.
 */
Status ozrsEncodeLZ4_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                        uint8_t* pHashTable) OZRDC_NOEXCEPT;

/**
 * Encodes as much of a buffer as fits into the destination as one LZ4 block.
 *
 * The output is always a valid block for the source bytes consumed. When it was cut (`StatusDestinationFull`), its last
 * match may start fewer than 12 bytes before the end of what it decodes to. Decoders that insist on the format's rule
 * against that refuse the block if they are given exactly `*pSrcLen` bytes of room; the ones of this library take it.
 *
 * @param[in]     pSrc        The bytes to encode.
 * @param[in,out] pSrcLen     In: their number, at least 1. Out: bytes consumed.
 * @param[out]    pDst        Receives the block. Nothing is written past its capacity; bytes behind the block,
 *                            up to there, are unspecified.
 * @param[in,out] pDstLen     In: capacity in bytes, at least 1. Out: length of the block. With a capacity of
 *                            n + n / 255 + 16 for n source bytes nothing is cut, and nothing is checked on the way.
 * @param[out]    pHashTable  Scratch, 16384 bytes at any address; cleared by the call (after the null test of
 *                            `pSrcLen`, before its other checks).
 * @retval StatusOk               All of the source was consumed.
 * @retval StatusDestinationFull  Part of the source was consumed, `*pSrcLen` tells how much (it may be 0).
 * @retval StatusNullPointer      A pointer is null; `pSrcLen` is tested first.
 * @retval StatusSizeError        `*pSrcLen` or `*pDstLen` is below 1.
 */
Status ozrsEncodeLZ4Safe_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                            uint8_t* pHashTable) OZRDC_NOEXCEPT;

/**
 * Encodes a buffer as one LZ4 block, trading ratio for speed.
 *
 * @param[in]  pSrc          The bytes to encode.
 * @param[in]  srcLen        Their number n, at least 1.
 * @param[out] pDst          Receives the block: n + n / 255 + 16 bytes must be writable. Bytes behind the block, up to
 *                           that size, are unspecified.
 * @param[out] pDstLen       Receives the length of the block in bytes.
 * @param[out] pHashTable    Scratch, 16384 bytes at any address; cleared by the call, after its checks.
 * @param[in]  acceleration  1 is exactly `ozrsEncodeLZ4_8u` (with that function's checks); larger is faster and
 *                           compresses less.
 * @retval StatusOk           The block was written.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `srcLen` is below 1.
 * @retval StatusBadFactor    `acceleration` is below 1.
 */
Status ozrsEncodeLZ4Fast_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen, uint8_t* pHashTable,
                            int32_t acceleration) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup lz4_history LZ4 blocks with history
 *  @ingroup lz4
 *
 * Encoders whose matches may reach into bytes that precede the source. `ozrsDecodeLZ4Dict_8u` reads their blocks, given
 * the same history.
 *
 * **Positions.** The tables hold positions: bytes counted in one address space in which `srcIdx` is the first byte of
 * the source and everything below is history. Where the history lies is decided in this order:
 *
 * 1. `pDict` is null or `dictSize` is 0: right in front of the source (prefix mode).
 * 2. `dictSize` is negative: the call fails.
 * 3. `srcIdx == dictSize` and `pDict + dictSize == pSrc`: prefix mode too.
 * 4. Otherwise in a buffer of its own (separate mode): position q is the byte `pDict[dictSize - (srcIdx - q)]`, so that
 *    the dictionary ends where the source begins. Callers normally pass `srcIdx == dictSize`. A match never runs from
 *    the dictionary on into the source, nor does one begin in the last 7 bytes of the dictionary.
 *
 * In prefix mode the `srcIdx` bytes in front of the source must be readable; if there are more, the last 65535 of them
 * are enough. Positions are 32 bits wide: keep `srcIdx` plus the length of the source below 2^31, and begin anew with
 * cleared tables before that.
 *
 * **A stream** of blocks in one buffer that depend on each other: clear the table, then pass each block with `srcIdx`
 * as its offset in the buffer and no dictionary. **A dictionary** for many short records: clear the table, load the
 * dictionary, and keep the result; for each record copy it to the working table, and encode with `srcIdx == dictSize`.
 *
 * Tables may stand at any address. They must have been cleared or have been left by calls of the same family; what they
 * hold of other data costs ratio at most.
 *  @{ */

/**
 * Clears a hash table for the encoders with a dictionary.
 *
 * @param[out] pHashTable  The table, 16384 bytes (`ozrsEncodeLZ4HashTableGetSize_8u`): 4096 positions of 32 bits.
 * @param[in]  srcLen      At least 1; otherwise without meaning.
 * @retval StatusOk           The table is clear.
 * @retval StatusNullPointer  `pHashTable` is null.
 * @retval StatusSizeError    `srcLen` is below 1.
 */
Status ozrsEncodeLZ4DictHashTableInit_8u(uint8_t* pHashTable, int32_t srcLen) OZRDC_NOEXCEPT;

/**
 * Enters a dictionary into a hash table: every third position, from 0 on, that 8 further bytes follow.
 *
 * Slots that no position falls into keep what they held; for a table of this dictionary alone, clear it first. Only the
 * last 65535 bytes of a dictionary can be reached, fewer as the source goes on: a longer one costs time and gains
 * nothing.
 *
 * @param[in,out] pHashTable  The table, 16384 bytes.
 * @param[in]     pDict       The dictionary.
 * @param[in]     dictSize    Its size in bytes, at least 1. Below 9 nothing is entered.
 * @retval StatusOk           The dictionary was entered.
 * @retval StatusNullPointer  `pHashTable` or `pDict` is null.
 * @retval StatusSizeError    `dictSize` is below 1.
 */
Status ozrsEncodeLZ4LoadDict_8u(uint8_t* pHashTable, const uint8_t* pDict, int32_t dictSize) OZRDC_NOEXCEPT;

/**
 * Encodes a buffer as one LZ4 block whose matches may reach into history, without checking the room in the destination.
 *
 * @param[in]     pSrc        The bytes to encode.
 * @param[in]     srcIdx      Position of the first of them, at least 0.
 * @param[in]     srcLen      Their number n, at least 1.
 * @param[out]    pDst        Receives the block: n + n / 255 + 16 bytes must be writable. Bytes behind the block, up to
 *                            that size, are unspecified.
 * @param[out]    pDstLen     Receives the length of the block in bytes.
 * @param[in,out] pHashTable  The table, 16384 bytes, with positions of the history; positions of the source are
 *                            entered. Before anything else is checked, positions above `srcIdx` - 1 are lowered to
 *                            that, or the table is cleared if `srcIdx` is 0 or negative.
 * @param[in]     pDict       The dictionary, or null (see above).
 * @param[in]     dictSize    Its size in bytes.
 * @retval StatusOk           The block was written.
 * @retval StatusNullPointer  `pHashTable`, `pSrc`, `pDst` or `pDstLen` is null.
 * @retval StatusSizeError    `dictSize` is negative (and `pDict` not null), or `srcLen` is below 1.
 * @retval StatusBadArgument  `srcIdx` is negative.
 */
Status ozrsEncodeLZ4Dict_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                            uint8_t* pHashTable, const uint8_t* pDict, int32_t dictSize) OZRDC_NOEXCEPT;

/**
 * Encodes as much of a buffer as fits into the destination as one LZ4 block whose matches may reach into history.
 *
 * What `ozrsEncodeLZ4Safe_8u` says of blocks that were cut holds here too.
 *
 * @param[in]     pSrc        The bytes to encode.
 * @param[in]     srcIdx      Position of the first of them, at least 0.
 * @param[in,out] pSrcLen     In: their number, at least 1. Out: bytes consumed.
 * @param[out]    pDst        Receives the block. Nothing is written past its capacity; bytes behind the block, up to
 *                            there, are unspecified.
 * @param[in,out] pDstLen     In: capacity in bytes, at least 1. Out: length of the block.
 * @param[in,out] pHashTable  The table, as in `ozrsEncodeLZ4Dict_8u`, but positions are lowered to `srcIdx`, not to one
 *                            less.
 * @param[in]     pDict       The dictionary, or null (see above).
 * @param[in]     dictSize    Its size in bytes.
 * @retval StatusOk               All of the source was consumed.
 * @retval StatusDestinationFull  Part of the source was consumed, `*pSrcLen` tells how much (it may be 0).
 * @retval StatusNullPointer      `pHashTable`, `pSrc`, `pSrcLen`, `pDst` or `pDstLen` is null.
 * @retval StatusSizeError        `dictSize` is negative (and `pDict` not null), or `*pSrcLen` or `*pDstLen` is below 1.
 * @retval StatusBadArgument      `srcIdx` is negative.
 */
Status ozrsEncodeLZ4DictSafe_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                uint8_t* pHashTable, const uint8_t* pDict, int32_t dictSize) OZRDC_NOEXCEPT;

/**
 * Tells the sizes of the two tables of the high-compression encoder.
 *
 * @param[out] pHashSize   Receives the size of the head table in bytes (131072).
 * @param[out] pChainSize  Receives the size of the chain table in bytes (262144).
 * @retval StatusOk           The sizes were written.
 * @retval StatusNullPointer  A pointer is null.
 */
Status ozrsEncodeLZ4HCHashTableGetSize_8u(uint32_t* pHashSize, uint32_t* pChainSize) OZRDC_NOEXCEPT;

/**
 * Clears the tables of the high-compression encoder.
 *
 * @param[in] ppTables  Pointers to the head table and the chain table, in this order.
 * @retval StatusOk           Both tables are clear.
 * @retval StatusNullPointer  `ppTables` or a table is null. A head table is cleared even if the chain table is null.
 */
Status ozrsEncodeLZ4HCHashTableInit_8u(uint8_t** ppTables) OZRDC_NOEXCEPT;

/**
 * Encodes a buffer as one LZ4 block at high compression; matches may reach into history.
 *
 * The history is what earlier calls with the same tables have encoded (with lower positions). The call enters only
 * positions of its source: a dictionary has to be encoded itself, at positions from 0 on and into a destination that is
 * thrown away, before the first source behind it. Matches lie at most 65534 bytes back.
 *
 * When a sequence does not fit, the block ends behind the last one that does, after a match, or is empty. The format
 * wants literals at the end, and the decoder, unless that match is very long, stops in front of it with
 * `StatusSourceExhausted`. Append the rest of the source as a run of literals, or its first 8 bytes at least; or throw
 * the block away.
 *
 * @param[in]     pSrc      The bytes to encode.
 * @param[in]     srcIdx    Position of the first of them, at least 0.
 * @param[in,out] pSrcLen   In: their number, at least 1. Out: bytes consumed.
 * @param[out]    pDst      Receives the block. Nothing is written past its capacity; bytes behind the block, up to
 *                          there, are unspecified.
 * @param[in,out] pDstLen   In: capacity in bytes, at least 1. Out: length of the block.
 * @param[in,out] ppTables  Pointers to the head table and the chain table, in this order.
 * @param[in]     pDict     The dictionary, or null (see above).
 * @param[in]     dictSize  Its size in bytes.
 * @param[in]     level     1 (fastest) to 9 (smallest): 2^(level - 1) earlier positions are tried. 0 means 9, below 0
 *                          means 1, above 9 means 9.
 * @retval StatusOk               All of the source was consumed.
 * @retval StatusOutputTruncated  A sequence did not fit. The block ends in front of it, after a match, or is empty.
 * @retval StatusDestinationFull  Only the literals behind the last match did not fit. The block ends after that match,
 *                                or is empty.
 * @retval StatusNullPointer      A pointer other than `pDict`, or one of the tables, is null.
 * @retval StatusSizeError        `dictSize` is negative (and `pDict` not null; this is tested before the pointers), or
 *                                `*pSrcLen` or `*pDstLen` is below 1.
 * @retval StatusBadArgument      `srcIdx` is negative.
 */
Status ozrsEncodeLZ4HC_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                          uint8_t** ppTables, const uint8_t* pDict, int32_t dictSize, int32_t level) OZRDC_NOEXCEPT;

/**
 * The same, and of a separate dictionary only the last 65535 bytes are used, which is as far as an offset reaches: the
 * bytes before them need not even be readable.
 *
 * @copydetails ozrsEncodeLZ4HC_8u
 */
Status ozrsEncodeLZ4HCDictLimit_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst,
                                   int32_t* pDstLen, uint8_t** ppTables, const uint8_t* pDict, int32_t dictSize,
                                   int32_t level) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup deflate Deflate
 *
 * The stages of an encoder of Deflate streams (RFC 1951), which the caller puts together: a match search, and the
 * output of its records as Huffman codes. Or both at once, faster and less small.
 */
/** @defgroup deflate_search Deflate: match search
 *  @ingroup deflate
 *
 * The first stage of a Deflate encoder: LZ77 over the caller's source, with a window and hash tables that the caller
 * keeps. The result is a list of records, and the frequencies of the symbols that they will become. A Huffman stage,
 * `ozrsDeflateHuff_8u`, makes the bits of a block from them.
 *
 * **Records.** Record i is `pLitDst[i]` and `pDistDst[i]`: a literal byte with distance 0, or a match length less 3
 * with its distance, which is at least 1 and less than `winSize`.
 *
 * **Indexes.** Every byte of the stream has an index: `*pSrcIdx` is that of the byte at `*ppSrc`, 0 for the first of
 * the stream. When it comes near 2^31, the call that finds it so lowers it to `winSize`, and the entries of both tables
 * with it (not below -32768), before it parses. That needs room for the source itself: it should be no longer than
 * 2^30 - 32768 bytes.
 *
 * **Window.** The bytes in front of `*ppSrc`, oldest first: n = min(`*pSrcIdx`, `winSize`) of them, of which the last,
 * `pWindow[n - 1]`, is the one before `*ppSrc`. In other words, the byte of index i is at
 * `pWindow[i - max(0, *pSrcIdx - winSize)]`. A caller whose source lies in one piece lets `pWindow` point to its last n
 * bytes, `*ppSrc - n`; that is also the fastest way. A caller whose source comes in pieces moves it on between calls:
 *
 * @code
 * enum { WIN = 32768, HASH = 65536 };
 * static uint8_t window[WIN];
 * static int32_t head[HASH], prev[WIN];
 * int32_t index = 0;
 * for (int i = 0; i < HASH; ++i) head[i] = -32768; // no index; prev needs no preparation
 *
 * // For each piece: `piece` is what the last call left, with new bytes behind it.
 * int32_t held = index < WIN ? index : WIN, left = length, records = CAPACITY;
 * const uint8_t* p = piece;
 * ozrsDeflateLZ77_8u(&p, &left, &index, window, WIN, head, prev, HASH, litFreq, distFreq, lit, dist, &records, level,
 *                    isLast ? 2 : 0);
 * // CAPACITY - records of them stand for the bytes from piece to p. The window moves on by as many bytes.
 * int32_t parsed = (int32_t)(p - piece);
 * if (parsed >= WIN) {
 *     memcpy(window, p - WIN, WIN);
 * } else {
 *     int32_t leaving = held + parsed > WIN ? held + parsed - WIN : 0;
 *     memmove(window, window + leaving, held - leaving);
 *     memcpy(window + held - leaving, piece, parsed);
 * }
 * @endcode
 *
 * **Hash tables.** `pHashHead` (`hashSize` entries) holds the latest index of each hash value, `pHashPrev` (`winSize`
 * entries) for each position of the window the index before it with the same hash. They start out filled with -32768,
 * which stands for no index; with a window of 2^n bytes `pHashPrev` needs no preparation. Nothing in them is trusted:
 * with other values in them (of another stream, or arbitrary) the records differ, but are right, and nothing is read
 * outside source and window. Both sizes should be powers of 2, because indexes and hashes are masked with the size less
 * 1; others work, and find less.
 *
 * **End of the source.** With `flush` below 2 more of the stream is to come: the last bytes of the source, up to 261,
 * are left to the next call, so that every match can be as long as the format allows. (The levels that end in 0 leave
 * 260. For the others, a call with exactly 261 bytes parses the first of them, with at most 257 bytes to its match.)
 * With 2 and above everything is parsed. All calls stop when the record buffers are full; records always cover exactly
 * the bytes that were parsed. Where a call stops can show in the records: a match at the stop is not held against one
 * at the next position (levels ending in 5 to 9), and the hash of three bytes begins anew (levels ending in 0). A
 * source or a room for records of 0 or less is no error: nothing is done.
 *
 * **Levels.** 0 to 29, in three series of ten. In each series 0 looks at one earlier position with a like hash of three
 * bytes; 1 to 4 take the longest match that a search along the chain finds; 5 to 9 take it only if the next position
 * has no longer one. Within a series, effort grows with the level. From one series to the next the parameters differ:
 * with levels 11 to 14 and 21 to 24 long matches enter all their positions in the tables, with 1 to 4 only their start.
 *
 * **Speed.** The records do not depend on how the bytes lie in memory or how calls are cut, but for what is said above;
 * the speed does. Best are a window directly in front of the source, and, for the levels ending in 5 to 9, calls that
 * have at least twice as many bytes as the window, and room for half as many records as the window has bytes.
 *  @{ */

/**
 * Searches matches with the parameters of a level.
 *
 * @param[in,out] ppSrc           The source; advanced by the bytes parsed.
 * @param[in,out] pSrcLen         Its length in bytes; decreased by the bytes parsed.
 * @param[in,out] pSrcIdx         Index of its first byte; advanced by the bytes parsed, and possibly lowered before.
 * @param[in]     pWindow         The bytes in front of the source. Never null, but not read at index 0.
 * @param[in]     winSize         Size of the window, 256 to 32768.
 * @param[in,out] pHashHead       Latest index of each hash value: `hashSize` entries.
 * @param[in,out] pHashPrev       Index before each index: `winSize` entries. Required at every level, and used by all
 *                                but those ending in 0.
 * @param[in]     hashSize        Number of hash values, 256 to 65536.
 * @param[in,out] pLitFreqTable   286 counters: literals (0 to 255) and length codes (257 to 285) of the records are
 *                                counted.
 * @param[in,out] pDistFreqTable  30 counters: distance codes of the records are counted.
 * @param[out]    pLitDst         Of each record the literal, or the match length less 3.
 * @param[out]    pDistDst        Of each record 0, or the distance of the match.
 * @param[in,out] pDstLen         In: records that fit in `pLitDst` and `pDistDst`. Out: decreased by those written.
 * @param[in]     compLevel       Level, 0 to 29. It is checked before all else.
 * @param[in]     flush           2 and above: the source is the end of the stream.
 * @retval StatusOk           The pointers and lengths tell what was done.
 * @retval StatusSizeError    `compLevel`, `winSize` or `hashSize` is out of range.
 * @retval StatusNullPointer  A pointer, or `*ppSrc`, is null.
 */
Status ozrsDeflateLZ77_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                          int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                          uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                          int32_t* pDstLen, int32_t compLevel, int32_t flush) OZRDC_NOEXCEPT;

/**
 * Searches matches as levels 0 to 4 of each series do, with parameters of the caller's.
 *
 * At every position the longest match on the chain is taken, the nearest of equally long ones; without one, a literal.
 * (With `maxChain` 0, the match with the one position in question, if it is at least 3 bytes long.)
 *
 * @param[in,out] ppSrc           The source; advanced by the bytes parsed.
 * @param[in,out] pSrcLen         Its length in bytes; decreased by the bytes parsed.
 * @param[in,out] pSrcIdx         Index of its first byte; advanced by the bytes parsed, and possibly lowered before.
 * @param[in]     pWindow         The bytes in front of the source. Never null, but not read at index 0.
 * @param[in]     winSize         Size of the window, 256 to 32768.
 * @param[in,out] pHashHead       Latest index of each hash value: `hashSize` entries.
 * @param[in,out] pHashPrev       Index before each index: `winSize` entries. Required, but not used with `maxChain` 0.
 * @param[in]     hashSize        Number of hash values, 256 to 65536.
 * @param[in,out] pLitFreqTable   286 counters of literals and length codes.
 * @param[in,out] pDistFreqTable  30 counters of distance codes.
 * @param[out]    pLitDst         Of each record the literal, or the match length less 3.
 * @param[out]    pDistDst        Of each record 0, or the distance of the match.
 * @param[in,out] pDstLen         In: records that fit in `pLitDst` and `pDistDst`. Out: decreased by those written.
 * @param[in]     pParams         Four values:
 *                                - 0, `maxChain`: earlier positions to look at; 0 selects the single probe, and the
 *                                  other values do not matter then;
 *                                - 1, `goodLength`: with a match this long, a quarter of the positions not looked at
 *                                  yet is left, rounded down, once a search;
 *                                - 2, `niceLength`: a match this long ends the search;
 *                                - 3, `maxLazy`: a longer match enters only its start in the tables, not the other
 *                                  positions.
 * @param[in]     flush           2 and above: the source is the end of the stream.
 * @retval StatusOk           The pointers and lengths tell what was done.
 * @retval StatusNullPointer  A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError    `winSize` or `hashSize` is out of range.
 * @retval StatusBadArgument  `maxChain` is negative, or it is not 0 and one of the other parameters is below 4.
 */
Status ozrsDeflateLZ77Fast_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                              int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                              uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                              int32_t* pDstLen, const int32_t* pParams, int32_t flush) OZRDC_NOEXCEPT;

/**
 * Searches matches as levels 5 to 9 of each series do, with parameters of the caller's.
 *
 * The longest match at a position, of 4 bytes at least, is held back until the next position has been searched: if that
 * one's is longer, the first position becomes a literal.
 *
 * @param[in,out] ppSrc           The source; advanced by the bytes parsed.
 * @param[in,out] pSrcLen         Its length in bytes; decreased by the bytes parsed.
 * @param[in,out] pSrcIdx         Index of its first byte; advanced by the bytes parsed, and possibly lowered before.
 * @param[in]     pWindow         The bytes in front of the source. Never null, but not read at index 0.
 * @param[in]     winSize         Size of the window, 256 to 32768.
 * @param[in,out] pHashHead       Latest index of each hash value: `hashSize` entries.
 * @param[in,out] pHashPrev       Index before each index: `winSize` entries.
 * @param[in]     hashSize        Number of hash values, 256 to 65536.
 * @param[in,out] pLitFreqTable   286 counters of literals and length codes.
 * @param[in,out] pDistFreqTable  30 counters of distance codes.
 * @param[out]    pLitDst         Of each record the literal, or the match length less 3.
 * @param[out]    pDistDst        Of each record 0, or the distance of the match.
 * @param[in,out] pDstLen         In: records that fit in `pLitDst` and `pDistDst`. Out: decreased by those written.
 * @param[in]     pParams         Four values:
 *                                - 0, `maxChain`: earlier positions to look at;
 *                                - 1, `goodLength`: with a match this long held back, only a quarter of them, rounded
 *                                  down;
 *                                - 2, `niceLength`: a match this long ends the search;
 *                                - 3, `maxLazy`: with a match this long held back, the next position is not searched.
 * @param[in]     flush           2 and above: the source is the end of the stream.
 * @retval StatusOk           The pointers and lengths tell what was done.
 * @retval StatusNullPointer  A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError    `winSize` or `hashSize` is out of range.
 * @retval StatusBadArgument  `maxChain` is below 1, or one of the other parameters below 4.
 */
Status ozrsDeflateLZ77Slow_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                              int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                              uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                              int32_t* pDstLen, const int32_t* pParams, int32_t flush) OZRDC_NOEXCEPT;

/**
 * Enters positions in the hash tables without making records of them: data that the caller passes over, or a dictionary
 * of its own making, that later matches may reach.
 *
 * All positions are entered that have the bytes for their hash in `pSrc`, that is, all but the last 3 (2 with
 * `hashMode` 0).
 *
 * @param[in]     pSrc       The bytes.
 * @param[in]     srcIdx     Index of the first. Indexes are not lowered here: `srcIdx + srcLen` must be below 2^31.
 * @param[in]     srcLen     Number of bytes. Below 4 (3 with `hashMode` 0), negative too, nothing is done.
 * @param[in,out] pHashHead  Latest index of each hash value: `hashSize` entries.
 * @param[in]     hashSize   Number of hash values, 256 to 65536.
 * @param[in,out] pHashPrev  Index before each index: `winSize` entries; not used with `hashMode` 0.
 * @param[in]     winSize    Size of the window, 256 to 32768.
 * @param[in]     hashMode   0 for levels ending in 0 (the hash of three bytes; `maxChain` 0), anything else for the
 *                           other ones, and for the single-pass encoders (the hash of four).
 * @retval StatusOk           The positions were entered, if there are any.
 * @retval StatusNullPointer  `pSrc`, `pHashHead` or `pHashPrev` is null.
 * @retval StatusSizeError    `winSize` or `hashSize` is out of range.
 */
Status ozrsDeflateUpdateHash_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t srcLen, int32_t* pHashHead,
                                int32_t hashSize, int32_t* pHashPrev, int32_t winSize, int32_t hashMode) OZRDC_NOEXCEPT;

/**
 * Loads a preset dictionary: copies its last n = min(`dictLen`, `winSize`) bytes to the window, and enters all but the
 * last 257 of these positions in the hash tables, with indexes from 0 on. The stream then starts at index
 * n (at 0 if nothing is done).
 *
 * @param[in]     pDict      The dictionary.
 * @param[in]     dictLen    Its length in bytes. Below 4 (3 with `hashMode` 0), negative too, nothing is done.
 * @param[in,out] pHashHead  Latest index of each hash value: `hashSize` entries, filled with -32768 before.
 * @param[in]     hashSize   Number of hash values, 256 to 65536.
 * @param[in,out] pHashPrev  Index before each index: `winSize` entries; not used with `hashMode` 0.
 * @param[out]    pWindow    The window, `winSize` bytes.
 * @param[in]     winSize    Size of the window, 256 to 32768.
 * @param[in]     hashMode   0 for levels ending in 0, anything else for the other ones and the single-pass encoders.
 * @retval StatusOk           The dictionary was loaded, if it is long enough.
 * @retval StatusNullPointer  `pDict`, `pHashHead`, `pHashPrev` or `pWindow` is null.
 * @retval StatusSizeError    `winSize` or `hashSize` is out of range.
 */
Status ozrsDeflateDictionarySet_8u(const uint8_t* pDict, int32_t dictLen, int32_t* pHashHead, int32_t hashSize,
                                   int32_t* pHashPrev, uint8_t* pWindow, int32_t winSize,
                                   int32_t hashMode) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup deflate_huffman Deflate: Huffman output
 *  @ingroup deflate
 *
 * Turns the records of the match search into the symbols of a Deflate block (RFC 1951). The caller writes the block's
 * header before them and the end-of-block symbol behind them.
 *
 * A stream that is being written is three things that the caller keeps: the destination with an index into it, and up
 * to 16 bits that do not fill a byte yet, in a 16-bit word with their number, the first of them least significant. The
 * caller adds its own bits (block headers) to that word; after a call 0 to 7 bits are in it.
 *  @{ */

/** The code of a symbol. */
typedef struct DeflateHuffCode {
    uint16_t code; /**< The code with its bits reversed, so that it goes into the stream least significant bit first. */
    uint16_t len;  /**< Its length in bits, at most 15; 0 for a symbol without a code. */
} DeflateHuffCode;

/**
 * Writes records as Huffman-coded symbols.
 *
 * The room in the destination is not checked. It must take the worst case: `*pCodeLenBits` bits, 15 bits for every
 * literal and 48 for every match, as whole bytes rounded down. Nothing is written behind that; bytes behind the last
 * one that counts, up to there, are unspecified.
 *
 * @param[in]     pLitSrc         Of each record the literal, or the length of the match less 3.
 * @param[in]     pDistSrc        Of each record 0 for a literal, or the distance of the match, at most 32768.
 * @param[in]     srcLen          Number of records. With 0 or less only the whole bytes of `*pCode` are written.
 * @param[in,out] pCode           Bits that precede the records; on return those that do not fill a byte, the others 0.
 * @param[in,out] pCodeLenBits    Their number, 0 to 16; on return 0 to 7. Bits of `*pCode` above it are ignored.
 * @param[in]     pLitHuffCodes   Codes of the 286 literals and lengths. They are not checked: each must have a code for
 *                                every symbol that the records use.
 * @param[in]     pDistHuffCodes  Codes of the 30 distances.
 * @param[out]    pDst            The destination.
 * @param[in,out] pDstIdx         Where in it to write, in bytes; advanced by the bytes written.
 * @retval StatusOk           All records were written.
 * @retval StatusNullPointer  A pointer is null.
 */
Status ozrsDeflateHuff_8u(const uint8_t* pLitSrc, const uint16_t* pDistSrc, int32_t srcLen, uint16_t* pCode,
                          int32_t* pCodeLenBits, const DeflateHuffCode* pLitHuffCodes,
                          const DeflateHuffCode* pDistHuffCodes, uint8_t* pDst, int32_t* pDstIdx) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup deflate_single_pass Deflate: single pass
 *  @ingroup deflate
 *
 * The fastest way to a Deflate stream: from the bytes straight to the bits of one block, with one probe of a hash table
 * a position and no records between. The code is either the fixed one, or a dynamic one that was prepared from sample
 * data with three calls:
 *
 * 1. ozrsDeflateLZ77FastestGetStat_8u counts the symbols of a sample,
 * 2. ozrsDeflateLZ77FastestGenHuffTable_8u makes codes of the counts,
 * 3. ozrsDeflateLZ77FastestGenHeader_8u makes the block header of the codes.
 *
 * The codes cover every symbol, so that they fit all data. Both encoders can be called again and again:
 *
 * @code
 * // Before the first call: the hash table filled with -32768, index 0, and the three bits that open a block:
 * // BFINAL, and BTYPE 1 (fixed code) or 2 (prepared code) above it.
 * uint16_t bits = 1 | 1 << 1;
 * int32_t bitCount = 3, srcIdx = 0;
 * for (;;) {
 *     const Status s = ozrsDeflateLZ77Fastest_8u(&src, &srcLen, &srcIdx, window, winSize, head, hashSize,
 *                                                &bits, &bitCount, dst, dstLen, &dstIdx, last ? 2 : 0);
 *     if (s == StatusDestinationFull) {
 *         emptyDestination();  // or enlarge it, and call again
 *     } else if (s == StatusOk && !last) {
 *         getMoreSource();     // behind what is left of the old; the window stays
 *     } else {
 *         break;               // StatusOk: the block is complete; its last 0 to 7 bits are in `bits`
 *     }
 * }
 * @endcode
 *
 * Source, index and window are those of the match search: the window holds the bytes before `*ppSrc`, oldest first,
 * min(`*pSrcIdx`, `winSize`) of them, and calls are fastest if they lie directly in front of `*ppSrc`, where `pWindow`
 * then points to them. The hash table is `hashSize` indexes; entries may have any value, and those that do not lead to
 * a match do no harm. 8192 entries are a good size for speed; more find more matches.
 *
 * How source or destination are cut into calls makes no difference to the stream.
 *  @{ */

/** Bytes that a block header of ozrsDeflateLZ77FastestGenHeader_8u takes at most. */
enum { OZRDC_DEFLATE_HEADER_SIZE = 286 };

/**
 * Parses data as the single-pass encoders do, and counts the symbols instead of writing them.
 *
 * The last 260 bytes of the source are left to the next call unless `flush` says that there is none. The end-of-block
 * symbol is not counted.
 *
 * @param[in,out] ppSrc           The source; advanced by the bytes parsed.
 * @param[in,out] pSrcLen         Its length in bytes; decreased by the bytes parsed. Nothing happens at 0 and below.
 * @param[in,out] pSrcIdx         Index of the first byte; advanced by the bytes parsed. Near 2^31 it starts again from
 *                                `winSize`, and the entries of the hash table are lowered with it.
 * @param[in]     pWindow         The bytes before the source. Must not be null, but is not read at index 0.
 * @param[in]     winSize         Size of the window, 256 to 32768. Distances are less.
 * @param[in,out] pHashHead       The hash table.
 * @param[in]     hashSize        Its number of entries, 256 to 65536, normally a power of 2.
 * @param[in,out] pLitFreqTable   286 counters of literals and lengths.
 * @param[in,out] pDistFreqTable  30 counters of distances.
 * @param[in]     flush           2 and above: parse to the end.
 * @retval StatusOk           The counters were increased.
 * @retval StatusNullPointer  A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError    `winSize` or `hashSize` is out of range.
 */
Status ozrsDeflateLZ77FastestGetStat_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx,
                                        const uint8_t* pWindow, int32_t winSize, int32_t* pHashHead, int32_t hashSize,
                                        uint32_t* pLitFreqTable, uint32_t* pDistFreqTable,
                                        int32_t flush) OZRDC_NOEXCEPT;

/**
 * Makes Huffman codes of frequencies: for the 286 literals and lengths of at most 15 bits, for the 30 distances of at
 * most 9.
 *
 * Every symbol gets a code, also one of frequency 0, which counts as 1. A code that comes out too long is made again
 * with all frequencies raised by 1, then by 2, and so on up to 4095.
 *
 * @param[in]  pLitFreqTable   286 frequencies.
 * @param[in]  pDistFreqTable  30 frequencies.
 * @param[out] pLitHuffCodes   Receives 286 codes.
 * @param[out] pDistHuffCodes  Receives 30 codes.
 * @retval StatusOk               The codes are ready.
 * @retval StatusCodeLengthLimit  A code is still too long. The tables were written, but must not be used. Samples of up
 *                                to 2^18 symbols never come to this.
 * @retval StatusNullPointer      A pointer is null.
 */
Status ozrsDeflateLZ77FastestGenHuffTable_8u(const uint32_t* pLitFreqTable, const uint32_t* pDistFreqTable,
                                             DeflateHuffCode* pLitHuffCodes,
                                             DeflateHuffCode* pDistHuffCodes) OZRDC_NOEXCEPT;

/**
 * Makes the header of a dynamic block from the lengths of its codes.
 *
 * The first three bits are those that open the block: BFINAL, which is 0, and BTYPE, which is 2. The encoder leaves
 * them out, since the caller has them among the bits it gives; without it, they can be written as they are, and BFINAL
 * be set in bit 0 of the first byte.
 *
 * @param[in]  pLitHuffCodes   286 codes of literals and lengths; only their lengths are read.
 * @param[in]  pDistHuffCodes  30 codes of distances; only their lengths are read.
 * @param[out] pHeader         Receives the header; `OZRDC_DEFLATE_HEADER_SIZE` bytes. Bits behind it in the last byte
 *                             are 0. Bytes behind the last one are left alone.
 * @param[out] pHeaderLen      Receives its length in bytes.
 * @param[out] pHeaderLenBits  Receives its length in bits, with the first three.
 * @retval StatusOk            The header was written.
 * @retval StatusNullPointer   A pointer is null.
 * @retval StatusBadCodeTable  A code is longer than 15 bits; nothing was written.
 */
Status ozrsDeflateLZ77FastestGenHeader_8u(const DeflateHuffCode* pLitHuffCodes, const DeflateHuffCode* pDistHuffCodes,
                                          uint8_t* pHeader, int32_t* pHeaderLen,
                                          int32_t* pHeaderLenBits) OZRDC_NOEXCEPT;

/**
 * Encodes data in one pass with a prepared code, or the fixed one.
 *
 * The call that encodes the first bytes of a stream (`*pSrcIdx` 0) writes the header before them (a stream that starts
 * behind a dictionary, at an index above 0, gets none: the caller writes it); until there is
 * something to write behind it, nothing is written. The last 260 bytes of the source are left to the next call, unless
 * `flush` says that there is none; then the end-of-block symbol follows the last byte.
 *
 * Nothing is written at or behind `pDst + dstLen`; bytes from `pDst + *pDstIdx` on, up to there, are unspecified. When
 * the destination is full the call stops behind a whole symbol, and the next one with more room goes on there. After
 * the last bytes of a stream the next call may have no source and only write the end of the block.
 *
 * @param[in,out] ppSrc           The source; advanced by the bytes encoded.
 * @param[in,out] pSrcLen         Its length in bytes; decreased by the bytes encoded. Below 0 it counts as 0.
 * @param[in,out] pSrcIdx         Index of the first byte; advanced by the bytes encoded (see the statistics above).
 * @param[in]     pWindow         The bytes before the source. Must not be null, but is not read at index 0.
 * @param[in]     winSize         Size of the window, 256 to 32768. Distances are less.
 * @param[in,out] pHashHead       The hash table.
 * @param[in]     hashSize        Its number of entries, 256 to 65536, normally a power of 2.
 * @param[in,out] pCode           Bits that precede the output; on return those that do not fill a byte, the others 0.
 * @param[in,out] pCodeLenBits    Their number, 0 to 16. On return 0 to 7, or more if `pDst` has no room for the whole
 *                                bytes that were given. Bits of `*pCode` above it are ignored.
 * @param[out]    pDst            The destination.
 * @param[in]     dstLen          Its size in bytes.
 * @param[in,out] pDstIdx         Where in it to write; advanced by the bytes written.
 * @param[in]     pLitHuffCodes   286 codes of literals and lengths, each of 1 to 15 bits, or null for the fixed code.
 * @param[in]     pDistHuffCodes  30 codes of distances; null if `pLitHuffCodes` is.
 * @param[in]     pHeader         The block header. Required at index 0, ignored elsewhere; null with the fixed code.
 * @param[in]     headerLenBits   Its length in bits, with the first three, which are not written.
 * @param[in]     flush           2 and above: encode to the end, and end the block.
 * @retval StatusOk               All was encoded that can be; at a final flush the block is complete.
 * @retval StatusDestinationFull  The next symbol does not fit.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null, only one code is given, a header is given with the
 *                                fixed code, or it is missing at index 0 with a prepared one.
 * @retval StatusSizeError        `winSize` or `hashSize` is out of range, `*pDstIdx` is negative or not below `dstLen`,
 *                                a header is given with less than 1 bit, or the bits of `*pCode` and the header do not
 *                                fit.
 */
Status ozrsDeflateLZ77FastestPrecompHeader_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx,
                                              const uint8_t* pWindow, int32_t winSize, int32_t* pHashHead,
                                              int32_t hashSize, uint16_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst,
                                              int32_t dstLen, int32_t* pDstIdx, const DeflateHuffCode* pLitHuffCodes,
                                              const DeflateHuffCode* pDistHuffCodes, const uint8_t* pHeader,
                                              int32_t headerLenBits, int32_t flush) OZRDC_NOEXCEPT;

/**
 * Encodes data in one pass with the fixed code: ozrsDeflateLZ77FastestPrecompHeader_8u without codes and header.
 *
 * @param[in,out] ppSrc         The source; advanced by the bytes encoded.
 * @param[in,out] pSrcLen       Its length in bytes; decreased by the bytes encoded.
 * @param[in,out] pSrcIdx       Index of the first byte; advanced by the bytes encoded.
 * @param[in]     pWindow       The bytes before the source. Must not be null, but is not read at index 0.
 * @param[in]     winSize       Size of the window, 256 to 32768. Distances are less.
 * @param[in,out] pHashHead     The hash table.
 * @param[in]     hashSize      Its number of entries, 256 to 65536, normally a power of 2.
 * @param[in,out] pCode         Bits that precede the output; on return those that do not fill a byte.
 * @param[in,out] pCodeLenBits  Their number, 0 to 16.
 * @param[out]    pDst          The destination.
 * @param[in]     dstLen        Its size in bytes.
 * @param[in,out] pDstIdx       Where in it to write; advanced by the bytes written.
 * @param[in]     flush         2 and above: encode to the end, and end the block.
 * @retval StatusOk               All was encoded that can be; at a final flush the block is complete.
 * @retval StatusDestinationFull  The next symbol does not fit.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        `winSize` or `hashSize` is out of range, or `*pDstIdx` is not in the destination.
 */
Status ozrsDeflateLZ77Fastest_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                                 int32_t winSize, int32_t* pHashHead, int32_t hashSize, uint16_t* pCode,
                                 int32_t* pCodeLenBits, uint8_t* pDst, int32_t dstLen, int32_t* pDstIdx,
                                 int32_t flush) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup inflate Inflate
 *
 * The compressed blocks of Deflate streams (RFC 1951). The caller reads each block's header and handles stored blocks;
 * the library builds decoding tables from the code lengths of a dynamic block and decodes the symbols of a block, in as
 * many calls as the caller's buffers make necessary: a call may stop at any bit of the source and any byte of the
 * destination, and the next one goes on there.
 *
 * The road of one block:
 *
 * 1. Read BFINAL and BTYPE. For a fixed block set `tableKind` to 0. For a dynamic block read the code lengths and give
 *    them to ozrsInflateBuildHuffTable.
 * 2. Set `*pMode` to 0 and call ozrsInflate_8u until it gives `*pMode` 0 back: with more source after mode 1, with more
 *    source or more room, whichever ran out, after mode 2.
 * 3. Bits of the next header that the call has already taken from the source are in `*pCode`.
 *  @{ */

/**
 * Decoding tables, history window and suspended block of one Deflate stream. Allocated by the caller; needs no
 * initialization beyond the fields below that the caller owns.
 */
typedef struct InflateState {
    uint8_t* pWindow;     /**< Caller: the circular history window, or null for none. */
    uint32_t winSize;     /**< Caller: size of the window in bytes. */
    uint32_t tableKind;   /**< 0: the fixed code (set by the caller). 1, 2: set by ozrsInflateBuildHuffTable. */
    uint32_t decoder[4];  /**< Library: where a block was suspended. Holds while `*pMode` is 2. */
    uint32_t maxLitLen;   /**< Library: longest literal/length code of tables of kind 2. */
    uint32_t maxDistLen;  /**< Library: longest distance code of tables of kind 2. */
    uint8_t tables[7168]; /**< Library: the tables of kinds 1 and 2. */
} InflateState;

/**
 * Makes decoding tables from the code lengths of a dynamic block.
 *
 * Codes with at most 11 bits for a literal or length and at most 10 for a distance give tables of kind 2, with this
 * layout: 2^`maxLitLen` 16-bit entries for literals and lengths, indexed by the next bits of the stream, least
 * significant first (bits 0-3 the length of the code, bits 4-7 the type, bits 8-15 the value; type 0 a literal, type
 * 8 + e a length with e extra bits and its value less 3, type 15 the end of the block); directly behind it
 * 2^`maxDistLen` bytes for distances (extra bits << 4 | length of the code), and 1024 bytes behind their start 16-bit
 * base distances. The symbols 286 and 287 read as the literal byte 0 there. All other codes give tables of kind 1,
 * whose layout is private. Whatever no code reaches is marked, and fails when it is met.
 *
 * Both codes must be complete, with two exceptions: a single code of one bit, and thirty distance codes of five bits,
 * which the fixed code has. No distance code at all is accepted too.
 *
 * @param[in]  pCodeLens     `nLitCodeLens` lengths of literal/length codes, then `nDistCodeLens` lengths of distance
 *                           codes. Each is at most 15, which is not checked; 0 is a symbol without a code.
 * @param[in]  nLitCodeLens  Number of literal/length lengths, at most 288.
 * @param[in]  nDistCodeLens Number of distance lengths, at most 30.
 * @param[out] pState        Its `tableKind`, `maxLitLen`, `maxDistLen` and `tables` are written.
 * @retval StatusOk            The tables are ready.
 * @retval StatusNullPointer   `pCodeLens` or `pState` is null.
 * @retval StatusSizeError     There are more than 288 or more than 30 lengths.
 * @retval StatusBadCodeTable  A code is over-subscribed or incomplete, or there is no literal/length code; nothing was
 *                             written. Also: tables of kind 2 would have no code for the end of the block (symbol 256);
 *                             `tableKind`, `maxLitLen` and `maxDistLen` were written then, and the state must not be
 *                             decoded with.
 */
Status ozrsInflateBuildHuffTable(const uint16_t* pCodeLens, uint32_t nLitCodeLens, uint32_t nDistCodeLens,
                                 InflateState* pState) OZRDC_NOEXCEPT;

/**
 * Decodes the symbols of a block, until its end, the end of the source or the end of the destination.
 *
 * History. A match may reach back over the bytes of this call, over the `dstIdx` bytes in front of `*ppDst`, and then
 * into the window, a circular buffer: the byte just in front of `*ppDst - dstIdx` is the one in front of
 * `pWindow[winIdx]`, older ones go down to `pWindow[0]` and on from `pWindow[winSize - 1]` down. The library never
 * writes to the window; a caller with one large output buffer needs none. Calls are fastest with whole buffers: with
 * several kilobytes of source and destination almost all of the work is done without a check of either end.
 *
 * `*pMode` on return tells why the call stopped:
 *
 * - 0: the code of the end of the block was read.
 * - 1: the source is used up, and what is left in `*pCode` (at most 14 bits) is less than the next literal/length code.
 * - 2: the destination is full and the next symbol is not the end of the block, or the source ran out inside a symbol.
 *
 * A destination that is just filled still takes the end of the block, so that a buffer of the exact size gives mode 0.
 * Bytes of the destination behind those that were produced, up to `*pDstLen` of them, may be overwritten.
 *
 * Whole bytes that were read ahead are handed back, so that after modes 0 and 2 (destination full) at most 7 bits stay
 * in `*pCode`, unless they came in with the call.
 *
 * @param[in,out] ppSrc         The next byte of the source; moved on, or back to what was read ahead.
 * @param[in,out] pSrcLen       Bytes left in the source; may be 0.
 * @param[in,out] pCode         Bits that were taken from the source and not yet used, least significant first. Bits
 *                              above `*pCodeLenBits` do not matter on entry and are 0 on return.
 * @param[in,out] pCodeLenBits  Number of these bits, 0 to 32.
 * @param[in]     winIdx        Position in the window (see above), at most `winSize`.
 * @param[in,out] ppDst         Where the next byte goes; moved on.
 * @param[in,out] pDstLen       Room left in the destination, in bytes; may be 0.
 * @param[in]     dstIdx        Number of bytes in front of `*ppDst` that matches may reach.
 * @param[in,out] pMode         2: go on with the block that the state holds suspended. Any other value: begin with a
 *                              symbol. On return see above; unchanged after an error.
 * @param[in,out] pState        Tables and window; keeps the suspended step.
 * @retval StatusOk            `*pMode` tells how far decoding came.
 * @retval StatusNullPointer   A pointer is null, or `*ppSrc` or `*ppDst`.
 * @retval StatusSizeError     `*pCodeLenBits` is above 32, or `winIdx` above `winSize`.
 * @retval StatusBadCodeTable  The source holds a code that stands for nothing, or a distance that reaches behind the
 *                             available history. The arguments tell how far decoding came; the bytes written up to
 *                             there are good. Also, with nothing changed: `tableKind` is above 2, the tables of kind 2
 *                             are longer than they can be, or the state holds no suspended block in mode 2.
 */
Status ozrsInflate_8u(const uint8_t** ppSrc, uint32_t* pSrcLen, uint32_t* pCode, uint32_t* pCodeLenBits,
                      uint32_t winIdx, uint8_t** ppDst, uint32_t* pDstLen, uint32_t dstIdx, uint32_t* pMode,
                      InflateState* pState) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup lzo LZO1X
 *
 * Encoder and decoders of the published LZO1X format, one buffer a call.
 *
 * **Streams.** A stream ends with its end marker, the bytes 0x11 0x00 0x00. Streams that stand one behind the other in
 * a source decode to the concatenation of what they stand for. A source that ends right behind an instruction, without
 * the marker, decodes as if the marker were there. An empty stream, nothing but the marker, at the beginning of a
 * source is all that is looked at: it decodes to nothing, whatever follows.
 *
 * **Containers.** The decoders also take a container of several parts, each a stream of its own:
 *
 * | offset          | bytes       | what                                                        |
 * | --------------- | ----------- | ----------------------------------------------------------- |
 * | 0               | 1           | 0x55                                                        |
 * | 1               | 1           | number of parts P, 1 to 32                                  |
 * | 2               | 1           | P XOR 0x55                                                  |
 * | 3               | 4           | length T of all that is decoded, little-endian              |
 * | 7               | 4 * (P - 1) | length of each part but the last, little-endian             |
 * | 7 + 4 * (P - 1) | the rest    | the parts, one behind the other, each with its end marker   |
 *
 * Part k decodes to T / P bytes from offset k * (T / P) on, the last part to T mod P bytes more. In a damaged container
 * a part may decode to less: what is left of its slice is unspecified then, and `*pDstLen`, the sum over all parts, is
 * less than T. A source is taken for
 * a container if bytes 0 to 2 are as above and its first part, which must not reach behind the source, ends with the
 * end marker; everything else is a stream.
 *
 * **Caution: a container is decoded to the T bytes that it states, not to the capacity that the caller states.** Who
 * decodes sources that come from elsewhere must therefore look at them first, and refuse what is too large:
 *
 * @code
 * static int fits(const uint8_t *src, uint32_t srcLen, uint32_t capacity) {
 *     if (srcLen < 7 || src[0] != 0x55 || src[1] < 1 || src[1] > 32 || src[2] != (src[1] ^ 0x55)) return 1;
 *     uint32_t total = src[3] | src[4] << 8 | src[5] << 16 | (uint32_t)src[6] << 24;
 *     return total <= capacity;
 * }
 * @endcode
 *
 * (A stream can begin with such bytes, too: 68 literals, of which the first two happen to fit. The encoder avoids
 * that.)
 *
 * **Room.** The encoder never writes behind the capacity. n + n / 16 + 67 bytes are enough for a stream of n source
 * bytes; data in which nothing repeats take about n + n / 255. A container needs room for its header and, stream by
 * stream, for its parts.
 *  @{ */

/** State of the encoder: ozrsEncodeLZOGetSize tells its size. It may start at any address. */
typedef struct LZOState LZOState;

/**
 * Decodes LZO1X streams that may be damaged.
 *
 * Nothing is read outside the source. Nothing is read or written outside the destination's capacity or, for a
 * container, outside the T bytes that it states (see above). What lies in the destination behind the decoded bytes is
 * unspecified, up to there, and so is all of it after a failure.
 *
 * @param[in]     pSrc     The streams, or a container.
 * @param[in]     srcLen   Their length in bytes; 0 decodes to nothing.
 * @param[out]    pDst     Receives the decoded bytes.
 * @param[in,out] pDstLen  In: capacity of `pDst` in bytes. Out: bytes decoded. Left alone on an error.
 * @retval StatusOk            All of the source was decoded.
 * @retval StatusNullPointer   A pointer is null.
 * @retval StatusBrokenStream  The source is malformed: a match begins in front of the output, an instruction or its
 *                             literals run off the source, a stream begins with 16, or parts of a container run off the
 *                             source. Or what it decodes to does not fit the capacity (of a part: its slice).
 */
Status ozrsDecodeLZOSafe_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) OZRDC_NOEXCEPT;

/**
 * Decodes LZO1X streams that are known to be well-formed and to fit the destination.
 *
 * As ozrsDecodeLZOSafe_8u, but for streams outside a container it is not checked that matches begin inside the output:
 * a malformed stream can have up to 49151 bytes in front of `pDst` read and copied into the output. Nothing else
 * outside the source and the destination is read, and nothing outside the destination is written. Parts of a container
 * are checked in full.
 *
 * @param[in]     pSrc     The streams, or a container.
 * @param[in]     srcLen   Their length in bytes; 0 decodes to nothing.
 * @param[out]    pDst     Receives the decoded bytes.
 * @param[in,out] pDstLen  In: capacity of `pDst` in bytes. Out: bytes decoded. Left alone on an error.
 * @retval StatusOk            The source was decoded. A malformed stream also gives this status, with bytes of no
 *                             meaning.
 * @retval StatusNullPointer   A pointer is null.
 * @retval StatusBrokenStream  A part of a container is malformed, or does not fit its slice.
 */
Status ozrsDecodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) OZRDC_NOEXCEPT;

/**
 * Tells the size of the encoder's state.
 *
 * @param[in]  method      The method that it is for, 0 to 2: see ozrsEncodeLZOInit_8u.
 * @param[in]  reserved    Ignored.
 * @param[out] pStateSize  Receives the size in bytes, 131104; 0 for an unknown method.
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pStateSize` is null.
 * @retval StatusBadArgument  `method` is above 2.
 */
Status ozrsEncodeLZOGetSize(uint32_t method, uint32_t reserved, uint32_t* pStateSize) OZRDC_NOEXCEPT;

/**
 * Prepares a state: sets its mode, the first four bytes, and touches nothing else. The state is good for any number of
 * calls of the encoder, none of which depends on those before it.
 *
 * The methods 0 and 1 both stand for the standard compressor (mode 0), method 2 for the fast one (mode 2), which works
 * in chunks of 49152 bytes and finds less.
 *
 * A further mode, 1, writes a container. No method stands for it: a caller who wants it writes the 32-bit number 1 to
 * offset 0 of the state, and the number of parts, 1 to 32, to offset 4.
 *
 * @param[in]  method    0 to 2.
 * @param[in]  reserved  Ignored.
 * @param[out] pState    The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 * @retval StatusBadArgument  `method` is above 2.
 */
Status ozrsEncodeLZOInit_8u(uint32_t method, uint32_t reserved, LZOState* pState) OZRDC_NOEXCEPT;

/**
 * Encodes a buffer as one LZO1X stream, with its end marker, or as a container.
 *
 * When the destination is full, what was written stands for the beginning of the source, how much of it is not told,
 * and has no end marker. The standard compressor then fills the destination with as many literals as fit; the fast one
 * also gives up if, at the beginning of a chunk of n bytes, there is no room for n + n / 128 + 4; what was written of a
 * container is of no use.
 *
 * @param[in]     pSrc     The bytes to encode.
 * @param[in]     srcLen   Their number. 0 writes nothing, not even an end marker.
 * @param[out]    pDst     Receives the stream. Bytes behind it, up to the capacity, are unspecified.
 * @param[in,out] pDstLen  In: capacity of `pDst` in bytes. Out: bytes written.
 * @param[in,out] pState   A state that was prepared.
 * @retval StatusOk               The stream was written.
 * @retval StatusDestinationFull  The stream, with its end marker, does not fit.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusBadArgument      The state's mode is none of 0, 1 and 2, or is 1 with a number of parts out of range.
 */
Status ozrsEncodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen,
                        LZOState* pState) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup lzss LZSS
 *
 * A streaming codec with a bit stream of its own: matches of 3 to 258 bytes in the last 32767, one flag bit a token.
 * Tokens follow each other without anything between them, most significant bit first: a literal is a 1 and the byte, a
 * match is a 0, the distance in 15 bits and the length less 3 in 8. The stream has neither header, end mark nor check.
 *
 * Source and destination may be cut anywhere; all that is kept between calls is in a state of the caller's. A stream is
 * encoded by ozrsEncodeLZSSInit_8u, any number of calls of ozrsEncodeLZSS_8u, and ozrsEncodeLZSSFlush_8u until it
 * returns `StatusOk`; it is decoded by ozrsDecodeLZSSInit_8u and any number of calls of ozrsDecodeLZSS_8u. Because the
 * last byte of a stream is filled up with zeros, which a stream that goes on would not have, streams cannot be joined.
 * A stream may have any length.
 *
 * No match covers the last two bytes of the source of a call. How a stream is cut into calls therefore changes it,
 * though not what it decodes to: sources of a few bytes are hardly compressed.
 *
 * A stream is 9/8 times as long as its plain bytes at most, rounded up to a byte.
 *  @{ */

/**
 * State of either direction. Its size is that of ozrsLZSSGetSize_8u, its alignment that of a 64-bit integer. It belongs
 * to one stream at a time, and must not be moved while the stream lasts.
 */
typedef struct LZSSState LZSSState;

/**
 * Tells the size of an `LZSSState` in bytes.
 *
 * @param[out] pSize  The size: 327744.
 * @retval StatusOk           `*pSize` was set.
 * @retval StatusNullPointer  `pSize` is null.
 */
Status ozrsLZSSGetSize_8u(int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Prepares a state for the encoding of a stream.
 *
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 */
Status ozrsEncodeLZSSInit_8u(LZSSState* pState) OZRDC_NOEXCEPT;

/**
 * Encodes the next bytes of a stream.
 *
 * The call stops as soon as the destination is full. What it has consumed then is encoded, though up to 23 bits of that
 * may be pending in the state, which the next call or the flush begins with.
 *
 * @param[in,out] ppSrc    The source; advanced by the bytes encoded.
 * @param[in,out] pSrcLen  Its length in bytes; decreased by the bytes encoded. If it is 0 the call does nothing.
 * @param[in,out] ppDst    The destination; advanced by the bytes written. Up to seven bytes behind them, as far as
 * there is room, are unspecified.
 * @param[in,out] pDstLen  Room left in it, in bytes; decreased by the bytes written.
 * @param[in,out] pState   The state.
 * @retval StatusOk               All of the source was encoded, and there is room left.
 * @retval StatusDestinationFull  The destination is full, or had no room to begin with. The source may be used up.
 * @retval StatusNullPointer      A pointer, `*ppSrc` or `*ppDst` is null.
 * @retval StatusSizeError        A length is below 0. (That a destination without room is no error, but a warning, is a
 *                                difference from the other two working calls.)
 */
Status ozrsEncodeLZSS_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                         LZSSState* pState) OZRDC_NOEXCEPT;

/**
 * Ends a stream: writes the pending bits, three bytes at most, the last one filled up with zeros.
 *
 * A flush that completes leaves the pending bits as they were: the same call again would write the same bytes again. A
 * new stream needs ozrsEncodeLZSSInit_8u.
 *
 * @param[in,out] ppDst    The destination; advanced by the bytes written.
 * @param[in,out] pDstLen  Room left in it, at least 1 byte; decreased by the bytes written.
 * @param[in,out] pState   The state.
 * @retval StatusOk               The stream is complete.
 * @retval StatusDestinationFull  The destination is full, and bits are left: call again with more room.
 * @retval StatusNullPointer      A pointer, or `*ppDst`, is null.
 * @retval StatusSizeError        `*pDstLen` is below 1.
 */
Status ozrsEncodeLZSSFlush_8u(uint8_t** ppDst, int32_t* pDstLen, LZSSState* pState) OZRDC_NOEXCEPT;

/**
 * Prepares a state for the decoding of a stream.
 *
 * What was decoded with the state before stays where the distances of a new stream can reach it: the caller who must
 * not give that away to the author of the next stream has to clear the state first.
 *
 * @param[in,out] pState  The state. One that was never used may hold anything; it is read nevertheless, which memory
 *                        checkers may remark on.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 */
Status ozrsDecodeLZSSInit_8u(LZSSState* pState) OZRDC_NOEXCEPT;

/**
 * Decodes the next bytes of a stream. Any bytes are valid, and nothing outside the state and the buffers is touched.
 *
 * A call that ends because of the source has taken all of it, with the bits of an incomplete token in the state; one
 * that ends because of the destination has taken no byte more than the last token needs, whose rest, if it does not
 * fit, the next call begins with. The pending bits at the end of a stream are its filling.
 *
 * A distance that reaches in front of the stream finds the bytes that the state's history held before, and a distance
 * of 0, which no encoder writes, gives zeros. Whether the decoded bytes are the right ones, a checksum of the caller's
 * has to tell.
 *
 * @param[in,out] ppSrc    The source; advanced by the bytes taken.
 * @param[in,out] pSrcLen  Its length in bytes, which may be 0; decreased by the bytes taken.
 * @param[in,out] ppDst    The destination; advanced by the bytes written. What lies behind them, up to the capacity, is
 *                         unspecified.
 * @param[in,out] pDstLen  Room left in it, at least 1 byte; decreased by the bytes written.
 * @param[in,out] pState   The state.
 * @retval StatusOk               The source is used up, and there is room left.
 * @retval StatusDestinationFull  The destination is full. The source may be used up.
 * @retval StatusNullPointer      A pointer, `*ppSrc` or `*ppDst` is null.
 * @retval StatusSizeError        `*pSrcLen` is below 0, or `*pDstLen` below 1.
 */
Status ozrsDecodeLZSS_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                         LZSSState* pState) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2 Block sorting
 *
 * The stages of a bzip2 compressor and decompressor, each a primitive of its own. The caller keeps the blocks, writes
 * and reads stream and block headers, and computes the CRCs with ozrsCRC32_BZ2_8u.
 */
/** @defgroup bz2_runs Block sorting: run lengths
 *  @ingroup bz2
 *
 * The first stage of compression, and the last of decompression, is a run-length code: four equal bytes are followed by
 * one that counts how many more of them there are. A count is 0 to 255, so that one group stands for 4 to 259 bytes; a
 * longer run goes on as a new one. (The bzip2 command writes counts up to 251 only, and reads these.)
 *
 * The encoder takes a block in pieces of any size. The decoder gives it out in pieces of any size, but has to be given
 * the run-length code of a block whole: a group that is cut by the end of a source is not put together again.
 *  @{ */

/** State of either direction. Its size is that of ozrsRLEGetSize_BZ2_8u, its alignment that of a 32-bit integer. */
typedef struct RLEState RLEState;

/**
 * Tells the size of an `RLEState` in bytes.
 *
 * @param[out] pSize  The size: 264.
 * @retval StatusOk           `*pSize` was set.
 * @retval StatusNullPointer  `pSize` is null.
 */
Status ozrsRLEGetSize_BZ2_8u(int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Prepares a state for the encoding of a block: no run, no byte value in use.
 *
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 */
Status ozrsEncodeRLEInit_BZ2_8u(RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Encodes the next bytes of a block. A run that reaches the end of the source stays open, for the next call or the
 * flush.
 *
 * @param[in,out] ppSrc    The source; advanced by the bytes encoded.
 * @param[in,out] pSrcLen  Its length in bytes, at least 1; decreased by the bytes encoded.
 * @param[out]    pDst     The destination. It never gets more than 5/4 of the bytes encoded, and one.
 * @param[in,out] pDstLen  Its size in bytes, at least 1; on return the number of bytes written.
 * @param[in,out] pState   The state.
 * @retval StatusOk               All of the source was encoded.
 * @retval StatusDestinationFull  The destination is full, and source is left.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        A length is below 1.
 */
Status ozrsEncodeRLE_BZ2_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                            RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Ends a block: writes the count of the run that is open, if it has four bytes or more.
 *
 * The state remembers the last byte: a new block needs ozrsEncodeRLEInit_BZ2_8u.
 *
 * @param[out]    pDst     Where the next byte of the block goes.
 * @param[in,out] pDstLen  Room for it, at least 1; on return the number of bytes written, 0 or 1.
 * @param[in,out] pState   The state.
 * @retval StatusOk           The block is complete.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `*pDstLen` is below 1.
 */
Status ozrsEncodeRLEFlush_BZ2_8u(uint8_t* pDst, int32_t* pDstLen, RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Tells which byte values the encoder has written, bytes and counts, since the state was prepared.
 *
 * @param[out] pInUse  256 bytes: 1 for each value that occurs, 0 for the others. May overlap the state; the bytes are
 *                     copied one by one, in ascending order.
 * @param[in]  pState  The state.
 * @retval StatusOk           The table was written.
 * @retval StatusNullPointer  A pointer is null.
 */
Status ozrsRLEGetInUseTable_8u(uint8_t pInUse[256], const RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Prepares a state for the decoding of a block. The table of values in use is left as it was.
 *
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 */
Status ozrsDecodeRLEStateInit_BZ2_8u(RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Decodes the run-length code of a block. Any bytes are valid.
 *
 * What the destination has no room for of a run is owed: the next call, or the flush, begins with it. The last three
 * bytes of a source hold no group and are copied; four equal bytes at its very end, without a count, stand for
 * themselves.
 *
 * @param[in,out] ppSrc    The source; advanced by the bytes decoded.
 * @param[in,out] pSrcLen  Its length in bytes, at least 1; decreased by the bytes decoded.
 * @param[in,out] ppDst    The destination; advanced by the bytes written.
 * @param[in,out] pDstLen  Room left in it, at least 1 byte; decreased by the bytes written.
 * @param[in,out] pState   The state.
 * @retval StatusOk               No bytes are owed, and less than four bytes of the source, if any, are left because
 * the destination is full.
 * @retval StatusDestinationFull  The destination is full. The source may be used up, with bytes owed.
 * @retval StatusNullPointer      A pointer, `*ppSrc` or `*ppDst` is null.
 * @retval StatusSizeError        A length is below 1.
 */
Status ozrsDecodeRLEState_BZ2_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                 RLEState* pState) OZRDC_NOEXCEPT;

/**
 * Writes the bytes that the decoder owes.
 *
 * @param[in,out] pState   The state.
 * @param[in,out] ppDst    The destination; advanced by the bytes written.
 * @param[in,out] pDstLen  Room left in it, in bytes; decreased by the bytes written.
 * @retval StatusOk               All is written.
 * @retval StatusDestinationFull  The destination is full, and more bytes are owed.
 * @retval StatusNullPointer      A pointer, or `*ppDst`, is null.
 */
Status ozrsDecodeRLEStateFlush_BZ2_8u(RLEState* pState, uint8_t** ppDst, int32_t* pDstLen) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2_transform Block sorting: the transform
 *  @ingroup bz2
 *
 * The transform (of Burrows and Wheeler) sorts all rotations of a block, as strings of unsigned bytes, and outputs the
 * byte in front of each: the last column of the sorted rotations. With the row in which the block itself stands, the
 * primary index, the block can be made again. Rotations of a periodic block that are equal stand in any order, which
 * only shows in the primary index: every row that holds the block is as good.
 *
 * Scratch buffers may start at any address; what they hold before a call does not matter.
 *  @{ */

/**
 * Tells the size of the scratch buffer that ozrsBWTFwd_8u needs for a block.
 *
 * @param[in]  len    Length of the block in bytes, at least 1.
 * @param[out] pSize  Receives the larger of 6 * len + 524484 and 18 * len + 80, each in 32-bit arithmetic: above
 *                    357826527 bytes, which ozrsBWTFwd_8u refuses, the number is not meaningful.
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsBWTFwdGetSize_8u(int32_t len, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Sorts the rotations of a block. Repetitive blocks take longer than ordinary ones, but never the square of their
 * length, whatever they hold.
 *
 * @param[in]  pSrc           The block.
 * @param[out] pDst           Receives the last column, `len` bytes.
 * @param[in]  len            Length of the block in bytes, 1 to 357826527.
 * @param[out] pPrimaryIndex  Receives the row of the block itself, 0 to `len` - 1.
 * @param[out] pBuffer        Scratch, of the size that ozrsBWTFwdGetSize_8u tells.
 * @retval StatusOk           The last column was written.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `len` is below 1 or too large.
 */
Status ozrsBWTFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pPrimaryIndex,
                     uint8_t* pBuffer) OZRDC_NOEXCEPT;

/**
 * Tells the size of the scratch buffer that ozrsBWTFwd_SelectSort_8u needs for a block.
 *
 * @param[in]  len       Length of the block in bytes, at least 1.
 * @param[out] pSize     Receives 6 * len + 524484 for the strategies 0 and 1, 18 * len + 80 for 2, and the larger of
 *                       both for 3. Any other strategy leaves it alone.
 * @param[in]  strategy  See ozrsBWTFwd_SelectSort_8u.
 * @retval StatusOk           The strategy is none, or the size was written.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `len` is 0.
 */
Status ozrsBWTFwdGetBufSize_SelectSort_8u(uint32_t len, int32_t* pSize, uint32_t strategy) OZRDC_NOEXCEPT;

/**
 * Sorts the rotations of a block in the way that the caller chooses. All give the same result:
 *
 * - 0: by comparing, with a budget of 100 bytes of comparison for each byte of the block, 25 in blocks of 99900 bytes
 *   and more. Highly repetitive blocks use it up, and are given up.
 * - 1: without a budget.
 * - 2: by prefix doubling, which is slow on ordinary data and takes less scratch for short blocks.
 * - 3: as ozrsBWTFwd_8u.
 *
 * Blocks below 100 bytes are sorted directly, whatever the strategy is.
 *
 * @param[in]  pSrc           The block.
 * @param[out] pDst           Receives the last column, `len` bytes.
 * @param[in]  len            Length of the block in bytes, 1 to 357826527, with strategy 2 to 119304642.
 * @param[out] pPrimaryIndex  Receives the row of the block itself.
 * @param[out] pBuffer        Scratch, of the size that ozrsBWTFwdGetBufSize_SelectSort_8u tells.
 * @param[in]  strategy       See above. With any other number nothing is done.
 * @retval StatusOk                  The last column was written, or there is no such strategy.
 * @retval StatusSortBudgetExceeded  The budget ran out (strategy 0); the destination and `*pPrimaryIndex` were not
 *                                   written.
 * @retval StatusNullPointer         A pointer is null.
 * @retval StatusSizeError           `len` is 0 or too large.
 */
Status ozrsBWTFwd_SelectSort_8u(const uint8_t* pSrc, uint8_t* pDst, uint32_t len, int32_t* pPrimaryIndex,
                                uint8_t* pBuffer, uint32_t strategy) OZRDC_NOEXCEPT;

/**
 * Tells the size of the scratch buffer that ozrsBWTInv_8u needs for a block.
 *
 * @param[in]  len    Length of the block in bytes, at least 1.
 * @param[out] pSize  Receives 4 * len + 1024 (in 32-bit arithmetic, which suffices up to 536870655 bytes).
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsBWTInvGetSize_8u(int32_t len, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Makes a block again from the last column of its sorted rotations.
 *
 * Any column and index may be given: nothing is read or written outside the buffers.
 *
 * @param[in]  pSrc     The last column.
 * @param[out] pDst     Receives the block, `len` bytes.
 * @param[in]  len      Length of the block in bytes, at least 1.
 * @param[in]  index    The primary index, below `len`. A negative one must not be passed; it is not refused, but gives
 *                      a block of zeros.
 * @param[out] pBuffer  Scratch, of the size that ozrsBWTInvGetSize_8u tells.
 * @retval StatusOk           The block was written.
 * @retval StatusNullPointer  `pSrc`, `pDst` or `pBuffer` is null.
 * @retval StatusSizeError    `len` is below 1, or `index` is not below `len`.
 */
Status ozrsBWTInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index, uint8_t* pBuffer) OZRDC_NOEXCEPT;

/**
 * Tells the size of the scratch buffer that ozrsDecodeBlock_BZ2_16u8u needs.
 *
 * @param[in]  capacity  The most bytes that a block may have, at most 16777215.
 * @param[out] pSize     Receives 4 * capacity.
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `capacity` is above 16777215.
 */
Status ozrsDecodeBlockGetSize_BZ2_8u(uint32_t capacity, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Decodes the symbols of a bzip2 block in one go: zero runs, move-to-front, dictionary and transform.
 *
 * A stretch of symbols 0 and 1 is a number, the length of a run of the byte at the front of the move-to-front list: the
 * digits count symbol + 1, the first has the weight 1, each further one twice that of the one before it. A symbol s
 * above 1 is entry s - 1 of the list. There is no symbol for the end of the block.
 *
 * Any symbols may be given: nothing is read or written outside the buffers.
 *
 * @param[in]     pSrc            The symbols.
 * @param[in]     srcLen          Their number, at least 1.
 * @param[out]    pDst            Receives the block.
 * @param[in,out] pDstLen         In: capacity of `pDst` and of the scratch buffer in bytes, at most 16777215. Out:
 *                                length of the block; with `StatusError` the number of bytes in front of the symbol or
 *                                run that could not be decoded.
 * @param[in]     index           The primary index, 0 to `*pDstLen` - 1. If it is not below the length of the block,
 *                                the block is written as zeros.
 * @param[in]     sizeDictionary  Number of byte values in use, at most 256.
 * @param[in]     pInUse          For every byte value whether it is in use: any number but 0.
 * @param[out]    pBuffer         Scratch, of the size that ozrsDecodeBlockGetSize_BZ2_8u tells.
 * @retval StatusOk           The block was written. Also, and then nothing was: `sizeDictionary` is not the number of
 *                            values in use; `*pDstLen` is left as it was.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `srcLen`, `*pDstLen`, `index` or `sizeDictionary` is not as above.
 * @retval StatusError        The block is longer than the capacity, or a symbol lies beyond the dictionary.
 */
Status ozrsDecodeBlock_BZ2_16u8u(const uint16_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen, int32_t index,
                                 int32_t sizeDictionary, const uint8_t pInUse[256], uint8_t* pBuffer) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2_ranks Block sorting: move-to-front and dictionary
 *  @ingroup bz2
 *
 * The dictionary of a block renames the byte values that occur to 0, 1, 2, ... in ascending order. Move-to-front coding
 * replaces each byte by its position in a list of all values, and moves it to the front of the list.
 *
 * A long sequence may be coded in several calls. The state is the identity in the beginning, for both directions; then
 * it holds the rank of every value for the encoder, and the list of values for the decoder, so that a state that one
 * direction has used must not be given to the other.
 *  @{ */

/** State of either direction: 256 bytes at any address. */
typedef struct MTFState MTFState;

/**
 * Tells the size of an `MTFState` in bytes.
 *
 * @param[out] pSize  The size: 256.
 * @retval StatusOk           `*pSize` was set.
 * @retval StatusNullPointer  `pSize` is null.
 */
Status ozrsMTFGetSize_8u(int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Prepares a state: byte i is i.
 *
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 */
Status ozrsMTFInit_8u(MTFState* pState) OZRDC_NOEXCEPT;

/**
 * Move-to-front coding: replaces each byte by its rank.
 *
 * @param[in]     pSrc    The bytes.
 * @param[out]    pDst    Their ranks; may be the source itself.
 * @param[in]     len     Number of bytes, at least 1.
 * @param[in,out] pState  Byte v is the rank of value v.
 * @retval StatusOk           The ranks were written.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsMTFFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, MTFState* pState) OZRDC_NOEXCEPT;

/**
 * Undoes move-to-front coding: replaces each rank by the byte that has it.
 *
 * @param[in]     pSrc    The ranks.
 * @param[out]    pDst    The bytes; may be the source itself.
 * @param[in]     len     Number of ranks, at least 1.
 * @param[in,out] pState  Byte k is the value of rank k.
 * @retval StatusOk           The bytes were written.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsMTFInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, MTFState* pState) OZRDC_NOEXCEPT;

/**
 * Renames the bytes of a block: each becomes the number of values in use that are below it. A value that is not in use
 * is renamed like the next one that is.
 *
 * @param[in]     pInUse           256 bytes: 1 for each value in use, 0 for the others.
 * @param[in,out] pSrcDst          The bytes.
 * @param[in]     len              Their number, at least 1.
 * @param[out]    pSizeDictionary  The number of values in use, 0 to 256.
 * @retval StatusOk           The bytes were renamed.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsReduceDictionary_8u_I(const uint8_t pInUse[256], uint8_t* pSrcDst, int32_t len,
                                 int32_t* pSizeDictionary) OZRDC_NOEXCEPT;

/**
 * Gives the bytes of a block their old values back.
 *
 * @param[in]     pInUse          256 bytes: 1 for each value in use, 0 for the others.
 * @param[in,out] pSrcDst         The bytes. One that is not below `sizeDictionary` gets an unspecified value.
 * @param[in]     len             Their number, at least 1.
 * @param[in]     sizeDictionary  The number of values in use.
 * @retval StatusOk           The bytes were renamed.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `len` or `sizeDictionary` is below 1.
 * @retval StatusError        `sizeDictionary` is not the number of values in use; the bytes are unchanged.
 */
Status ozrsExpandDictionary_8u_I(const uint8_t pInUse[256], uint8_t* pSrcDst, int32_t len,
                                 int32_t sizeDictionary) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2_zero_runs Block sorting: zero runs
 *  @ingroup bz2
 *
 * Ranks of move-to-front coding become 16-bit symbols. A run of n zeros is written in the digits RUNA (0) and RUNB (1),
 * which count 1 and 2, least significant first; a rank v above 0 is the symbol v + 1. The symbol that ends a block is
 * the caller's to append and to remove.
 *
 * Nothing is kept between calls. The encoder closes the run at the end of a call, and the digits of two adjacent runs
 * would read as one number: a block has to be given whole, with a destination that takes all of it.
 *  @{ */

/**
 * Codes ranks as symbols, and counts them.
 *
 * A run whose digits do not fit is cut: as many of its zeros are coded as the digits that fit can express.
 *
 * @param[in,out] ppSrc    The ranks; advanced by those coded.
 * @param[in,out] pSrcLen  Their number, at least 1; decreased by those coded.
 * @param[out]    pDst     The symbols. There are never more than ranks.
 * @param[in,out] pDstLen  Room for symbols, at least 1; on return the number written.
 * @param[in,out] pFreq    257 counters, which each symbol written increments; the caller clears them for a new block.
 * @retval StatusOk               All ranks were coded.
 * @retval StatusDestinationFull  The destination is full, and ranks are left.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        A length is below 1.
 */
Status ozrsEncodeZ1Z2_BZ2_8u16u(const uint8_t** ppSrc, int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                uint32_t* pFreq) OZRDC_NOEXCEPT;

/**
 * Decodes symbols to ranks.
 *
 * A run that does not fit is left in the source, all of its digits. One that just fits is written, and the rank behind
 * it is left. Of a symbol above 256 the low eight bits, less 1, are the rank.
 *
 * @param[in,out] ppSrc    The symbols; advanced by those decoded.
 * @param[in,out] pSrcLen  Their number, at least 1; decreased by those decoded.
 * @param[out]    pDst     The ranks.
 * @param[in,out] pDstLen  Room for ranks, at least 1; on return the number written.
 * @retval StatusOk               All symbols were decoded.
 * @retval StatusDestinationFull  The next run, or the next rank, does not fit.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        A length is below 1.
 */
Status ozrsDecodeZ1Z2_BZ2_16u8u(const uint16_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst,
                                int32_t* pDstLen) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2_huffman_encoder Block sorting: Huffman encoder
 *  @ingroup bz2
 *
 * Codes the symbols of a block with two to six tables, which change every 50 symbols as a list of selectors says. The
 * description of the tables and the coded symbols are those of bzip2.
 *
 * Bits go most significant first. Those that do not fill a byte are kept by the caller, left-aligned in a 32-bit word:
 * bit 31 is the first. In this way the caller writes the header of the block into the same stream, and goes on where a
 * call has ended.
 *
 * The road of one block: ozrsEncodeHuffInit_BZ2_16u8u; the header, by the caller; ozrsPackHuffContext_BZ2_16u8u;
 * ozrsEncodeHuff_BZ2_16u8u for all of its symbols.
 *  @{ */

/** Tables of one block. Its size is that of ozrsEncodeHuffGetSize_BZ2_16u8u, its alignment that of a 32-bit integer. */
typedef struct HuffEncState HuffEncState;

/**
 * Tells the size of a `HuffEncState` for a block of a number of symbols.
 *
 * @param[in]  len    The number of symbols, at least 1.
 * @param[out] pSize  The size: 7780, and 2 for each 50 symbols or part of them.
 * @retval StatusOk           `*pSize` was set.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsEncodeHuffGetSize_BZ2_16u8u(int32_t len, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Makes the tables of a block and chooses one for each 50 symbols.
 *
 * Codes have at most 17 bits, and each symbol of the alphabet gets one in each table. There are 2 tables for less than
 * 200 symbols, 3 below 600, 4 below 1200, 5 below 2400, else 6.
 *
 * @param[in]  alphaSize  Size of the alphabet, 1 to 258: for a block of bzip2 the size of the dictionary and 2, the
 *                        last symbol being the end of the block.
 * @param[in]  pFreq      How often each symbol of the alphabet occurs, the end of the block included.
 * @param[in]  pSrc       The symbols, the end of the block included. One that is not of the alphabet does no harm, but
 *                        the stream will not say what it was.
 * @param[in]  len        Their number, at least 1. A description holds at most 32767 selectors, 1638350 symbols.
 * @param[out] pState     The state, of the size for `len` symbols.
 * @retval StatusOk           The tables are ready.
 * @retval StatusNullPointer  A pointer is null.
 * @retval StatusSizeError    `alphaSize` is out of range, or `len` is below 1.
 */
Status ozrsEncodeHuffInit_BZ2_16u8u(int32_t alphaSize, const uint32_t* pFreq, const uint16_t* pSrc, int32_t len,
                                    HuffEncState* pState) OZRDC_NOEXCEPT;

/**
 * Writes the description of the tables: their number, the selectors, the lengths of all codes.
 *
 * @param[in,out] pCode         Bits that precede the output, left-aligned; on return those that are pending.
 * @param[in,out] pCodeLenBits  Their number, 0 to 32. Above 32 on return: bits were lost.
 * @param[out]    pDst          The destination.
 * @param[in,out] pDstLen       Its size in bytes, at least 1; on return the number of bytes written.
 * @param[in]     pState        The state.
 * @retval StatusOk               The description is written, but for at most 32 pending bits.
 * @retval StatusDestinationFull  The destination is too small, and bits were lost.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusSizeError        `*pDstLen` is below 1, or `*pCodeLenBits` is not 0 to 32.
 */
Status ozrsPackHuffContext_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst, int32_t* pDstLen,
                                     const HuffEncState* pState) OZRDC_NOEXCEPT;

/**
 * Codes the symbols of a block. A call begins with the first table: it should have the whole block, and room for it.
 *
 * @param[in,out] pCode         Bits that precede the output, left-aligned; on return those that are pending.
 * @param[in,out] pCodeLenBits  Their number, 0 to 32. Above 32 on return: bits were lost.
 * @param[in,out] ppSrc         The symbols; advanced by those coded.
 * @param[in,out] pSrcLen       Their number; decreased by those coded. Symbols beyond the number that the state was
 *                              made for, rounded up to whole groups, are left.
 * @param[out]    pDst          The destination.
 * @param[in,out] pDstLen       Its size in bytes, at least 1; on return the number of bytes written.
 * @param[in]     pState        The state.
 * @retval StatusOk               The symbols are written, but for at most 32 pending bits.
 * @retval StatusDestinationFull  The destination is too small, and bits were lost.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        `*pDstLen` is below 1, or `*pCodeLenBits` is not 0 to 32.
 */
Status ozrsEncodeHuff_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, const uint16_t** ppSrc, int32_t* pSrcLen,
                                uint8_t* pDst, int32_t* pDstLen, const HuffEncState* pState) OZRDC_NOEXCEPT;

/** @} */
/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup bz2_huffman_decoder Block sorting: Huffman decoder
 *  @ingroup bz2
 *
 * Reads what the Huffman encoder writes: the description of the tables, and the symbols of a block. Both calls stop at
 * any bit where the source ends, and go on there when they are called again.
 *
 * Pending bits are kept by the caller as with the encoder: left-aligned in a 32-bit word. The road of one block: the
 * header, by the caller; ozrsDecodeHuffInit_BZ2_8u16u; ozrsUnpackHuffContext_BZ2_8u16u as long as it wants source;
 * ozrsDecodeHuff_BZ2_8u16u as long as it wants source or room. The pending bits then begin the next block.
 *
 * A description says itself how many selectors it has, up to 32767, and the state does not know its own size: for data
 * that cannot be trusted, allocate the state for 1638350 symbols.
 *  @{ */

/** Tables of one block. Its size is that of ozrsDecodeHuffGetSize_BZ2_8u16u, its alignment that of a 32-bit integer. */
typedef struct HuffDecState HuffDecState;

/**
 * Tells the size of a `HuffDecState` for blocks of up to a number of symbols.
 *
 * @param[in]  len    The number of symbols, at least 1.
 * @param[out] pSize  The size: 9364, and 1 for each 50 symbols or part of them.
 * @retval StatusOk           `*pSize` was set.
 * @retval StatusNullPointer  `pSize` is null.
 * @retval StatusSizeError    `len` is below 1.
 */
Status ozrsDecodeHuffGetSize_BZ2_8u16u(int32_t len, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Prepares a state for a block.
 *
 * @param[in]  alphaSize  Size of the alphabet, 1 to 258; its last symbol is the end of the block.
 * @param[out] pState     The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pState` is null.
 * @retval StatusSizeError    `alphaSize` is out of range.
 */
Status ozrsDecodeHuffInit_BZ2_8u16u(int32_t alphaSize, HuffDecState* pState) OZRDC_NOEXCEPT;

/**
 * Reads the description of the tables and builds them. Whole bytes that were read ahead are handed back, unless the
 * source is used up.
 *
 * @param[in,out] pCode         Pending bits, left-aligned.
 * @param[in,out] pCodeLenBits  Their number, 0 to 32.
 * @param[in,out] ppSrc         The source; advanced by the bytes taken.
 * @param[in,out] pSrcLen       Its length in bytes, at least 1; decreased by the bytes taken.
 * @param[in,out] pState        The state.
 * @retval StatusOk               The tables are ready.
 * @retval StatusSourceExhausted  The source is used up: call again with more.
 * @retval StatusBadCodeTable     Less than 2 or more than 6 tables, no selector, a selector of a table that is not
 *                                there, or a length of a code that is not 1 to 20. The state must be prepared again.
 * @retval StatusError            The state was never prepared.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        `*pSrcLen` is below 1, or `*pCodeLenBits` is not 0 to 32.
 */
Status ozrsUnpackHuffContext_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc, int32_t* pSrcLen,
                                       HuffDecState* pState) OZRDC_NOEXCEPT;

/**
 * Decodes the symbols of a block, up to its end.
 *
 * A symbol is decoded only while 20 bits or more are there. Whole bytes that were read ahead are handed back, unless
 * the source is used up. The symbol of the end of the block is stored behind the others, but not counted.
 *
 * @param[in,out] pCode         Pending bits, left-aligned.
 * @param[in,out] pCodeLenBits  Their number, 0 to 32.
 * @param[in,out] ppSrc         The source; advanced by the bytes taken.
 * @param[in,out] pSrcLen       Its length in bytes; may be 0, as long as bits are pending. Decreased by the bytes
 *                              taken.
 * @param[out]    pDst          The symbols.
 * @param[in,out] pDstLen       Room for symbols, at least 1; on return the number decoded.
 * @param[in,out] pState        The state.
 * @retval StatusOk               The end of the block was read.
 * @retval StatusSourceExhausted  The source is used up: call again with more.
 * @retval StatusDestinationFull  The destination is full, and source is left: call again with more room.
 * @retval StatusError            The next bits are no code, there is no selector for the next symbol, or the
 *                                description has not been read.
 * @retval StatusNullPointer      A pointer, or `*ppSrc`, is null.
 * @retval StatusSizeError        `*pDstLen` is below 1, or `*pCodeLenBits` is not 0 to 32.
 */
Status ozrsDecodeHuff_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc, int32_t* pSrcLen,
                                uint16_t* pDst, int32_t* pDstLen, HuffDecState* pState) OZRDC_NOEXCEPT;

/** @} */

/* ---------------------------------------------------------------------------------------------------------------- */
/** @defgroup zfp ZFP
 *
 * Lossy compression of blocks of 4 x 4 x 4 floats, in the format of three-dimensional single-precision ZFP streams. The
 * caller walks through its volume, x fastest, and hands over one block after the other; what it does where the volume
 * is not a multiple of four, and what headers it writes, is its own affair.
 *
 * Four parameters say what is kept of a block, in this order:
 *
 * - **minBits**: a block takes at least so many bits; zeros fill it up.
 * - **maxBits**: it takes at most so many. The coder just stops. (The first bit, and the eight of the exponent that
 *   follow it unless the block is all zeros, are written whatever maxBits is.)
 * - **maxPrec**: at most so many bit planes are coded, of 32.
 * - **minExp**: no bit plane is coded whose weight is below 2 to the minExp, less some planes for what the inverse
 *   transform may make of the error.
 *
 * Fixed rate: minBits and maxBits are both 64 times the bits per value; block n then begins at bit n * maxBits. Fixed
 * precision: maxPrec alone. Fixed accuracy: minExp alone, by ozrsEncodeZfpSetAccuracy_32f. The stream does not carry
 * the parameters: the decoder must be given those of the encoder.
 *
 * A stream is a row of 64-bit words, little-endian, each filled from its least significant bit. Words are stored when
 * their last bit is written and fetched when their first bit is needed; what does not make a word stays in the state
 * until the flush. The decoder reads the last bytes, where they do not make a word, one by one.
 *
 * Infinities and NaNs do no harm, but spoil the block they are in: its values are unspecified. A block whose values
 * are all smaller than 2^-97 loses precision.
 *
 * The road: GetStateSize, Init, Set or SetAccuracy; a call for each block; Flush (encoder only); the sizes.
 *  @{ */

/**
 * State of a stream. Its size is that of ozrsEncodeZfpGetStateSize_32f, its alignment that of a 64-bit integer. It
 * remembers the stream's buffer, which must stay where it is until the last call.
 */
typedef struct ZfpState ZfpState;

/**
 * Tells the size of a `ZfpState`.
 *
 * @param[out] pSize  Receives the size in bytes (576).
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pSize` is null.
 */
Status ozrsEncodeZfpGetStateSize_32f(int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Begins a stream. Its parameters are minBits 0, maxBits 4171, maxPrec 64 and minExp -10740: all that a float block has
 * is coded.
 *
 * @param[out] pDst    Where the stream goes.
 * @param[in]  dstLen  Room for it in bytes, at least 1. A block takes 2120 bits at most, or minBits. No byte is written
 *                     that does not belong to the stream.
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pDst` or `pState` is null.
 * @retval StatusSizeError    `dstLen` is below 1.
 */
Status ozrsEncodeZfpInit_32f(uint8_t* pDst, int32_t dstLen, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * The same with a length of 64 bits.
 *
 * @param[out] pDst    Where the stream goes.
 * @param[in]  dstLen  Room for it in bytes, at least 1.
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pDst` or `pState` is null.
 * @retval StatusSizeError    `dstLen` is 0.
 */
Status ozrsEncodeZfpInitLong_32f(uint8_t* pDst, uint64_t dstLen, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Sets all four parameters. Any values are taken as they are, and none leads outside a buffer; minBits wins over
 * maxBits. May be called between blocks.
 *
 * @param[in]     minBits  The fewest bits of a block.
 * @param[in]     maxBits  The most bits of a block.
 * @param[in]     maxPrec  The most bit planes of a block; more than 32 are 32.
 * @param[in]     minExp   The exponent of the lowest bit plane.
 * @param[in,out] pState   The state.
 * @retval StatusOk               The parameters are set.
 * @retval StatusNullPointer      `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpSet_32f(uint32_t minBits, uint32_t maxBits, uint32_t maxPrec, int32_t minExp,
                            ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Sets the parameter minExp for an absolute error, and leaves the other three alone. May be called between blocks.
 *
 * @param[in]     tolerance  The largest error allowed; what counts is its binary exponent, so that the error stays
 *                           below the power of two at or below the tolerance. Not above 0, or a NaN: minExp becomes
 *                           -10740, which leaves nothing out.
 * @param[in,out] pState     The state.
 * @retval StatusOk               The parameter is set.
 * @retval StatusNullPointer      `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpSetAccuracy_32f(double tolerance, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Encodes one block. The float (x, y, z) of the block, each of x, y and z from 0 to 3, stands 4 * x + y * `srcStep` +
 * z * `srcPlaneStep` bytes from `pSrc`.
 *
 * @param[in]     pSrc          The first float of the block; any address.
 * @param[in]     srcStep       Distance of rows in bytes; may be negative or 0, and need not be a multiple of 4.
 * @param[in]     srcPlaneStep  Distance of planes in bytes, likewise.
 * @param[in,out] pState        The state.
 * @retval StatusOk               The block was encoded.
 * @retval StatusStreamEnd        A word is to be stored, and less than 8 bytes are left. The words before it are
 *                                stored, and 63 bits of it pending; the stream cannot be continued.
 * @retval StatusNullPointer      `pSrc` or `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfp444_32f(const float* pSrc, int32_t srcStep, int32_t srcPlaneStep, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Ends a stream: writes the bits that are pending, if any. Where 8 bytes are left they become a whole word; otherwise
 * as many bytes are written as they need.
 *
 * @param[in,out] pState  The state.
 * @retval StatusOk               Nothing is pending any more.
 * @retval StatusStreamEnd        Not all bits did fit. What did is written, and counts as written.
 * @retval StatusNullPointer      `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpFlush_32f(ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Tells how many bytes have been written; pending bits do not count.
 *
 * @param[in]  pState  The state.
 * @param[out] pSize   Receives the number, of which the low 32 bits are left.
 * @retval StatusOk               The number was written.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpGetCompressedSize_32f(const ZfpState* pState, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * The same in 64 bits.
 *
 * @param[in]  pState  The state.
 * @param[out] pSize   Receives the number of bytes.
 * @retval StatusOk               The number was written.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpGetCompressedSizeLong_32f(const ZfpState* pState, uint64_t* pSize) OZRDC_NOEXCEPT;

/**
 * Tells how many bits the stream has, those included that are pending.
 *
 * @param[in]  pState    The state.
 * @param[out] pBitSize  Receives the number of bits.
 * @retval StatusOk               The number was written.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsEncodeZfpGetCompressedBitSize_32f(const ZfpState* pState, uint64_t* pBitSize) OZRDC_NOEXCEPT;

/**
 * Tells the size of a `ZfpState`, which both directions share.
 *
 * @param[out] pSize  Receives the size in bytes (576).
 * @retval StatusOk           The size was written.
 * @retval StatusNullPointer  `pSize` is null.
 */
Status ozrsDecodeZfpGetStateSize_32f(int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * Begins to read a stream, with the parameters that a new encoder has.
 *
 * A stream of fixed rate may be entered anywhere: give the address of the word that holds the block's first bit. Blocks
 * of a whole number of words each begin at an address of their own.
 *
 * @param[in]  pSrc    The stream.
 * @param[in]  srcLen  Its length in bytes, at least 1.
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pSrc` or `pState` is null.
 * @retval StatusSizeError    `srcLen` is below 1.
 */
Status ozrsDecodeZfpInit_32f(const uint8_t* pSrc, int32_t srcLen, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * The same with a length of 64 bits.
 *
 * @param[in]  pSrc    The stream.
 * @param[in]  srcLen  Its length in bytes, at least 1.
 * @param[out] pState  The state.
 * @retval StatusOk           The state is ready.
 * @retval StatusNullPointer  `pSrc` or `pState` is null.
 * @retval StatusSizeError    `srcLen` is 0.
 */
Status ozrsDecodeZfpInitLong_32f(const uint8_t* pSrc, uint64_t srcLen, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Sets all four parameters: those of the encoder (see ozrsEncodeZfpSet_32f).
 *
 * @param[in]     minBits  The fewest bits of a block.
 * @param[in]     maxBits  The most bits of a block.
 * @param[in]     maxPrec  The most bit planes of a block.
 * @param[in]     minExp   The exponent of the lowest bit plane.
 * @param[in,out] pState   The state.
 * @retval StatusOk               The parameters are set.
 * @retval StatusNullPointer      `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsDecodeZfpSet_32f(uint32_t minBits, uint32_t maxBits, uint32_t maxPrec, int32_t minExp,
                            ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Sets the parameter minExp for an absolute error (see ozrsEncodeZfpSetAccuracy_32f).
 *
 * @param[in]     tolerance  The tolerance that the encoder was given.
 * @param[in,out] pState     The state.
 * @retval StatusOk               The parameter is set.
 * @retval StatusNullPointer      `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsDecodeZfpSetAccuracy_32f(double tolerance, ZfpState* pState) OZRDC_NOEXCEPT;

/**
 * Decodes one block. Mind that the state is the first argument here. The float (x, y, z) is written 4 * x + y *
 * `dstStep` + z * `dstPlaneStep` bytes from `pDst`.
 *
 * Any bytes may be given: nothing is read outside the stream or written outside the block.
 *
 * @param[in,out] pState        The state.
 * @param[out]    pDst          The first float of the block; any address.
 * @param[in]     dstStep       Distance of rows in bytes; may be negative, and need not be a multiple of 4.
 * @param[in]     dstPlaneStep  Distance of planes in bytes, likewise.
 * @retval StatusOk               The block was decoded.
 * @retval StatusStreamEnd        The stream ends inside the block, all of it has been read, and the 64 floats are
 *                                unspecified.
 * @retval StatusNullPointer      `pDst` or `pState` is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsDecodeZfp444_32f(ZfpState* pState, float* pDst, int32_t dstStep, int32_t dstPlaneStep) OZRDC_NOEXCEPT;

/**
 * Tells how many bytes of the stream have been fetched, bits included that were not used yet.
 *
 * @param[in]  pState  The state.
 * @param[out] pSize   Receives the number, of which the low 32 bits are left.
 * @retval StatusOk               The number was written.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsDecodeZfpGetDecompressedSize_32f(const ZfpState* pState, int32_t* pSize) OZRDC_NOEXCEPT;

/**
 * The same in 64 bits.
 *
 * @param[in]  pState  The state.
 * @param[out] pSize   Receives the number of bytes.
 * @retval StatusOk               The number was written.
 * @retval StatusNullPointer      A pointer is null.
 * @retval StatusContextMismatch  `pState` is no state of a ZFP stream.
 */
Status ozrsDecodeZfpGetDecompressedSizeLong_32f(const ZfpState* pState, uint64_t* pSize) OZRDC_NOEXCEPT;

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* OZRDC_H */
