// Formats of the command, called directly: for tests of so many files that processes would take too long.
#pragma once

#include <string>
#include <vector>

#include "formats/format.h"

namespace ozrz::test {

const Format& formatNamed(const std::string& name);

std::string encodeWith(const std::string& format, const std::string& contents, const EncodeSettings& settings);

struct Decoded {
    std::string contents;  // also what came before an error
    std::string error;     // empty: there was none
    std::vector<std::string> warnings;
};

Decoded decodeWith(const std::string& format, const std::string& data, DecodeSettings settings = {});

Bytes bytesOf(const std::string& text);

}  // namespace ozrz::test
