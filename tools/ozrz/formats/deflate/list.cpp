// Listing by decoding to nowhere.
#include "formats/deflate/list.h"

#include "formats/deflate/decode.h"

namespace ozrz::deflate {

Listing list(Source& source, Container& container, unsigned threads) {
    const uint64_t start = source.position();
    NullSink nowhere;
    decode(source, nowhere, container, threads);
    Listing listing;
    listing.compressed = source.position() - start;
    listing.uncompressed = nowhere.written();
    return listing;
}

}  // namespace ozrz::deflate
