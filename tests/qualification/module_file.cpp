#include "module_file.h"

#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>

#include "verdict.h"

namespace qualification {
namespace {

using Handle = std::unique_ptr<Elf, decltype(&elf_end)>;

std::string architectureOf(const GElf_Ehdr& header) {
    static const std::map<int, std::string> kNames = {
        {EM_X86_64, "x86-64"}, {EM_386, "i386"}, {EM_AARCH64, "arm64"}, {EM_ARM, "arm"}};
    const auto name = kNames.find(header.e_machine);
    return (name != kNames.end() ? name->second : "machine " + std::to_string(header.e_machine)) +
           (header.e_ident[EI_CLASS] == ELFCLASS64 ? ", 64 bits" : ", 32 bits");
}

std::string hexadecimal(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += kDigits[static_cast<unsigned char>(byte) >> 4U];
        text += kDigits[static_cast<unsigned char>(byte) & 0xFU];
    }
    return text;
}

/// The build id of a section of notes; "" when it holds none.
std::string buildIdIn(Elf_Data* data) {
    GElf_Nhdr note;
    std::size_t name = 0;
    std::size_t content = 0;
    for (std::size_t at = 0; (at = gelf_getnote(data, at, &note, &name, &content)) > 0;) {
        if (note.n_type != NT_GNU_BUILD_ID) continue;
        return hexadecimal({static_cast<const char*>(data->d_buf) + content, note.n_descsz});
    }
    return "";
}

/// The texts of a section, each once.
std::string textsIn(const Elf_Data* data) {
    const std::string_view all(static_cast<const char*>(data->d_buf), data->d_size);
    std::set<std::string_view> texts;
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = std::min(all.find('\0', begin), all.size());
        if (end > begin) texts.insert(all.substr(begin, end - begin));
        begin = end + 1;
    }
    std::string joined;
    for (const std::string_view text : texts) {
        joined += (joined.empty() ? "" : "; ") + std::string(text);
    }
    return joined;
}

/// What stands before "/privilege/sso.partner" in any text of a section.
std::set<std::string> originsIn(const Elf_Data* data) {
    static constexpr std::string_view kPath = "/privilege/sso.partner";
    const std::string_view bytes(static_cast<const char*>(data->d_buf), data->d_size);
    std::set<std::string> origins;
    for (std::size_t at = bytes.find(kPath); at != std::string::npos;
         at = bytes.find(kPath, at + 1)) {
        std::size_t begin = at;
        while (begin > 0 && std::isgraph(static_cast<unsigned char>(bytes[begin - 1])) != 0) {
            --begin;
        }
        if (begin < at) origins.emplace(bytes.substr(begin, at - begin));
    }
    return origins;
}

void readSection(Elf* elf, Elf_Scn* section, const std::string& name, ModuleFile& file) {
    GElf_Shdr header;
    gelf_getshdr(section, &header);
    Elf_Data* data = elf_getdata(section, nullptr);
    if (header.sh_type == SHT_SYMTAB) file.stripped = false;
    if (data == nullptr || data->d_buf == nullptr) return;
    if (name == ".comment") file.compiler = textsIn(data);
    // Debug data has the identifiers, too.
    if (header.sh_type == SHT_PROGBITS && (header.sh_flags & SHF_ALLOC) != 0) {
        file.origins.merge(originsIn(data));
    }
    if (header.sh_type == SHT_NOTE && file.buildId.empty()) file.buildId = buildIdIn(data);
    const std::size_t entries = header.sh_entsize == 0 ? 0 : header.sh_size / header.sh_entsize;
    for (int i = 0; i < static_cast<int>(entries); ++i) {
        if (header.sh_type == SHT_DYNSYM) {
            GElf_Sym symbol;
            gelf_getsym(data, i, &symbol);
            if (symbol.st_shndx != SHN_UNDEF && GELF_ST_TYPE(symbol.st_info) == STT_FUNC) {
                file.functions.insert(elf_strptr(elf, header.sh_link, symbol.st_name));
            }
        } else if (header.sh_type == SHT_DYNAMIC) {
            GElf_Dyn entry;
            gelf_getdyn(data, i, &entry);
            if (entry.d_tag != DT_NEEDED) continue;
            file.needed.emplace_back(elf_strptr(elf, header.sh_link, entry.d_un.d_val));
        }
    }
}

}  // namespace

ModuleFile readModuleFile(const std::string& path) {
    const auto refuse = [](const std::string& reason) {
        throw Refusal(Verdict::NoModule, "is no module: " + reason);
    };
    if (!std::filesystem::exists(path)) refuse("there is no such file");
    if (std::filesystem::is_directory(path)) refuse("it is a folder");
    std::ifstream stream(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (stream.fail() && bytes.empty()) refuse("it cannot be read");

    elf_version(EV_CURRENT);
    const Handle elf(elf_memory(bytes.data(), bytes.size()), &elf_end);
    GElf_Ehdr header;
    if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF ||
        gelf_getehdr(elf.get(), &header) == nullptr) {
        refuse("it is no ELF file");
    }
    if (header.e_type != ET_DYN) refuse("it is no shared object");

    ModuleFile file;
    file.architecture = architectureOf(header);
    file.stripped = true;
    std::size_t names = 0;
    elf_getshdrstrndx(elf.get(), &names);
    for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf.get(), section)) != nullptr;) {
        GElf_Shdr sectionHeader;
        gelf_getshdr(section, &sectionHeader);
        const char* name = elf_strptr(elf.get(), names, sectionHeader.sh_name);
        readSection(elf.get(), section, name != nullptr ? name : "", file);
    }
    return file;
}

void checkModuleFile(const ModuleFile& file) {
    const std::string own = readModuleFile("/proc/self/exe").architecture;
    if (file.architecture != own) {
        throw Refusal(
            Verdict::OtherArchitecture,
            "is for another architecture: " + file.architecture + "; the tests are for " + own);
    }
    std::string missing;
    for (const char* entry : {"PPP_GetInterface", "PPP_InitializeModule"}) {
        if (file.functions.count(entry) != 0) continue;
        missing += std::string(missing.empty() ? "" : " and no ") + entry;
    }
    if (!missing.empty()) throw Refusal(Verdict::NoModule, "is no module: it has no " + missing);
}

}  // namespace qualification
