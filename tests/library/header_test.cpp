// The public header: it serves C11 and C++11 programs, and declares exactly what the library exports.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "ozrdc.h"

extern "C" Status callFromC(const uint8_t* source, int32_t size, uint32_t* crc);
extern "C" const LibraryVersion* versionFromC(void);
Status callFromOldCpp(const uint8_t* source, int32_t size, uint32_t* crc);

namespace ozrdc::test {
namespace {

TEST(Header, FunctionsCanBeCalledFromCAndFromOldCpp) {
    const uint8_t bytes[] = {1, 2, 3};
    uint32_t here = 0;
    uint32_t inC = 0;
    uint32_t inOldCpp = 0;
    EXPECT_EQ(ozrsCRC32_8u(bytes, 3, &here), StatusOk);
    EXPECT_EQ(callFromC(bytes, 3, &inC), StatusOk);
    EXPECT_EQ(callFromOldCpp(bytes, 3, &inOldCpp), StatusOk);
    EXPECT_EQ(inC, here);
    EXPECT_EQ(inOldCpp, here);
    EXPECT_EQ(versionFromC(), ozrdcGetLibVersion());
}

TEST(Header, DeclaresExactlyTheExports) {
    std::ifstream header(OZRDC_HEADER);
    ASSERT_TRUE(header.is_open());
    // A declaration begins a line with its result type; comments are indented or begin with a star or a slash.
    std::set<std::string> declared;
    for (std::string line; std::getline(header, line);) {
        for (const std::string result : {"Status ", "const LibraryVersion* "}) {
            if (line.rfind(result, 0) == 0) {
                declared.insert(line.substr(result.size(), line.find('(') - result.size()));
            }
        }
    }
    const std::set<std::string> exported{
#define OZRDC_EXPORT(name) #name,
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
    EXPECT_EQ(declared, exported);
}

}  // namespace
}  // namespace ozrdc::test
