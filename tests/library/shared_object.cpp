// See the header. The file is a trusted product of this build; reads are still checked against its size.
#include "shared_object.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace ozrdc::test {

template <typename T>
T SharedObject::at(uint64_t offset) const {
    if (offset + sizeof(T) > file_.size()) throw std::runtime_error("ELF structure behind the end of the file");
    T value;
    std::memcpy(&value, file_.data() + offset, sizeof value);
    return value;
}

template <typename T>
std::vector<T> SharedObject::table(uint64_t offset, uint64_t count) const {
    std::vector<T> entries;
    for (uint64_t i = 0; i < count; ++i) entries.push_back(at<T>(offset + i * sizeof(T)));
    return entries;
}

std::string SharedObject::textAt(uint64_t offset) const {
    return file_.substr(offset, file_.find('\0', offset) - offset);
}

const Elf64_Shdr* SharedObject::sectionOfType(Elf64_Word type) const {
    for (const Elf64_Shdr& section : sections_) {
        if (section.sh_type == type) return &section;
    }
    return nullptr;
}

SharedObject::SharedObject(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    file_.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    header_ = at<Elf64_Ehdr>(0);
    if (std::memcmp(header_.e_ident, ELFMAG, SELFMAG) != 0 || header_.e_ident[EI_CLASS] != ELFCLASS64 ||
        header_.e_type != ET_DYN) {
        throw std::runtime_error(path + " is not a 64-bit ELF shared object");
    }
    segments_ = table<Elf64_Phdr>(header_.e_phoff, header_.e_phnum);
    sections_ = table<Elf64_Shdr>(header_.e_shoff, header_.e_shnum);

    const Elf64_Shdr* const dynamic = sectionOfType(SHT_DYNAMIC);
    const Elf64_Shdr* const symbols = sectionOfType(SHT_DYNSYM);
    if (dynamic == nullptr || symbols == nullptr) throw std::runtime_error(path + " has no dynamic section");
    dynamic_ = table<Elf64_Dyn>(dynamic->sh_offset, dynamic->sh_size / sizeof(Elf64_Dyn));
    dynamicStrings_ = sections_.at(dynamic->sh_link).sh_offset;

    for (const Elf64_Sym& symbol : table<Elf64_Sym>(symbols->sh_offset, symbols->sh_size / sizeof(Elf64_Sym))) {
        if (ELF64_ST_BIND(symbol.st_info) == STB_LOCAL) continue;
        const std::string name = textAt(sections_.at(symbols->sh_link).sh_offset + symbol.st_name);
        (symbol.st_shndx == SHN_UNDEF ? imports_ : exports_).push_back(name);
    }
}

std::vector<std::string> SharedObject::dynamicTexts(Elf64_Sxword tag) const {
    std::vector<std::string> texts;
    for (const Elf64_Dyn& entry : dynamic_) {
        if (entry.d_tag == tag) texts.push_back(textAt(dynamicStrings_ + entry.d_un.d_val));
    }
    return texts;
}

std::optional<uint64_t> SharedObject::dynamicValue(Elf64_Sxword tag) const {
    for (const Elf64_Dyn& entry : dynamic_) {
        if (entry.d_tag == tag) return entry.d_un.d_val;
    }
    return std::nullopt;
}

std::string SharedObject::sectionName(const Elf64_Shdr& section) const {
    return textAt(sections_.at(header_.e_shstrndx).sh_offset + section.sh_name);
}

uint32_t SharedObject::x86Features() const {
    constexpr uint32_t kNameSize = 4;  // "GNU", padded
    for (const Elf64_Shdr& section : sections_) {
        if (sectionName(section) != ".note.gnu.property") continue;
        const auto note = at<Elf64_Nhdr>(section.sh_offset);
        uint64_t offset = section.sh_offset + sizeof note + kNameSize;
        const uint64_t end = offset + note.n_descsz;
        while (note.n_type == NT_GNU_PROPERTY_TYPE_0 && offset < end) {
            const auto type = at<uint32_t>(offset);
            const auto size = at<uint32_t>(offset + 4);
            if (type == GNU_PROPERTY_X86_FEATURE_1_AND) return at<uint32_t>(offset + 8);
            offset += 8 + (uint64_t{size} + 7) / 8 * 8;
        }
    }
    return 0;
}

}  // namespace ozrdc::test
