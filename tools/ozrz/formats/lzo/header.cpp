// Writing and reading headers.
#include "formats/lzo/header.h"

#include <algorithm>
#include <limits>
#include <ozrdc/checksum.hpp>

#include "error.h"
#include "text.h"

namespace ozrz::lzo {
namespace {

// Versions of the program whose format this is. Its oldest versions wrote shorter headers.
constexpr uint16_t kVersion = 0x1040;
constexpr uint16_t kLibraryVersion = 0x20A0;
constexpr uint16_t kNeeded = 0x0940;         // with nothing that came later
constexpr uint16_t kNeededForCrc = 0x1001;   // with CRC-32 of blocks
constexpr uint16_t kOldestVersion = 0x0940;  // whose headers are as above

constexpr uint32_t kMaxFilter = 16;
constexpr std::size_t kMaxNameSize = 255;

template <typename Word>
void append(std::vector<uint8_t>& bytes, Word value) {
    bytes.resize(bytes.size() + sizeof value);
    storeBigEndian(bytes.data() + bytes.size() - sizeof value, value);
}

// Takes the bytes of a header and keeps both of their checks.
class Fields {
  public:
    explicit Fields(Source& source) : source_(source) {}

    template <typename Word>
    Word take() {
        std::array<uint8_t, sizeof(Word)> bytes;
        read(bytes);
        return loadBigEndian<Word>(bytes.data());
    }

    void read(MutableBytes into) {
        if (source_.read(into) != into.size()) throw DataError("truncated: the data end inside an lzop header");
        adler_.update(into);
        crc_.update(into);
    }

    // Compares the check that follows with that of what was taken, and begins anew behind it.
    void check(bool crc, const char* what) {
        const uint32_t computed = crc ? crc_.value() : adler_.value();
        const auto stored = take<uint32_t>();
        if (stored != computed) {
            throw DataError(std::string(what) + " is damaged: its checksum is " + hexText(computed) +
                            ", but should be " + hexText(stored));
        }
        adler_ = {};
        crc_ = {};
    }

  private:
    Source& source_;
    ozrdc::Adler32 adler_;
    ozrdc::Crc32 crc_;
};

void skipExtraField(Fields& fields, bool crc) {
    std::array<uint8_t, 4 * KiB> piece;
    for (uint32_t left = fields.take<uint32_t>(); left != 0;) {
        const std::size_t count = std::min<std::size_t>(left, piece.size());
        fields.read(MutableBytes(piece).first(count));
        left -= static_cast<uint32_t>(count);
    }
    fields.check(crc, "the extra field of an lzop header");
}

}  // namespace

std::string nameOf(Method method) {
    switch (method) {
        case Method::lzo1x1:
            return "LZO1X-1";
        case Method::lzo1x1Small:
            return "LZO1X-1(15)";
        case Method::lzo1x999:
            return "LZO1X-999";
    }
    return "";
}

std::vector<uint8_t> serialize(const Header& header) {
    std::vector<uint8_t> bytes(kMagic.begin(), kMagic.end());
    append(bytes, kVersion);
    append(bytes, kLibraryVersion);
    append(bytes, header.has(kCrcOfContent | kCrcOfData) ? kNeededForCrc : kNeeded);
    append(bytes, static_cast<uint8_t>(header.method));
    append(bytes, header.level);
    append(bytes, header.flags);
    append(bytes, header.mode);
    append(bytes, header.mtime);
    append(bytes, uint32_t{0});  // the upper half of the time
    const std::size_t nameSize = header.name.size() <= kMaxNameSize ? header.name.size() : 0;
    append(bytes, static_cast<uint8_t>(nameSize));
    bytes.insert(bytes.end(), header.name.begin(), header.name.begin() + static_cast<std::ptrdiff_t>(nameSize));
    append(bytes, ozrdc::adler32(Bytes(bytes).subspan(kMagic.size())));
    return bytes;
}

bool beginsMember(Bytes head) {
    return head.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), head.begin());
}

Header readHeader(Source& source) {
    Fields fields(source);
    const auto version = fields.take<uint16_t>();
    if (version < kOldestVersion) {
        throw DataError("an lzop header has the version " + hexText(version) + ", which is too old");
    }
    fields.take<uint16_t>();  // the writer's library: makes no difference
    const auto needed = fields.take<uint16_t>();
    if (needed > kVersion) throw DataError("an lzop header needs the unknown version " + hexText(needed));

    Header header;
    header.method = static_cast<Method>(fields.take<uint8_t>());
    if (nameOf(header.method).empty()) {
        throw DataError("an lzop header names the unknown compression method " +
                        std::to_string(static_cast<unsigned>(header.method)));
    }
    header.level = fields.take<uint8_t>();
    header.flags = fields.take<uint32_t>();
    if (header.has(kFilter)) header.filter = fields.take<uint32_t>();
    header.mode = fields.take<uint32_t>();
    header.mtime = fields.take<uint32_t>();
    if (fields.take<uint32_t>() != 0) header.mtime = 0;  // no time that a file could have
    header.name.resize(fields.take<uint8_t>());
    fields.read({reinterpret_cast<uint8_t*>(header.name.data()), header.name.size()});
    fields.check(header.has(kHeaderCrc), "an lzop header");

    if (header.has(kSplit)) throw DataError("it is one of several parts of a file, which are not put together here");
    if (header.filter > kMaxFilter) {
        throw DataError("an lzop header names the unknown filter " + std::to_string(header.filter));
    }
    if (header.has(kExtraField)) skipExtraField(fields, header.has(kHeaderCrc));
    return header;
}

uint8_t* putBlockHeader(uint8_t* end, const BlockHeader& block) {
    const auto put = [&](uint32_t value) {
        end -= sizeof value;
        storeBigEndian(end, value);
    };
    // From the back to the front.
    for (const std::optional<uint32_t>& check :
         {block.dataCrc, block.dataAdler, block.contentCrc, block.contentAdler}) {
        if (check) put(*check);
    }
    put(static_cast<uint32_t>(block.dataSize));
    put(static_cast<uint32_t>(block.size));
    return end;
}

}  // namespace ozrz::lzo
