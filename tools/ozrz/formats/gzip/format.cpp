// gzip as a format of the command: name, suffixes.
#include "formats/gzip/format.h"

#include <iterator>

#include "error.h"
#include "formats/deflate/chunk_encoder.h"
#include "formats/deflate/decode.h"
#include "formats/deflate/encode.h"
#include "formats/deflate/list.h"
#include "formats/gzip/container.h"
#include "text.h"

namespace ozrz {
namespace {

uint8_t extraFlags(const EncodeSettings& settings) {
    if (settings.acceleration != 0 || settings.level == std::begin(deflate::kLevels)[0]) return gzip::kFastest;
    return settings.level == std::end(deflate::kLevels)[-1] ? gzip::kSmallest : 0;
}

// An extra field should consist of subfields: two letters that say whose it is, its length (2), its bytes.
std::string describeExtraField(std::string_view extra) {
    constexpr std::size_t kSubfieldHeader = 4;
    std::string subfields;
    std::string_view rest = extra;
    while (rest.size() >= kSubfieldHeader) {
        const std::size_t size = static_cast<uint8_t>(rest[2]) | std::size_t{static_cast<uint8_t>(rest[3])} << 8;
        if (size > rest.size() - kSubfieldHeader) break;
        if (!subfields.empty()) subfields += ", ";
        subfields += printableText(std::string(rest.substr(0, 2))) + ": " + countText(size, "byte");
        rest.remove_prefix(kSubfieldHeader + size);
    }
    std::string text = "extra field of " + countText(extra.size(), "byte");
    if (rest.empty()) text += " (" + subfields + ")";
    return text;
}

std::string describe(const gzip::Container& container) {
    const gzip::Header& header = container.firstHeader();
    std::string text = "member";
    if (header.name) text += " \"" + printableText(*header.name) + "\"";
    if (header.mtime != 0) text += " of " + timeText(header.mtime);
    if (header.comment) text += ", comment \"" + printableText(*header.comment) + "\"";
    if (!header.extra.empty()) text += ", " + describeExtraField(header.extra);
    if (header.checked) text += ", header checked";
    if (container.members() > 1) text += ", the first of " + countText(container.members(), "member");
    return text;
}

class GzipFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    bool recognizes(Bytes head) const override {
        return head.size() >= 2 && head[0] == gzip::kMagic0 && head[1] == gzip::kMagic1;
    }

    std::optional<OriginalFile> original(Bytes head) const override {
        MemorySource source(head);
        deflate::ReadAhead input(source, false);
        deflate::BitReader in(input);
        try {
            gzip::Container container;
            container.open(in);
            const gzip::Header& header = container.firstHeader();
            OriginalFile file;
            if (header.name) file.name = *header.name;
            if (header.mtime != 0) file.mtime = timespec{static_cast<time_t>(header.mtime), 0};
            return file;
        } catch (const DataError&) {
            return std::nullopt;  // decoding will say what is wrong, if it is not only long
        }
    }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        if (settings.dictionary) throw UsageError("gzip files cannot tell that they need a dictionary; zlib files can");
        gzip::Header header{.extraFlags = extraFlags(settings), .system = gzip::kUnix};
        if (settings.storeName) {
            if (!settings.source.name.empty()) header.name = settings.source.name;
            header.mtime = settings.source.storableTime();
        }
        sink.write(gzip::serialize(header));
        ozrdc::Crc32 crc;
        const uint64_t start = source.position();
        deflate::encode(source, sink, settings, [&](Bytes bytes) { crc.update(bytes); });
        std::array<uint8_t, gzip::kTrailerSize> trailer;
        storeLittleEndian(trailer.data(), crc.value());
        storeLittleEndian(trailer.data() + sizeof crc.value(), static_cast<uint32_t>(source.position() - start));
        sink.write(trailer);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        gzip::Container container;
        deflate::decode(source, sink, container, settings.threads);
        container.warn(settings.warn);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override {
        gzip::Container container;
        Listing listing = deflate::list(source, container, settings.threads);
        container.warn(settings.warn);
        listing.check = "crc32";
        listing.details = describe(container);
        return listing;
    }

  private:
    const FormatDescription description_{
        .name = "gzip",
        .summary = "gzip files: good ratio, read everywhere",
        .suffixes = {{".gz"}, {".tgz", ".tar"}},
        .defaultLevel = deflate::kDefaultLevel,
        .distinctLevels = {std::begin(deflate::kLevels), std::end(deflate::kLevels)},
        .distinctAccelerations = {std::begin(deflate::kAccelerations), std::end(deflate::kAccelerations)},
        .hasFast = true};
};

}  // namespace

std::unique_ptr<Format> makeGzipFormat() { return std::make_unique<GzipFormat>(); }

}  // namespace ozrz
