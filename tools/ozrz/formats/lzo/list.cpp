// What .lzo files hold. Every block tells its sizes, so nothing is decoded.
#include "formats/lzo/codec.h"
#include "text.h"

namespace ozrz::lzo {
namespace {

std::string describe(const Header& header) {
    std::string text = nameOf(header.method) + ", level " + std::to_string(header.level);
    if (header.filter != 0) text += ", filter " + std::to_string(header.filter);
    if (!header.name.empty()) text += ", \"" + printableText(header.name) + "\"";
    if (header.mtime != 0) text += " of " + timeText(header.mtime);
    return text;
}

std::string checkName(const Header& header) {
    const bool adler = header.has(kAdlerOfContent);
    const bool crc = header.has(kCrcOfContent);
    return adler && crc ? "both" : adler ? "adler32" : crc ? "crc32" : "none";
}

}  // namespace

Listing list(Source& source, const DecodeSettings& settings) {
    Listing listing;
    MemberReader reader(source, settings.warn);
    const uint64_t start = source.position();
    while (reader.nextMember()) {
        if (reader.members() == 1) {
            listing.check = checkName(reader.header());
            listing.details = describe(reader.header());
        } else if (listing.check != checkName(reader.header())) {
            listing.check = "mixed";
        }
        BlockHeader block;
        while (reader.nextBlock(block)) {
            reader.skipData(block);
            listing.uncompressed += block.size;
        }
    }
    if (reader.members() > 1) listing.details += ", the first of " + countText(reader.members(), "member");
    listing.compressed = source.position() - start;
    return listing;
}

}  // namespace ozrz::lzo
