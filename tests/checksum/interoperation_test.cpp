// The values are those of independent implementations: zlib's and libdeflate's.

#include <gtest/gtest.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstdint>
#include <span>

#include "checksum/every_path.h"
#include "ozrdc.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

using ChecksumInteroperation = EveryPath;
OZRDC_ON_EVERY_PATH(ChecksumInteroperation);

void expectPeersToAgree(std::span<const uint8_t> bytes) {
    const uint8_t* const p = bytes.data();
    uint32_t adler = 1;
    ASSERT_EQ(ozrsAdler32_8u(p, static_cast<int32_t>(bytes.size()), &adler), StatusOk);
    EXPECT_EQ(adler, ::adler32(1, p, static_cast<uInt>(bytes.size())));
    EXPECT_EQ(adler, libdeflate_adler32(1, p, bytes.size()));
    uint32_t crc = 0;
    ASSERT_EQ(ozrsCRC32_8u(p, static_cast<int32_t>(bytes.size()), &crc), StatusOk);
    EXPECT_EQ(crc, ::crc32(0, p, static_cast<uInt>(bytes.size())));
    EXPECT_EQ(crc, libdeflate_crc32(0, p, bytes.size()));
}

TEST_P(ChecksumInteroperation, SampleData) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::vector<uint8_t> bytes = kind.make(300000, 1);
        for (size_t len = 1; len <= bytes.size(); len += 1 + len / 8) expectPeersToAgree(std::span(bytes).first(len));
    }
}

TEST_P(ChecksumInteroperation, RealFiles) {
    const auto files = corpusFiles(8 << 20);
    if (files.empty()) GTEST_SKIP() << "no corpora";
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        expectPeersToAgree(file.bytes);
    }
}

}  // namespace
}  // namespace ozrdc::test
