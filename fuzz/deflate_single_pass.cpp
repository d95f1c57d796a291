// Encodes arbitrary bytes in a single pass, with the fixed code and with one prepared from other bytes, in one call and
// cut into arbitrary ones: the streams must be the same, and decode to the source.
//
// Input: seed of cuts and table (4 bytes), sizes of window and hash table (2 each), flags (1), size of the sample that
// a code is prepared from (1), the sample, the source.

#include <algorithm>

#include "deflate/single_pass_check.h"
#include "fuzz_input.h"

namespace {

using namespace ozrdc::test;
using namespace ozrdc::test::deflate;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

enum Flags : uint8_t { kPreparedCode = 1, kGarbageInTable = 2, kRepeated = 4, kGuardInFront = 8 };

void requireThat(const ::testing::AssertionResult& result) { require(result, result.message()); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto seed = input.take<uint32_t>();
    Random random(seed);
    const Sizes sizes{256 + input.take<uint16_t>() % std::size_t{32513},
                      256 + input.take<uint16_t>() % std::size_t{65281}};
    const auto flags = input.take<uint8_t>();
    const std::size_t sampleSize = std::min<std::size_t>(input.take<uint8_t>(), input.rest().size());
    const ByteView sample = input.rest().first(sampleSize);
    const ByteView bytes = input.rest().subspan(sampleSize);
    Bytes source(bytes.begin(), bytes.end());
    if ((flags & kRepeated) != 0 && !source.empty()) {
        for (std::size_t i = 0; source.size() < 4000; ++i)
            source.push_back(static_cast<uint8_t>(source[i] + (i % 300 == 0)));
    }

    const PreparedCode prepared(sample);
    const PreparedCode* const code = (flags & kPreparedCode) != 0 ? &prepared : nullptr;
    const Guard guard = (flags & kGuardInFront) != 0 ? Guard::Before : Guard::After;
    Encoder whole(sizes, code, guard);
    Encoder cut(sizes, code, guard);
    if ((flags & kGarbageInTable) != 0) {
        for (std::size_t i = 0; i < sizes.hashes; ++i) {
            const auto entry = static_cast<int32_t>(random.oneIn(3) ? random.next() : random.below(source.size() + 1));
            whole.hashes()[i] = cut.hashes()[i] = entry;
        }
    }
    requireThat(whole.encodesWhole(source));
    const auto decoded = inflateStream(whole.stream());
    require(decoded && *decoded == source, "the stream decodes to the source");

    const uint64_t mostBytes = 1 + random.below(uint64_t{1} << random.below(13));
    const uint64_t mostRoom = 1 + random.below(uint64_t{1} << random.below(13));
    std::size_t given = 0;
    for (std::size_t spare = 0;;) {
        given = std::min(source.size(), given + random.below(mostBytes + 1));
        const bool last = given == source.size();
        const std::size_t consumed = cut.consumedInAll();
        const std::size_t room = 1 + random.below(mostRoom) + spare;
        requireThat(cut.encodes(ByteView(source).first(given).subspan(consumed), room, last ? 2 : 0,
                                random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart, random.below(4)));
        if (cut.status() == StatusOk && last) break;
        if (cut.status() != StatusOk) spare = cut.consumedInAll() > consumed ? 0 : 2 * spare + 1;
        require(spare < 100000, "more room helps");
    }
    // With garbage in the table a cut may decide whether an entry is history or not.
    if ((flags & kGarbageInTable) == 0) {
        require(cut.bits() == whole.bits() && cut.stream() == whole.stream(), "cuts make no difference");
    }
    const auto again = inflateStream(cut.stream());
    require(again && *again == source, "the cut stream decodes to the source");
    return 0;
}
