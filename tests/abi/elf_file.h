#ifndef ABI_ELF_FILE_H_
#define ABI_ELF_FILE_H_

#include <gelf.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace elf {

/// What the tests want to know of a shared object, read from the file.
class ElfFile {
  public:
    /// @param symbols  a file that holds the symbols which the file was stripped of; "" for none.
    /// @throws std::runtime_error  when one of them is no readable ELF file.
    explicit ElfFile(const std::string& path, const std::string& symbols = "");

    /// Mangled names of the dynamic symbols.
    std::set<std::string> definedSymbols() const { return m_defined; }
    std::set<std::string> undefinedSymbols() const { return m_undefined; }

    /// Values of a dynamic tag; text for DT_SONAME, DT_NEEDED, DT_RPATH and DT_RUNPATH.
    std::vector<std::string> dynamicTexts(int64_t tag) const;
    /// 0 when the tag is missing.
    uint64_t dynamicValue(int64_t tag) const;

    /// The program header of that type, if there is one.
    const GElf_Phdr* programHeader(uint32_t type) const;
    /// Whether a section's pages are part of the read-only-after-relocation segment.
    bool isRelro(const std::string& section) const;

    /// The functions in the slots of a class's virtual table, each as all the names that its
    /// address has. Empty when the file was stripped of the table's symbol.
    std::vector<std::set<std::string>> virtualSlots(const std::string& vtableSymbol) const;

    /// The functions of a list that the loader runs, ".init_array" or ".fini_array", as
    /// virtualSlots(). Local functions have no name when the file was stripped.
    std::vector<std::set<std::string>> functionList(const std::string& section) const;

    /// Mangled names of all symbols that are defined, local ones included; only the dynamic ones
    /// when the file was stripped.
    std::set<std::string> symbols() const;
    /// The names of what a pointer in a variable refers to, as the loader fills it in.
    ///
    /// @param offset  of the pointer, in bytes.
    std::set<std::string> pointee(const std::string& symbol, uint64_t offset) const;

    bool isStripped() const { return m_stripped; }
    /// What the compilers wrote into it; "" when that was cut out.
    const std::string& compilers() const { return m_compilers; }

  private:
    struct Symbol {
        uint64_t address;
        uint64_t size;
    };

    /// Of the pointers from `begin` to before `end`.
    std::vector<std::set<std::string>> pointees(uint64_t begin, uint64_t end) const;

    std::set<std::string> m_defined;
    std::set<std::string> m_undefined;
    std::map<std::string, Symbol> m_symbols;
    std::map<uint64_t, std::set<std::string>> m_namesAt;
    std::map<uint64_t, std::set<std::string>> m_relocated;  ///< by the address of the slot
    std::multimap<int64_t, uint64_t> m_dynamic;
    std::multimap<int64_t, std::string> m_dynamicTexts;
    std::map<std::string, GElf_Shdr> m_sections;
    std::vector<GElf_Phdr> m_programHeaders;
    std::string m_compilers;
    bool m_stripped = true;
};

}  // namespace elf

#endif
