// Listing by decoding to nowhere.
#include "formats/deflate/list.h"

#include "formats/deflate/decode.h"

namespace ozrz::deflate {

Listing list(Source& source, Container& container, unsigned threads) {
    NullSink nowhere;
    Listing listing;
    listing.compressed = decode(source, nowhere, container, threads);
    listing.uncompressed = nowhere.written();
    return listing;
}

}  // namespace ozrz::deflate
