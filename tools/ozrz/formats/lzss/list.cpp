// What .lzss files hold. Every block tells its sizes, so nothing is decoded.
#include "formats/lzss/codec.h"
#include "formats/lzss/member_reader.h"
#include "text.h"

namespace ozrz::lzss {

Listing list(Source& source, const DecodeSettings& settings) {
    Listing listing{.check = "crc32c"};
    MemberReader reader(source, settings.warn);
    const uint64_t start = source.position();
    uint64_t blocks = 0;
    while (reader.nextMember()) {
        BlockHeader block;
        while (reader.nextBlock(block)) {
            reader.skipData(block);
            listing.uncompressed += block.size;
            ++blocks;
        }
        listing.compressed = source.position() - start;
    }
    listing.details = countText(blocks, "block");
    if (reader.members() > 1) listing.details += " in " + countText(reader.members(), "member");
    return listing;
}

}  // namespace ozrz::lzss
