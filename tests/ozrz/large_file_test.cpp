// Files over 4 GiB, in bounded memory.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::HasSubstr;

constexpr uint64_t kZeros = (uint64_t{4} << 30) + 12345;
constexpr long kMaxResidentKilobytes = 400'000;  // a tenth of the file; sanitizers need most of it

// Reads a pipe to its end: true if it gives `kZeros` zeros and then `tail`.
bool givesZerosAndTail(int pipe, const std::string& tail) {
    std::vector<char> piece(1 << 20);
    const std::vector<char> zeros(piece.size());
    uint64_t position = 0;
    std::string end;
    for (ssize_t count; (count = ::read(pipe, piece.data(), piece.size())) > 0;) {
        const auto size = static_cast<uint64_t>(count);
        const uint64_t zerosHere = position >= kZeros ? 0 : std::min(size, kZeros - position);
        if (!std::equal(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(zerosHere), zeros.begin()))
            return false;
        end.append(piece.data() + zerosHere, static_cast<std::size_t>(size - zerosHere));
        position += size;
    }
    return end == tail;
}

class LargeFile : public Workspace {
  protected:
    void goThrough(const std::vector<std::string>& options, const std::string& suffix) const;
};

void LargeFile::goThrough(const std::vector<std::string>& options, const std::string& suffix) const {
    const std::string tail = sample("mixed", 100'000);
    const std::string name = path("large").string();
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(pwrite(file, tail.data(), tail.size(), static_cast<off_t>(kZeros)), static_cast<ssize_t>(tail.size()));
    close(file);

    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {"-T2", "large"});
    const Result packed = ozrz(arguments);
    ASSERT_EQ(packed.exitCode, 0) << packed.err;
    EXPECT_LT(packed.maxResidentKilobytes, kMaxResidentKilobytes);
    EXPECT_THAT(ozrz({"-l", "large" + suffix}).out, HasSubstr(std::to_string(kZeros + tail.size()) + " "));

    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    RunningProcess process(ozrzCommand({"-dc", "-T2", "large" + suffix}), {.directory = path("."), .input = {}},
                           ends[1]);
    close(ends[1]);
    EXPECT_TRUE(givesZerosAndTail(ends[0], tail));
    close(ends[0]);
    const Result restored = process.wait();
    EXPECT_EQ(restored.exitCode, 0);
    EXPECT_LT(restored.maxResidentKilobytes, kMaxResidentKilobytes);
}

TEST_F(LargeFile, GoesThroughLz4UnharmedInBoundedMemory) { goThrough({"--content-size"}, ".lz4"); }

TEST_F(LargeFile, GoesThroughGzipUnharmedInBoundedMemory) { goThrough({"-F", "gzip", "-1"}, ".gz"); }

TEST_F(LargeFile, GoesThroughBzip2UnharmedInBoundedMemory) { goThrough({"-F", "bzip2", "-9"}, ".bz2"); }

}  // namespace
}  // namespace ozrz::test
