// The feature query, resolved by the dynamic linker.
//
// The CPUID instruction costs a trap of thousands of cycles in a virtual machine, so it must not run on every call; and
// a result cached on first use would be state that changes after load. An indirect function is neither: while the
// library is being relocated, the linker calls the resolver once, which picks the function whose constant answer
// describes this processor, and the pointer to it is sealed with the other relocations.

#include "core/features.h"

#include <cpuid.h>

namespace {

template <uint64_t present>
uint64_t answer(uint64_t mask) noexcept {
    return present & mask;
}

using Answer = uint64_t (*)(uint64_t) noexcept;

}  // namespace

extern "C" {

// Runs during relocation: it may call nothing that is itself still to be relocated, and a static program has no thread
// storage yet. The build therefore leaves this file without stack protector and without sanitizers.
[[gnu::visibility("hidden")]] Answer resolveOwnGetFeature() noexcept {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) return answer<0>;
    const bool crc32Instruction = (ecx & bit_SSE4_2) != 0;
    const bool carrylessMultiply = (ecx & bit_PCLMUL) != 0;
    using namespace ozrdc;
    if (crc32Instruction && carrylessMultiply) return answer<kFeatureCrc32Instruction | kFeatureCarrylessMultiply>;
    if (crc32Instruction) return answer<kFeatureCrc32Instruction>;
    if (carrylessMultiply) return answer<kFeatureCarrylessMultiply>;
    return answer<0>;
}

[[gnu::ifunc("resolveOwnGetFeature")]] uint64_t ownGetFeature(uint64_t mask) noexcept;
}
