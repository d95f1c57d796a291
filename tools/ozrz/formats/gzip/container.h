// gzip files: members, each a header, a Deflate stream, and check and size of its content.
#pragma once

#include <ozrdc/checksum.hpp>

#include "formats/deflate/container.h"
#include "formats/gzip/header.h"

namespace ozrz::gzip {

inline constexpr std::size_t kTrailerSize = 8;

class Container final : public deflate::Container {
  public:
    bool open(deflate::BitReader& in) override;
    deflate::Trailer close(deflate::BitReader& in) override;

    uint32_t emptyCheck() const override { return ozrdc::Crc32().value(); }
    uint32_t extendCheck(uint32_t check, Bytes bytes) const override {
        return ozrdc::Crc32(check).update(bytes).value();
    }
    void verify(const deflate::Trailer& trailer, uint32_t check, uint64_t size, uint64_t stream) const override;

    // Of what has been read so far.
    uint64_t members() const { return members_; }
    const Header& firstHeader() const { return firstHeader_; }

  private:
    uint64_t members_ = 0;
    Header firstHeader_;
};

}  // namespace ozrz::gzip
