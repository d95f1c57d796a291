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
 *   memory, opens files, writes logs, starts threads, throws, or keeps a pointer after it has returned.
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

/* ---------------------------------------------------------------------------------------------------------------- */
/** @name Library
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
/** @name Checksums
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
/** @name LZ4 blocks
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
 *                                cut right behind a match, or one byte further. Whether a block is whole shows in its
 *                                length, which the caller has to know, or in `*pSrcLen` of `ozrsDecodeLZ4Dict_8u`.
 * @retval StatusDestinationFull  Literals or a match do not fit. What fits was written; if the source ends inside the
 *                                literals, that may be less than the capacity.
 * @retval StatusSourceExhausted  The source ends inside a sequence: a literal run ends in the last 8 source bytes but
 *                                not at the end, or the bytes of a length or an offset run off the source. (Runs of 25
 *                                to 32 literals whose token stands at least 34 bytes before the source's end are taken
 *                                wherever they end; 33 bytes with a history.)
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
 * @param[in,out] pDstLen     In: capacity in bytes, at least 1. Out: length of the block.
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

#ifdef __cplusplus
}
#endif

#endif /* OZRDC_H */
