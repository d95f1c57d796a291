// Writes one member: blocks, compressed in parallel, each stored as it is where compression gains nothing.
#include <memory>
#include <ozrdc/checksum.hpp>
#include <ozrdc/lzo.hpp>

#include "formats/lzo/codec.h"
#include "library.h"
#include "pipeline.h"

namespace ozrz::lzo {
namespace {

// What all writers of the format take.
constexpr std::size_t kBlockSize = 256 * KiB;

constexpr int kFastLevel = 1;

constexpr uint32_t kPlainFileMode = 0100644;  // where that of the source is not told

// A block on its way. Both buffers have room in front for the block's header, so that whichever of the two is written
// goes out in one piece.
struct Slot {
    explicit Slot(ozrdc::lzo::Method method)
        : plain(kMaxBlockHeaderSize + kBlockSize),
          compressed(kMaxBlockHeaderSize + ozrdc::lzo::encodedBound(kBlockSize)),
          encoder(expect(ozrdc::lzo::Encoder::create(method), "preparing the LZO encoder")) {}

    Buffer plain;
    std::size_t plainSize = 0;
    Buffer compressed;
    ozrdc::lzo::Encoder encoder;
    Bytes result;
};

void compress(Slot& slot, const Header& header) {
    const Bytes plain(slot.plain.data() + kMaxBlockHeaderSize, slot.plainSize);
    uint8_t* data = slot.compressed.data() + kMaxBlockHeaderSize;
    const MutableBytes room(data, ozrdc::lzo::encodedBound(plain.size()));
    const std::size_t dataSize = expect(slot.encoder.encode(plain, room), "the LZO encoder").size();

    BlockHeader block{.size = plain.size(), .dataSize = dataSize};
    if (header.has(kAdlerOfContent)) block.contentAdler = ozrdc::adler32(plain);
    if (header.has(kCrcOfContent)) block.contentCrc = ozrdc::crc32(plain);
    if (dataSize >= plain.size()) {
        block.dataSize = plain.size();
        data = slot.plain.data() + kMaxBlockHeaderSize;
    } else {
        if (header.has(kAdlerOfData)) block.dataAdler = ozrdc::adler32(Bytes(data, dataSize));
        if (header.has(kCrcOfData)) block.dataCrc = ozrdc::crc32(Bytes(data, dataSize));
    }
    uint8_t* const begin = putBlockHeader(data, block);
    slot.result = {begin, data + block.dataSize};
}

Header headerFor(const Options& options, const EncodeSettings& settings) {
    Header header{.flags = kUnix | (options.crc ? kCrcOfContent : kAdlerOfContent), .mode = kPlainFileMode};
    if (options.dataChecked) header.flags |= options.crc ? kCrcOfData : kAdlerOfData;
    // What the format's own command notes for its levels of these methods.
    if (settings.level == kFastLevel) {
        header.method = Method::lzo1x1Small;
        header.level = 1;
    } else {
        header.method = Method::lzo1x1;
        header.level = 5;
    }
    if (settings.storeName) {
        header.name = settings.source.name;
        header.mtime = settings.source.storableTime();
        // The format's own command gives it to what it extracts: a private file must not become a public one.
        header.mode = settings.source.mode.value_or(kPlainFileMode);
    }
    return header;
}

}  // namespace

void encode(Source& source, Sink& sink, const Options& options, const EncodeSettings& settings) {
    const Header header = headerFor(options, settings);
    sink.write(serialize(header));

    const std::optional<uint64_t> knownSize = settings.source.size;
    const unsigned threads = knownSize && *knownSize <= kBlockSize ? 1 : settings.threads;
    const auto method = settings.level == kFastLevel ? ozrdc::lzo::Method::fast : ozrdc::lzo::Method::standard;
    std::vector<std::unique_ptr<Slot>> slots(pipelineSlots(threads));
    for (auto& slot : slots) slot = std::make_unique<Slot>(method);

    const auto read = [&](std::size_t i) {
        slots[i]->plainSize = source.read({slots[i]->plain.data() + kMaxBlockHeaderSize, kBlockSize});
        return slots[i]->plainSize != 0;
    };
    const auto work = [&](std::size_t i) { compress(*slots[i], header); };
    const auto write = [&](std::size_t i) { sink.write(slots[i]->result); };
    runPipeline(threads, slots.size(), {read, work, write});

    constexpr std::array<uint8_t, sizeof(uint32_t)> kEnd{};
    sink.write(kEnd);
}

}  // namespace ozrz::lzo
