// Reads what an ELF shared object says of itself: symbols, dynamic entries, segments, properties.
#pragma once

#include <elf.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ozrdc::test {

class SharedObject {
  public:
    // Reads the file; throws if it is not a 64-bit ELF shared object.
    explicit SharedObject(const std::string& path);

    // Names of the dynamic symbols that the object defines, and of those that it needs.
    const std::vector<std::string>& exports() const { return exports_; }
    const std::vector<std::string>& imports() const { return imports_; }

    // Texts of the dynamic entries with that tag (DT_NEEDED, DT_SONAME).
    std::vector<std::string> dynamicTexts(Elf64_Sxword tag) const;

    // Value of the first dynamic entry with that tag.
    std::optional<uint64_t> dynamicValue(Elf64_Sxword tag) const;

    const std::vector<Elf64_Phdr>& segments() const { return segments_; }
    const std::vector<Elf64_Shdr>& sections() const { return sections_; }
    std::string sectionName(const Elf64_Shdr& section) const;

    // The features of x86 processors that all of its code is marked as ready for (GNU_PROPERTY_X86_FEATURE_1_AND).
    uint32_t x86Features() const;

  private:
    template <typename T>
    T at(uint64_t offset) const;
    template <typename T>
    std::vector<T> table(uint64_t offset, uint64_t count) const;
    std::string textAt(uint64_t offset) const;
    const Elf64_Shdr* sectionOfType(Elf64_Word type) const;

    std::string file_;
    Elf64_Ehdr header_{};
    std::vector<Elf64_Phdr> segments_;
    std::vector<Elf64_Shdr> sections_;
    std::vector<Elf64_Dyn> dynamic_;
    uint64_t dynamicStrings_ = 0;
    std::vector<std::string> exports_;
    std::vector<std::string> imports_;
};

}  // namespace ozrdc::test
