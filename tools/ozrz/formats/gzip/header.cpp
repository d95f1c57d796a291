// Writing and reading gzip headers.
#include "formats/gzip/header.h"

#include <ozrdc/checksum.hpp>

#include "error.h"
#include "text.h"

namespace ozrz::gzip {
namespace {

constexpr uint8_t kMethodDeflate = 8;

// Flags. The lowest says that the content may be text, which makes no difference.
constexpr unsigned kHeaderCheck = 1 << 1;
constexpr unsigned kExtraField = 1 << 2;
constexpr unsigned kName = 1 << 3;
constexpr unsigned kComment = 1 << 4;
constexpr unsigned kReserved = 0xE0;

constexpr std::size_t kMaxKeptText = 4 * KiB;

// Takes the bytes of a header and keeps their check.
class HeaderBytes {
  public:
    explicit HeaderBytes(deflate::BitReader& in) : in_(in) {
        add(kMagic0);
        add(kMagic1);
    }

    uint8_t take() {
        const uint8_t byte = in_.takeByte();
        add(byte);
        return byte;
    }

    template <typename Word>
    Word takeLittleEndian() {
        Word value = 0;
        for (unsigned i = 0; i < sizeof(Word); ++i) value = static_cast<Word>(value | Word{take()} << (8 * i));
        return value;
    }

    std::string takeText() {
        std::string text;
        while (const uint8_t byte = take()) {
            if (text.size() < kMaxKeptText) text += static_cast<char>(byte);
        }
        return text;
    }

    uint16_t check() const { return static_cast<uint16_t>(crc_.value()); }

  private:
    void add(uint8_t byte) { crc_.update(Bytes(&byte, 1)); }

    deflate::BitReader& in_;
    ozrdc::Crc32 crc_;
};

void appendText(std::vector<uint8_t>& bytes, const std::optional<std::string>& text) {
    if (!text) return;
    bytes.insert(bytes.end(), text->begin(), text->end());
    bytes.push_back(0);
}

}  // namespace

std::vector<uint8_t> serialize(const Header& header) {
    const unsigned flags = (header.name ? kName : 0) | (header.comment ? kComment : 0);
    std::vector<uint8_t> bytes{kMagic0, kMagic1, kMethodDeflate, static_cast<uint8_t>(flags), 0, 0, 0, 0};
    storeLittleEndian(bytes.data() + 4, header.mtime);
    bytes.push_back(header.extraFlags);
    bytes.push_back(header.system);
    appendText(bytes, header.name);
    appendText(bytes, header.comment);
    return bytes;
}

Header readHeader(deflate::BitReader& in) {
    in.setPlace("a gzip header");
    HeaderBytes bytes(in);
    const uint8_t method = bytes.take();
    if (method != kMethodDeflate) {
        throw DataError("a gzip header names the unknown compression method " + std::to_string(method));
    }
    const unsigned flags = bytes.take();
    if ((flags & kReserved) != 0) throw DataError("a gzip header has reserved flags set");

    Header header;
    header.mtime = bytes.takeLittleEndian<uint32_t>();
    header.extraFlags = bytes.take();
    header.system = bytes.take();
    if ((flags & kExtraField) != 0) {
        header.extra.resize(bytes.takeLittleEndian<uint16_t>());
        for (char& byte : header.extra) byte = static_cast<char>(bytes.take());
    }
    if ((flags & kName) != 0) header.name = bytes.takeText();
    if ((flags & kComment) != 0) header.comment = bytes.takeText();
    header.checked = (flags & kHeaderCheck) != 0;
    if (header.checked) {
        const uint16_t computed = bytes.check();
        const auto stored = in.takeLittleEndian<uint16_t>();
        if (stored != computed) {
            throw DataError("a gzip header is damaged: its checksum is " + hexText(computed) + ", but should be " +
                            hexText(stored));
        }
    }
    return header;
}

}  // namespace ozrz::gzip
