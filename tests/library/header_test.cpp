// The public header: it serves C11 and C++11 programs, and declares exactly what the library exports.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
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
    std::ifstream stream(OZRDC_HEADER);
    ASSERT_TRUE(stream.is_open());
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    const std::regex declaration(R"(\n(?:Status|const LibraryVersion\*) (\w+)\()");
    std::set<std::string> declared;
    for (auto i = std::sregex_iterator(text.begin(), text.end(), declaration); i != std::sregex_iterator(); ++i) {
        declared.insert((*i)[1]);
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
