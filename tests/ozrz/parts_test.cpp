// Parts of the command that are easier to reach directly: the source's looking ahead, the pipeline's order.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <thread>
#include <vector>

#include "error.h"
#include "formats/deflate/read_ahead.h"
#include "pipeline.h"
#include "source.h"
#include "support/random.h"
#include "text.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

class Parts : public Workspace {};

// Reads, peeks and skips at random and compares with the contents.
void checkRandomReads(Source& source, const std::string& contents, uint64_t stream) {
    ozrdc::test::Random random(stream);
    std::size_t position = 0;
    std::vector<uint8_t> buffer;
    while (position < contents.size()) {
        const std::size_t size = random.below(random.oneIn(4) ? 100'000 : 50);
        const std::size_t left = contents.size() - position;
        if (random.oneIn(3)) {
            const Bytes seen = source.peek(std::min(size, Source::kMaxPeek));
            ASSERT_EQ(seen.size(), std::min({size, Source::kMaxPeek, left}));
            ASSERT_TRUE(
                std::equal(seen.begin(), seen.end(), reinterpret_cast<const uint8_t*>(contents.data()) + position));
        } else if (random.oneIn(3)) {
            ASSERT_EQ(source.skip(size), std::min(size, left));
            position += std::min(size, left);
        } else {
            buffer.resize(size);
            const std::size_t count = source.read(buffer);
            ASSERT_EQ(count, std::min(size, left));
            ASSERT_TRUE(std::equal(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count),
                                   reinterpret_cast<const uint8_t*>(contents.data()) + position));
            position += count;
        }
        ASSERT_EQ(source.position(), position);
    }
    EXPECT_TRUE(source.peek(1).empty());
    EXPECT_EQ(source.skip(10), 0U);
    buffer.resize(10);
    EXPECT_EQ(source.read(buffer), 0U);
}

TEST_F(Parts, SourceGivesTheSameHoweverItIsRead) {
    const std::string contents = sample("mixed", 1'000'000);
    write("a", contents);
    for (uint64_t stream = 1; stream <= 20; ++stream) {
        SCOPED_TRACE(stream);
        MemorySource memory({reinterpret_cast<const uint8_t*>(contents.data()), contents.size()});
        checkRandomReads(memory, contents, stream);
        const int file = open(path("a").c_str(), O_RDONLY | O_CLOEXEC);
        FileSource regular(file, "a");
        checkRandomReads(regular, contents, stream);
        close(file);

        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        std::thread writer([&] {
            for (std::size_t done = 0; done < contents.size();) {
                const ssize_t count =
                    ::write(ends[1], contents.data() + done, std::min<std::size_t>(contents.size() - done, 7001));
                if (count <= 0) break;
                done += static_cast<std::size_t>(count);
            }
            close(ends[1]);
        });
        FileSource piped(ends[0], "pipe");
        checkRandomReads(piped, contents, stream);
        close(ends[0]);
        writer.join();
    }
}

TEST(Pipeline, WritesInOrderWithBoundedBlocksUnderWay) {
    for (const unsigned threads : {1U, 2U, 4U, 16U}) {
        SCOPED_TRACE(threads);
        constexpr int kBlocks = 500;
        const std::size_t slots = pipelineSlots(threads);
        std::vector<int> numbers(slots, -1);
        std::atomic<std::size_t> underWay = 0;
        std::atomic<std::size_t> mostUnderWay = 0;
        int next = 0;
        std::vector<int> written;
        runPipeline(threads, slots,
                    {[&](std::size_t slot) {
                         if (next == kBlocks) return false;
                         EXPECT_EQ(numbers[slot], -1) << "a slot is used again before its block was written";
                         numbers[slot] = next++;
                         mostUnderWay = std::max(mostUnderWay.load(), ++underWay);
                         return true;
                     },
                     [&](std::size_t slot) {
                         volatile int work = numbers[slot] % 7 * 1000;
                         while (work > 0) work = work - 1;
                     },
                     [&](std::size_t slot) {
                         written.push_back(numbers[slot]);
                         numbers[slot] = -1;
                         --underWay;
                     }});
        ASSERT_EQ(written.size(), std::size_t{kBlocks});
        for (int i = 0; i < kBlocks; ++i) EXPECT_EQ(written[static_cast<std::size_t>(i)], i);
        EXPECT_LE(mostUnderWay.load(), slots);
    }
}

TEST(Pipeline, FirstFailureIsThrownAfterWhatCameBefore) {
    for (const unsigned threads : {1U, 2U, 8U}) {
        for (const bool inRead : {true, false}) {
            SCOPED_TRACE(threads);
            const std::size_t slots = pipelineSlots(threads);
            std::vector<int> numbers(slots);
            int next = 0;
            std::vector<int> written;
            const auto failFrom = [](int number) {
                if (number >= 20) throw std::runtime_error("block " + std::to_string(number));
            };
            const PipelineStages stages{[&](std::size_t slot) {
                                            numbers[slot] = next++;
                                            if (inRead) failFrom(numbers[slot]);
                                            return next < 100;
                                        },
                                        [&](std::size_t slot) {
                                            if (!inRead) failFrom(numbers[slot]);
                                        },
                                        [&](std::size_t slot) { written.push_back(numbers[slot]); }};
            std::string message;
            try {
                runPipeline(threads, slots, stages);
            } catch (const std::runtime_error& error) {
                message = error.what();
            }
            EXPECT_EQ(message, "block 20");
            ASSERT_EQ(written.size(), 20U);
            for (int i = 0; i < 20; ++i) EXPECT_EQ(written[static_cast<std::size_t>(i)], i);
        }
    }
}

// Gives so many bytes, and then fails.
class FailingSource final : public Source {
  public:
    explicit FailingSource(std::size_t size) : left_(size) {}

  private:
    std::size_t readSome(MutableBytes first, MutableBytes /*second*/) override {
        if (left_ == 0) throw FileError("a disk", "cannot read", EIO);
        const std::size_t count = std::min({first.size(), left_, std::size_t{10'000}});
        std::fill_n(first.data(), count, uint8_t{7});
        left_ -= count;
        return count;
    }

    std::size_t left_;
};

TEST(ReadAhead, GivesAllOfASourceInOrder) {
    for (const std::size_t size :
         std::initializer_list<std::size_t>{0, 1, 100'000, 131'072, 131'073, 262'144, 3'000'000}) {
        const std::string contents = sample("mixed", size);
        for (const bool ahead : {false, true}) {
            MemorySource source({reinterpret_cast<const uint8_t*>(contents.data()), contents.size()});
            deflate::ReadAhead input(source, ahead);
            std::string all;
            for (Bytes piece = input.next(); !piece.empty(); piece = input.next())
                all.append(piece.begin(), piece.end());
            EXPECT_TRUE(all == contents) << size;
            EXPECT_TRUE(input.next().empty()) << "the end stays the end";
        }
    }
}

TEST(ReadAhead, FailsWhereTheSourceFails) {
    for (const bool ahead : {false, true}) {
        FailingSource source(1'000'000);
        deflate::ReadAhead input(source, ahead);
        std::size_t size = 0;
        EXPECT_THROW(
            {
                for (Bytes piece = input.next(); !piece.empty(); piece = input.next()) size += piece.size();
            },
            FileError);
        EXPECT_EQ(size, 7U * 131'072) << "whole pieces";
    }
}

TEST(ReadAhead, CanBeLeftInTheMiddle) {
    const std::string contents(3'000'000, 'x');
    MemorySource source({reinterpret_cast<const uint8_t*>(contents.data()), contents.size()});
    deflate::ReadAhead input(source, true);
    EXPECT_EQ(input.next().size(), 131'072U);
}

TEST(Text, SizesAndTimesReadWell) {
    EXPECT_EQ(sizeText(0), "0 B");
    EXPECT_EQ(sizeText(1023), "1023 B");
    EXPECT_EQ(sizeText(65536), "64 KiB");
    EXPECT_EQ(sizeText(1500000), "1.43 MiB");
    EXPECT_EQ(sizeText(uint64_t{5} << 30), "5 GiB");
    EXPECT_EQ(durationText(7.4), "0:07");
    EXPECT_EQ(durationText(3753), "1:02:33");
    EXPECT_EQ(rateText(431e6), "431 MB/s");
    EXPECT_EQ(countText(1, "file"), "1 file");
    EXPECT_EQ(countText(2, "file"), "2 files");
    EXPECT_EQ(timeText(1'234'567'890), "2009-02-13 23:31:30 UTC");
    EXPECT_EQ(printableText("a\tb\x1B[c\x7F\xC3\xA9"), "a?b?[c?\xC3\xA9");
}

}  // namespace
}  // namespace ozrz::test
