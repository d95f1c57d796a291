// Pairs of functions, one written with the C calls and one with the face. cost_test.sh compares what they are compiled
// to.
#include <ozrdc.hpp>

namespace {

using Source = std::span<const std::byte>;
using Target = std::span<std::byte>;

const uint8_t* raw(Source source) { return reinterpret_cast<const uint8_t*>(source.data()); }
uint8_t* raw(Target target) { return reinterpret_cast<uint8_t*>(target.data()); }

}  // namespace

extern "C" {

uint32_t c_crc32(Source source) {
    uint32_t crc = 0;
    constexpr std::size_t longest = std::size_t{1} << 30;
    while (!source.empty()) {
        const std::size_t size = std::min(source.size(), longest);
        ozrsCRC32_8u(raw(source), static_cast<int32_t>(size), &crc);
        source = source.subspan(size);
    }
    return crc;
}
uint32_t face_crc32(Source source) { return ozrdc::crc32(source); }

std::size_t c_lz4_decode(Source source, Target target) {
    auto size = static_cast<int32_t>(target.size());
    if (ozrsDecodeLZ4_8u(raw(source), static_cast<int32_t>(source.size()), raw(target), &size) != StatusOk) return 0;
    return static_cast<std::size_t>(size);
}
std::size_t face_lz4_decode(Source source, Target target) {
    const auto decoded = ozrdc::lz4::decode(source, target);
    return decoded ? decoded->size() : 0;
}

std::size_t c_lzo_encode(Source source, Target target, LZOState* state) {
    auto size = static_cast<uint32_t>(target.size());
    if (ozrsEncodeLZO_8u(raw(source), static_cast<uint32_t>(source.size()), raw(target), &size, state) != StatusOk)
        return 0;
    return size;
}
std::size_t face_lzo_encode(Source source, Target target, ozrdc::lzo::Encoder& encoder) {
    const auto encoded = encoder.encode(source, target);
    return encoded ? encoded->size() : 0;
}

std::size_t c_lzss_decode(Source source, Target target, LZSSState* state) {
    const uint8_t* from = raw(source);
    uint8_t* to = raw(target);
    auto left = static_cast<int32_t>(source.size());
    auto room = static_cast<int32_t>(target.size());
    if (ozrsDecodeLZSS_8u(&from, &left, &to, &room, state) < 0) return 0;
    return static_cast<std::size_t>(to - raw(target));
}
std::size_t face_lzss_decode(Source source, Target target, ozrdc::lzss::Decoder& decoder) {
    const auto progress = decoder.update(source, target);
    return progress ? progress->produced : 0;
}

Status c_zfp_encode(const float* block, int32_t row, int32_t plane, ZfpState* state) {
    return ozrsEncodeZfp444_32f(block, row, plane, state);
}
Status face_zfp_encode(const float* block, int32_t row, int32_t plane, ozrdc::zfp::Encoder& encoder) {
    return encoder.encode(block, {row, plane}).status();
}

}  // extern "C"
