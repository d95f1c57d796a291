// What LZ4 files hold. Frames that tell the size of their content are passed over; the others are decoded and counted.
#include "formats/lz4/codec.h"
#include "text.h"

namespace ozrz::lz4 {
namespace {

std::string describe(const FrameReader& reader) {
    if (reader.legacy()) return "legacy frame";
    const Descriptor& descriptor = reader.descriptor();
    std::string text = "frame of " + sizeText(descriptor.blockSize());
    text += descriptor.independentBlocks ? " independent blocks" : " linked blocks";
    if (descriptor.blockChecksums) text += " with checksums";
    if (descriptor.dictionaryId) text += ", dictionary " + std::to_string(*descriptor.dictionaryId);
    return text;
}

std::string checkName(const FrameReader& reader) {
    return !reader.legacy() && reader.descriptor().contentChecksum ? "xxh32" : "none";
}

}  // namespace

Listing list(Source& source, const DecodeSettings& settings) {
    Listing listing{.check = "none"};
    NullSink nowhere;
    FrameReader reader(source, settings.warn);
    FrameDecoder decoder(reader, nowhere, settings);
    uint64_t declared = 0;
    const uint64_t start = source.position();
    while (reader.nextFrame()) {
        if (reader.frames() == 1) {
            listing.check = checkName(reader);
            listing.details = describe(reader);
        } else if (listing.check != checkName(reader)) {
            listing.check = "mixed";
        }
        if (!reader.descriptor().contentSize) {
            decoder.decodeFrame();
            continue;
        }
        declared += *reader.descriptor().contentSize;
        BlockHeader block;
        while (reader.nextBlock(block)) reader.skipBlock(block);
        if (reader.descriptor().contentChecksum) reader.readContentChecksum();
    }
    if (reader.frames() > 1) listing.details += ", the first of " + countText(reader.frames(), "frame");
    listing.compressed = source.position() - start;
    listing.uncompressed = declared + nowhere.written();
    return listing;
}

}  // namespace ozrz::lz4
