// The C++20 face of the library: everything that ozrdc.h declares, as C++ programs like to have it. Header-only.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
/**
 * @file
 * @brief Includes all of the C++ face. Each header of `ozrdc/` may also be included alone.
 *
 * | header             | namespace          | what                                                                    |
 * | ------------------ | ------------------ | ----------------------------------------------------------------------- |
 * | ozrdc/checksum.hpp | ozrdc              | `crc32`, `crc32c`, `crc32Bz2`, `adler32`, and classes to go on with     |
 * | ozrdc/lz4.hpp      | ozrdc::lz4         | blocks: alone, linked, with dictionary, at high compression             |
 * | ozrdc/deflate.hpp  | ozrdc::deflate     | raw Deflate streams; match search, codes, bits                          |
 * | ozrdc/inflate.hpp  | ozrdc::inflate     | decoding them, in pieces of any size                                    |
 * | ozrdc/lzo.hpp      | ozrdc::lzo         | LZO1X streams                                                           |
 * | ozrdc/lzss.hpp     | ozrdc::lzss        | LZSS streams                                                            |
 * | ozrdc/bz2.hpp      | ozrdc::bz2         | the stages of bzip2                                                     |
 * | ozrdc/zfp.hpp      | ozrdc::zfp         | lossy blocks of floats                                                  |
 * | ozrdc/result.hpp   | ozrdc              | `Result`, `Progress`, `message`, std::error_code                        |
 * | ozrdc/bytes.hpp    | ozrdc              | `Bytes`, `Buffer`, the concept `Stream`                                 |
 * | ozrdc/place.hpp    | ozrdc              | `Place`: states on the heap or in memory of the caller's                |
 *
 * **In.** Functions take `Bytes` to read and `Buffer` to write: std::span of std::byte, to which vectors, strings,
 * arrays and spans of any byte type convert.
 *
 * **Out.** They give a `Result`: a value, or the `Status` that says why there is none. The value of an encoder or
 * decoder is the part of the buffer that was written.
 *
 * @code
 * std::vector<std::byte> block(ozrdc::lz4::encodedBound(text.size()));
 * const auto encoded = ozrdc::lz4::encode(text, block);
 * if (!encoded) return fail(ozrdc::message(encoded.status()));
 * store(*encoded);
 * @endcode
 *
 * **Streams** are classes with `update` and `finish`, which take source and room in pieces of any size:
 *
 * @code
 * auto decoder = ozrdc::inflate::Decoder::create().value();   // throws std::system_error without memory
 * std::array<std::byte, 4096> room;
 * while (const auto piece = receive()) {
 *     ozrdc::update(decoder, *piece, room, write).value();     // calls write(Bytes) as often as needed
 * }
 * ozrdc::finish(decoder, room, write).value();                 // fails if the stream was cut
 * @endcode
 *
 * **States** are made by factories, `create`, which can fail, on the heap or where a `Place` says. The objects own them
 * and can be moved, at the cost of a pointer; the state stays where it is. Where none is left behind, as in an object
 * that was moved from or default-constructed, calls fail with `StatusNullPointer`.
 *
 * **Exceptions.** Nothing throws but `Result::value` without a value; in programs without exceptions that aborts.
 * Nothing allocates but factories without a place, and deflate::encode.
 *
 * **Costs.** A call compiles to the C call, and checks of what the types of its lengths can express.
 */
#ifndef OZRDC_HPP
#define OZRDC_HPP

#include "ozrdc.h"
#include "ozrdc/bytes.hpp"
#include "ozrdc/bz2.hpp"
#include "ozrdc/checksum.hpp"
#include "ozrdc/deflate.hpp"
#include "ozrdc/inflate.hpp"
#include "ozrdc/lz4.hpp"
#include "ozrdc/lzo.hpp"
#include "ozrdc/lzss.hpp"
#include "ozrdc/place.hpp"
#include "ozrdc/result.hpp"
#include "ozrdc/zfp.hpp"

/// @defgroup face C++: results, views, states
///
/// What the families of the C++ face have in common: `Result` and `Progress` come out, `Bytes` and `Buffer` go in, a
/// `Place` says where states live, and a `Stream` takes its source in pieces.

/// The C++20 face of the library; see the page of ozrdc.hpp.
namespace ozrdc {
inline namespace v11 {

/// The version record of the library.
/// @ingroup library
[[nodiscard]] inline const LibraryVersion& version() noexcept { return *ozrdcGetLibVersion(); }

}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_HPP
