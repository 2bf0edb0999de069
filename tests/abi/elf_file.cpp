#include "elf_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace elf {
namespace {

/// The size of a pointer.
constexpr uint64_t kWord = 8;

size_t entries(const GElf_Shdr& header) {
    return header.sh_entsize == 0 ? 0 : header.sh_size / header.sh_entsize;
}

}  // namespace

ElfFile::ElfFile(const std::string& path, const std::string& symbols) {
    if (!symbols.empty()) {
        const ElfFile other(symbols);
        m_symbols = other.m_symbols;
        m_namesAt = other.m_namesAt;
        m_stripped = other.m_stripped;
    }
    elf_version(EV_CURRENT);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const std::unique_ptr<Elf, decltype(&elf_end)> elf(elf_begin(file, ELF_C_READ, nullptr),
                                                       &elf_end);
    if (file < 0 || elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) {
        throw std::runtime_error("no readable ELF file: " + path);
    }
    size_t names = 0;
    elf_getshdrstrndx(elf.get(), &names);
    size_t programHeaders = 0;
    elf_getphdrnum(elf.get(), &programHeaders);
    for (size_t i = 0; i < programHeaders; ++i) {
        GElf_Phdr header;
        m_programHeaders.push_back(*gelf_getphdr(elf.get(), static_cast<int>(i), &header));
    }

    struct Relocation {
        GElf_Rela entry;
        std::string symbol;
    };
    std::vector<Relocation> relocations;
    for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf.get(), section)) != nullptr;) {
        GElf_Shdr header;
        gelf_getshdr(section, &header);
        const std::string sectionName = elf_strptr(elf.get(), names, header.sh_name);
        m_sections[sectionName] = header;
        if (header.sh_type == SHT_SYMTAB) m_stripped = false;
        Elf_Data* data = elf_getdata(section, nullptr);
        if (sectionName == ".comment" && data != nullptr && data->d_buf != nullptr) {
            m_compilers.assign(static_cast<const char*>(data->d_buf), data->d_size);
        }
        for (size_t i = 0; i < entries(header); ++i) {
            const int index = static_cast<int>(i);
            if (header.sh_type == SHT_SYMTAB || header.sh_type == SHT_DYNSYM) {
                GElf_Sym symbol;
                gelf_getsym(data, index, &symbol);
                const std::string name = elf_strptr(elf.get(), header.sh_link, symbol.st_name);
                if (name.empty()) {
                    continue;
                }
                if (header.sh_type == SHT_DYNSYM) {
                    (symbol.st_shndx == SHN_UNDEF ? m_undefined : m_defined).insert(name);
                }
                if (symbol.st_shndx != SHN_UNDEF) {
                    m_symbols[name] = {symbol.st_value, symbol.st_size};
                    m_namesAt[symbol.st_value].insert(name);
                }
            } else if (header.sh_type == SHT_DYNAMIC) {
                GElf_Dyn dynamic;
                gelf_getdyn(data, index, &dynamic);
                m_dynamic.emplace(dynamic.d_tag, dynamic.d_un.d_val);
                const auto tag = dynamic.d_tag;
                if (tag == DT_SONAME || tag == DT_NEEDED || tag == DT_RPATH || tag == DT_RUNPATH) {
                    m_dynamicTexts.emplace(
                        tag, elf_strptr(elf.get(), header.sh_link, dynamic.d_un.d_val));
                }
            } else if (header.sh_type == SHT_RELA) {
                GElf_Rela relocation;
                gelf_getrela(data, index, &relocation);
                GElf_Shdr symbols;
                Elf_Scn* symbolSection = elf_getscn(elf.get(), header.sh_link);
                gelf_getshdr(symbolSection, &symbols);
                GElf_Sym symbol{};
                gelf_getsym(elf_getdata(symbolSection, nullptr),
                            static_cast<int>(GELF_R_SYM(relocation.r_info)), &symbol);
                relocations.push_back(
                    {relocation, elf_strptr(elf.get(), symbols.sh_link, symbol.st_name)});
            }
        }
    }
    for (const Relocation& relocation : relocations) {
        auto& functions = m_relocated[relocation.entry.r_offset];
        if (GELF_R_TYPE(relocation.entry.r_info) == R_X86_64_RELATIVE) {
            functions = m_namesAt[static_cast<uint64_t>(relocation.entry.r_addend)];
        } else {
            functions.insert(relocation.symbol);
        }
    }
    close(file);
}

std::vector<std::string> ElfFile::dynamicTexts(int64_t tag) const {
    std::vector<std::string> texts;
    const auto range = m_dynamicTexts.equal_range(tag);
    for (auto found = range.first; found != range.second; ++found) {
        texts.push_back(found->second);
    }
    return texts;
}

uint64_t ElfFile::dynamicValue(int64_t tag) const {
    const auto found = m_dynamic.find(tag);
    return found == m_dynamic.end() ? 0 : found->second;
}

const GElf_Phdr* ElfFile::programHeader(uint32_t type) const {
    for (const GElf_Phdr& header : m_programHeaders) {
        if (header.p_type == type) {
            return &header;
        }
    }
    return nullptr;
}

bool ElfFile::isRelro(const std::string& section) const {
    const GElf_Phdr* relro = programHeader(PT_GNU_RELRO);
    const auto found = m_sections.find(section);
    return relro != nullptr && found != m_sections.end() &&
           found->second.sh_addr >= relro->p_vaddr &&
           found->second.sh_addr + found->second.sh_size <= relro->p_vaddr + relro->p_memsz;
}

std::vector<std::set<std::string>> ElfFile::virtualSlots(const std::string& vtableSymbol) const {
    const auto table = m_symbols.find(vtableSymbol);
    if (table == m_symbols.end()) {
        return {};
    }
    // The first two words are the offset to the top and the type.
    const uint64_t begin = table->second.address;
    return pointees(begin + 2 * kWord, begin + table->second.size);
}

std::vector<std::set<std::string>> ElfFile::functionList(const std::string& section) const {
    const auto found = m_sections.find(section);
    if (found == m_sections.end()) {
        return {};
    }
    const uint64_t begin = found->second.sh_addr;
    return pointees(begin, begin + found->second.sh_size);
}

std::set<std::string> ElfFile::symbols() const {
    std::set<std::string> names;
    for (const auto& [name, symbol] : m_symbols) {
        names.insert(name);
    }
    return names;
}

std::set<std::string> ElfFile::pointee(const std::string& symbol, uint64_t offset) const {
    const auto found = m_symbols.find(symbol);
    if (found == m_symbols.end()) {
        return {};
    }
    const uint64_t pointer = found->second.address + offset;
    return pointees(pointer, pointer + kWord).front();
}

std::vector<std::set<std::string>> ElfFile::pointees(uint64_t begin, uint64_t end) const {
    std::vector<std::set<std::string>> names;
    for (uint64_t pointer = begin; pointer < end; pointer += kWord) {
        const auto found = m_relocated.find(pointer);
        names.push_back(found != m_relocated.end() ? found->second : std::set<std::string>());
    }
    return names;
}

}  // namespace elf
