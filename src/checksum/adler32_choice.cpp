// Which vectors Adler-32 uses, decided by the dynamic linker as the answers of core/features.cpp are, and for the same
// reasons.

#include <cpuid.h>

#include "checksum/adler32_runs.h"

namespace ozrdc::adler32 {
namespace {

// Whether the processor has AVX2, and the operating system keeps the registers for it.
bool hasAvx2() noexcept {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & bit_OSXSAVE) == 0 || (ecx & bit_AVX) == 0) return false;
    unsigned enabled = 0;
    asm("xgetbv" : "=a"(enabled), "=d"(edx) : "c"(0));
    constexpr unsigned kVectorRegisters = 0b110;  // the lower halves and the upper ones
    if ((enabled & kVectorRegisters) != kVectorRegisters) return false;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_AVX2) != 0;
}

}  // namespace

extern "C" {

using AddAllRuns = size_t (*)(Sums&, const uint8_t*, size_t) noexcept;

// Runs during relocation: see core/features.cpp for what it must do without.
[[gnu::visibility("hidden")]] AddAllRuns resolveAdler32AddAllRuns() noexcept {
    return hasAvx2() ? addAllRuns32 : addAllRuns16;
}

[[gnu::ifunc("resolveAdler32AddAllRuns")]] size_t ozrdcAdler32AddAllRuns(Sums& sums, const uint8_t* p,
                                                                         size_t len) noexcept;
}

}  // namespace ozrdc::adler32
