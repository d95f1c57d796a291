// The list of formats.
#include "formats/registry.h"

#include "formats/bzip2/format.h"
#include "formats/deflate/format.h"
#include "formats/gzip/format.h"
#include "formats/lz4/format.h"
#include "formats/lzo/format.h"
#include "formats/lzss/format.h"
#include "formats/zfp/format.h"
#include "formats/zlib/format.h"

namespace ozrz {

// Where magic numbers are tried, the surer ones come first.
Registry::Registry() {
    formats_.push_back(makeLz4Format());
    formats_.push_back(makeGzipFormat());
    formats_.push_back(makeBzip2Format());
    formats_.push_back(makeLzoFormat());
    formats_.push_back(makeLzssFormat());
    formats_.push_back(makeZfpFormat());
    formats_.push_back(makeZlibFormat());
    formats_.push_back(makeDeflateFormat());
}

const Format* Registry::byName(std::string_view name) const {
    for (const auto& format : formats_) {
        if (format->description().name == name) return format.get();
    }
    return nullptr;
}

const Format* Registry::byMagic(Bytes head) const {
    for (const auto& format : formats_) {
        if (format->recognizes(head)) return format.get();
    }
    return nullptr;
}

Registry::Match Registry::bySuffix(std::string_view fileName) const {
    for (const auto& format : formats_) {
        for (const Suffix& suffix : format->description().suffixes) {
            // A name that is all suffix, such as ".lz4", is a hidden file and has none.
            const std::size_t base = fileName.rfind('/') + 1;
            if (fileName.size() > base + suffix.text.size() && fileName.ends_with(suffix.text)) {
                return {format.get(), suffix};
            }
        }
    }
    return {};
}

std::string Registry::names() const {
    std::string all;
    for (const auto& format : formats_) {
        if (!all.empty()) all += ", ";
        all += format->description().name;
    }
    return all;
}

}  // namespace ozrz
