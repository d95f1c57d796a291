// Around the blocks of code in the C++ headers: what their reader has, and a look at what they have done.
#include <array>
#include <cstdio>
#include <optional>
#include <ozrdc.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace {

const std::string text(1000, 'x');

bool encodesABlock() {
    std::string stored;
    const auto fail = [](std::string_view) { return false; };
    const auto store = [&](ozrdc::Buffer piece) {
        stored.assign(reinterpret_cast<const char*>(piece.data()), piece.size());
    };
    //! ozrdc.hpp 1
    std::string back(text.size(), '\0');
    return ozrdc::lz4::decode(stored, back) && back == text;
}

bool decodesAStream() {
    std::vector<std::byte> stream(ozrdc::deflate::encodedBound(text.size()));
    stream.resize(ozrdc::deflate::encode(text, stream).value().size());
    std::size_t received = 0;
    const auto receive = [&]() -> std::optional<ozrdc::Bytes> {
        if (received == stream.size()) return std::nullopt;
        return ozrdc::Bytes(stream).subspan(received++, 1);
    };
    std::string back;
    const auto write = [&](ozrdc::Bytes piece) {
        back.append(reinterpret_cast<const char*>(piece.data()), piece.size());
    };
    {
        //! ozrdc.hpp 2
    }
    return back == text;
}

bool livesInAnArena() {
    //! ozrdc/place.hpp 1
    return encoder.has_value();
}

bool givesAResult() {
    std::array<std::byte, 2000> buffer;
    std::size_t sent = 0, logged = 0;
    const auto send = [&](ozrdc::Bytes block) { sent = block.size(); };
    const auto log = [&](std::string_view message) { logged = message.size(); };
    //! ozrdc/result.hpp 1
    return sent > 0 && logged == 0;
}

}  // namespace

int main() {
    const bool good[] = {encodesABlock(), decodesAStream(), livesInAnArena(), givesAResult()};
    for (const bool one : good) {
        if (!one) return std::puts("a block does not do what it says"), 1;
    }
}
