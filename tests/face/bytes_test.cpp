// What converts to Bytes and Buffer, and what does not.
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <ozrdc/bytes.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace ozrdc::test {
namespace {

// Reading: everything that lies in one piece and is made of bytes.
static_assert(std::convertible_to<std::vector<std::byte>, Bytes>);
static_assert(std::convertible_to<const std::vector<uint8_t>&, Bytes>);
static_assert(std::convertible_to<std::string, Bytes>);
static_assert(std::convertible_to<std::string_view, Bytes>);
static_assert(std::convertible_to<std::array<signed char, 3>, Bytes>);
static_assert(std::convertible_to<std::span<const std::byte>, Bytes>);
static_assert(std::convertible_to<std::span<char, 4>, Bytes>);
static_assert(std::convertible_to<const unsigned char (&)[4], Bytes>);
static_assert(std::convertible_to<char (&)[4], Bytes>);
static_assert(std::convertible_to<Buffer, Bytes>);
static_assert(std::convertible_to<Bytes, std::span<const std::byte>>);

// A literal's size counts the NUL; larger elements depend on the byte order; a deque lies in several pieces.
static_assert(!std::convertible_to<const char (&)[4], Bytes>);
static_assert(!std::convertible_to<std::vector<int>, Bytes>);
static_assert(!std::convertible_to<std::vector<bool>, Bytes>);
static_assert(!std::convertible_to<std::deque<char>, Bytes>);

// Writing: the same, if it may be written.
static_assert(std::convertible_to<std::vector<std::byte>&, Buffer>);
static_assert(std::convertible_to<std::string&, Buffer>);
static_assert(std::convertible_to<char (&)[4], Buffer>);
static_assert(std::convertible_to<std::span<uint8_t>, Buffer>);
static_assert(!std::convertible_to<const std::vector<std::byte>&, Buffer>);
static_assert(!std::convertible_to<std::string_view, Buffer>);
static_assert(!std::convertible_to<Bytes, Buffer>);

// Handed over in registers, like the spans they are.
static_assert(std::is_trivially_copyable_v<Bytes> && sizeof(Bytes) == sizeof(std::span<const std::byte>));
static_assert(std::is_trivially_copyable_v<Buffer> && sizeof(Buffer) == sizeof(std::span<std::byte>));

TEST(Views, SeeTheSameBytes) {
    std::string text = "text";
    const Bytes bytes = text;
    EXPECT_EQ(static_cast<const void*>(bytes.data()), text.data());
    EXPECT_EQ(bytes.size(), 4U);
    const Buffer buffer = text;
    buffer[0] = std::byte{'n'};
    EXPECT_EQ(text, "next");
    EXPECT_EQ(Bytes(std::string_view("ab")).size(), 2U);
    EXPECT_TRUE(Bytes().empty());
}

// A stream that halves: of every two bytes one comes out, and one at the end if their number is odd.
struct Halving {
    bool odd = false;

    Result<Progress> update(Bytes source, Buffer target) {
        Progress progress;
        for (; progress.consumed < source.size(); ++progress.consumed, odd = !odd) {
            if (!odd) continue;
            if (progress.produced == target.size()) return progress.status = StatusDestinationFull, progress;
            target[progress.produced++] = source[progress.consumed];
        }
        return progress;
    }
    Result<Progress> finish(Buffer target) {
        if (!odd) return Progress{};
        if (target.empty()) return Progress{0, 0, StatusDestinationFull};
        target[0] = std::byte{'.'};
        odd = false;
        return Progress{0, 1, StatusOk};
    }
};
static_assert(Stream<Halving>);

TEST(Streams, ArePumpedThroughRoomOfAnySize) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{100}}) {
        Halving stream;
        std::vector<std::byte> room(size);
        std::string output;
        const auto collect = [&](Bytes made) {
            EXPECT_LE(made.size(), size);
            for (const std::byte b : made) output += std::to_integer<char>(b);
        };
        EXPECT_EQ(update(stream, std::string_view("abcdefghi"), room, collect).value(), 9U);
        EXPECT_TRUE(finish(stream, room, collect));
        EXPECT_EQ(output, "bdfh.");
    }
    Halving stream;
    const auto ignore = [](Bytes) {};
    EXPECT_EQ(update(stream, std::string_view("a"), Buffer(), ignore).status(), StatusSizeError);
    EXPECT_EQ(finish(stream, Buffer(), ignore).status(), StatusSizeError);
}

}  // namespace
}  // namespace ozrdc::test
