// What stands around Deflate streams in a file: headers, checks, and how one stream follows another.
#pragma once

#include <functional>

#include "formats/deflate/bit_reader.h"

namespace ozrz::deflate {

// What stands behind a stream about its content.
struct Trailer {
    uint32_t check = 0;
    uint32_t size = 0;  // modulo 2^32
};

class Container {
  public:
    Container() = default;
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    virtual ~Container() = default;

    // Reads what stands in front of the next stream, up to it; false if there is none. Throws DataError.
    virtual bool open(BitReader& in) = 0;

    // What that stream may refer to before its own bytes; holds until the next open().
    virtual Bytes dictionary() const { return {}; }

    // Reads what stands behind the stream. Throws DataError.
    virtual Trailer close(BitReader& in) = 0;

    // The check of the content. These are called on another thread, for streams that are closed or still open.
    virtual uint32_t emptyCheck() const = 0;
    virtual uint32_t extendCheck(uint32_t check, Bytes bytes) const = 0;

    // Compares. `stream` counts from 1. Throws DataError.
    virtual void verify(const Trailer& trailer, uint32_t check, uint64_t size, uint64_t stream) const = 0;

    // Passes on what is odd but no error. Call it when all threads are done.
    void warn(const std::function<void(const std::string&)>& take) const {
        if (!warning_.empty()) take(warning_);
    }

  protected:
    // Bytes from `position` on belong to no stream.
    void noteGarbage(uint64_t position) {
        warning_ = "trailing garbage ignored: the bytes from " + std::to_string(position) + " on are in no known form";
    }

  private:
    std::string warning_;
};

// "the content" or, of later streams, "the content of member 3": for messages.
std::string contentName(uint64_t stream);

}  // namespace ozrz::deflate
