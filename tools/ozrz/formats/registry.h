// All formats of the command, and the three ways to find one: by name, by suffix, by magic number.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "formats/format.h"

namespace ozrz {

class Registry {
  public:
    Registry();

    const std::vector<std::unique_ptr<Format>>& formats() const { return formats_; }
    const Format& standard() const { return *formats_.front(); }  // for compression where none is named

    // Null where there is none.
    const Format* byName(std::string_view name) const;
    const Format* byMagic(Bytes head) const;

    // The format whose suffix `fileName` has, and that suffix.
    struct Match {
        const Format* format = nullptr;
        Suffix suffix;
    };
    Match bySuffix(std::string_view fileName) const;

    // "lz4, gzip": for messages.
    std::string names() const;

  private:
    std::vector<std::unique_ptr<Format>> formats_;
};

}  // namespace ozrz
