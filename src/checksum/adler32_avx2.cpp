// The sums of Adler-32 in vectors of 32 bytes. This file alone is compiled for AVX2, and reached where it is present.

#include "checksum/adler32_sums.h"
#include "checksum/byte_vectors.h"

namespace ozrdc::adler32 {

size_t addAllRuns32(Sums& sums, const uint8_t* p, size_t len) noexcept { return addAllRuns<Bytes32>(sums, p, len); }

}  // namespace ozrdc::adler32
