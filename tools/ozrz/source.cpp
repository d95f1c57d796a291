// Reading forward with a little looking ahead.
#include "source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "error.h"

namespace ozrz {

void Source::advance(uint64_t count) {
    position_.store(position() + count, std::memory_order_relaxed);
    if (observer_) observer_(position());
}

std::size_t Source::takeAhead(MutableBytes into) {
    const std::size_t count = std::min(into.size(), aheadEnd_ - aheadBegin_);
    if (count != 0) std::memcpy(into.data(), ahead_.data() + aheadBegin_, count);
    aheadBegin_ += count;
    return count;
}

std::size_t Source::read(MutableBytes into) {
    std::size_t done = takeAhead(into);
    while (done < into.size()) {
        // Nothing is left ahead here, so all of that buffer may be filled behind the caller's.
        const MutableBytes rest = into.subspan(done);
        const std::size_t count = readSome(rest, ahead_);
        if (count == 0) break;
        aheadBegin_ = 0;
        aheadEnd_ = count - std::min(count, rest.size());
        done += count - aheadEnd_;
    }
    advance(done);
    return done;
}

Bytes Source::peek(std::size_t count) {
    if (aheadEnd_ - aheadBegin_ < count) {
        std::memmove(ahead_.data(), ahead_.data() + aheadBegin_, aheadEnd_ - aheadBegin_);
        aheadEnd_ -= aheadBegin_;
        aheadBegin_ = 0;
        while (aheadEnd_ < count) {
            const std::size_t more = readSome(MutableBytes(ahead_).subspan(aheadEnd_), {});
            if (more == 0) break;
            aheadEnd_ += more;
        }
    }
    return Bytes(ahead_).subspan(aheadBegin_, std::min(count, aheadEnd_ - aheadBegin_));
}

uint64_t Source::skip(uint64_t count) {
    uint64_t done = std::min<uint64_t>(count, aheadEnd_ - aheadBegin_);
    aheadBegin_ += static_cast<std::size_t>(done);
    done += seekForward(count - done);
    while (done < count) {
        if (peek(1).empty()) break;
        const uint64_t step = std::min<uint64_t>(count - done, aheadEnd_ - aheadBegin_);
        aheadBegin_ += static_cast<std::size_t>(step);
        done += step;
    }
    advance(done);
    return done;
}

FileSource::FileSource(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {
    posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);  // a hint: pipes refuse it, and nothing depends on it
}

std::size_t FileSource::readSome(MutableBytes first, MutableBytes second) {
    const std::array<iovec, 2> parts{{{first.data(), first.size()}, {second.data(), second.size()}}};
    for (;;) {
        const ssize_t count = readv(descriptor_, parts.data(), second.empty() ? 1 : 2);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno == EAGAIN) {  // a pipe or terminal that another process has made non-blocking
            pollfd ready{descriptor_, POLLIN, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            throw FileError(name_, "cannot read", errno);
        }
    }
}

uint64_t FileSource::seekForward(uint64_t count) {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    const off_t here = lseek(descriptor_, 0, SEEK_CUR);
    if (here < 0 || here >= status.st_size) return 0;
    const uint64_t step = std::min(count, static_cast<uint64_t>(status.st_size - here));
    return lseek(descriptor_, static_cast<off_t>(step), SEEK_CUR) < 0 ? 0 : step;
}

std::size_t MemorySource::readSome(MutableBytes first, MutableBytes second) {
    std::size_t done = 0;
    for (const MutableBytes part : {first, second}) {
        const std::size_t count = std::min(part.size(), rest_.size());
        if (count != 0) std::memcpy(part.data(), rest_.data(), count);
        rest_ = rest_.subspan(count);
        done += count;
    }
    return done;
}

uint64_t MemorySource::seekForward(uint64_t count) {
    const std::size_t step = static_cast<std::size_t>(std::min<uint64_t>(count, rest_.size()));
    rest_ = rest_.subspan(step);
    return step;
}

}  // namespace ozrz
