// Writing out, all of it or an error.
#include "sink.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "error.h"

namespace ozrz {

void FileSink::writeAll(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {  // a pipe or terminal that another process has made non-blocking
            pollfd ready{descriptor_, POLLOUT, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            throw FileError(name_, "cannot write", errno);
        }
    }
}

void MemorySink::writeAll(Bytes bytes) {
    const auto used = static_cast<std::size_t>(written());
    if (bytes.size() > buffer_.size() - used) {
        Buffer larger(std::max(2 * buffer_.size(), used + bytes.size()));
        if (used != 0) std::memcpy(larger.data(), buffer_.data(), used);
        buffer_ = std::move(larger);
    }
    if (!bytes.empty()) std::memcpy(buffer_.data() + used, bytes.data(), bytes.size());
}

}  // namespace ozrz
