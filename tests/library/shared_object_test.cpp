// The shared library as a file: what it exports, what it needs, and how it is hardened.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

#include "shared_object.h"

namespace ozrdc::test {
namespace {

const std::vector<std::string>& exportList() {
    static const std::vector<std::string> names{
#define OZRDC_EXPORT(name) #name,
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
    return names;
}

std::set<std::string> asSet(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

class SharedLibrary : public ::testing::Test {
  protected:
    SharedObject object_{OZRDC_SHARED_LIBRARY};
};

// What only the delivered build promises.
class DeliveredLibrary : public SharedLibrary {
  protected:
    void SetUp() override {
        if (OZRDC_INSTRUMENTED) GTEST_SKIP() << "the library is instrumented";
    }
};

TEST_F(SharedLibrary, ExportsExactlyTheList) { EXPECT_EQ(asSet(object_.exports()), asSet(exportList())); }

// Programs may count on the order of the slots; a new function goes between these.
TEST(ExportList, BeginsWithBlockSortingAndEndsWithAdlerAndTheVersion) {
    const std::vector<std::string>& names = exportList();
    ASSERT_GE(names.size(), 3U);
    EXPECT_EQ(names.front(), "ozrsUnpackHuffContext_BZ2_8u16u");
    EXPECT_EQ(names[names.size() - 2], "ozrsAdler32_8u");
    EXPECT_EQ(names.back(), "ozrdcGetLibVersion");
}

TEST_F(SharedLibrary, CarriesItsNameAndNumber) {
    EXPECT_EQ(object_.dynamicTexts(DT_SONAME), std::vector<std::string>{"libozrdcy8.so.11"});
}

TEST_F(SharedLibrary, EntryPointsAreConsecutiveSlotsInTheOrderOfTheList) {
    const std::unique_ptr<void, int (*)(void*)> library(dlopen(OZRDC_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL), dlclose);
    ASSERT_NE(library, nullptr) << dlerror();
    const uint8_t* previous = nullptr;
    for (const std::string& name : exportList()) {
        const auto* const slot = static_cast<const uint8_t*>(dlsym(library.get(), name.c_str()));
        ASSERT_NE(slot, nullptr) << name;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(slot) % 16, 0U) << name;
        if (previous != nullptr) {
            EXPECT_EQ(slot - previous, 16) << name;
        }
        previous = slot;
        const uint8_t endbr64[] = {0xF3, 0x0F, 0x1E, 0xFA};
        EXPECT_EQ(std::memcmp(slot, endbr64, sizeof endbr64), 0) << name;
        const uint8_t jump = slot[sizeof endbr64];
        EXPECT_TRUE(jump == 0xE9 || jump == 0xEB) << name << ": no direct jump behind the marker";
    }
}

TEST_F(DeliveredLibrary, ImportsOnlyMemoryRoutinesAndTheStackProtectorsEntry) {
    const std::set<std::string> allowed{"memcpy", "memmove", "memset", "memcmp", "strlen", "__stack_chk_fail"};
    for (const std::string& name : object_.imports()) EXPECT_EQ(allowed.count(name), 1U) << name;
}

TEST_F(DeliveredLibrary, NeedsNothingButTheStandardLibraries) {
    const std::set<std::string> allowed{"libc.so.6", "libm.so.6"};
    for (const std::string& name : object_.dynamicTexts(DT_NEEDED)) EXPECT_EQ(allowed.count(name), 1U) << name;
}

TEST_F(DeliveredLibrary, RunsNothingAtLoadAndUnload) {
    for (const Elf64_Sxword tag : {DT_INIT, DT_FINI, DT_INIT_ARRAY, DT_FINI_ARRAY}) {
        EXPECT_FALSE(object_.dynamicValue(tag).has_value()) << "dynamic entry " << tag;
    }
}

TEST_F(DeliveredLibrary, StackIsNotExecutable) {
    const auto stack = std::find_if(object_.segments().begin(), object_.segments().end(),
                                    [](const Elf64_Phdr& s) { return s.p_type == PT_GNU_STACK; });
    ASSERT_NE(stack, object_.segments().end());
    EXPECT_EQ(stack->p_flags & PF_X, 0U);
}

TEST_F(DeliveredLibrary, NoSegmentIsWritableAndExecutable) {
    for (const Elf64_Phdr& segment : object_.segments()) {
        EXPECT_NE(segment.p_flags & (PF_W | PF_X), static_cast<Elf64_Word>(PF_W | PF_X));
    }
    EXPECT_FALSE(object_.dynamicValue(DT_TEXTREL).has_value());
}

TEST_F(DeliveredLibrary, AllIsBoundAtLoad) {
    EXPECT_NE(object_.dynamicValue(DT_FLAGS).value_or(0) & DF_BIND_NOW, 0U);
    EXPECT_NE(object_.dynamicValue(DT_FLAGS_1).value_or(0) & DF_1_NOW, 0U);
}

// No state: whatever is writable in the file is relocated at load and then sealed.
TEST_F(DeliveredLibrary, NothingStaysWritableAfterLoad) {
    const auto sealed = std::find_if(object_.segments().begin(), object_.segments().end(),
                                     [](const Elf64_Phdr& s) { return s.p_type == PT_GNU_RELRO; });
    ASSERT_NE(sealed, object_.segments().end());
    for (const Elf64_Shdr& section : object_.sections()) {
        if ((section.sh_flags & SHF_WRITE) == 0 || section.sh_size == 0) continue;
        EXPECT_GE(section.sh_addr, sealed->p_vaddr) << object_.sectionName(section);
        EXPECT_LE(section.sh_addr + section.sh_size, sealed->p_vaddr + sealed->p_memsz) << object_.sectionName(section);
    }
}

TEST_F(DeliveredLibrary, IsMarkedForControlFlowProtection) {
    EXPECT_NE(object_.x86Features() & GNU_PROPERTY_X86_FEATURE_1_IBT, 0U);
    EXPECT_NE(object_.x86Features() & GNU_PROPERTY_X86_FEATURE_1_SHSTK, 0U);
}

}  // namespace
}  // namespace ozrdc::test
