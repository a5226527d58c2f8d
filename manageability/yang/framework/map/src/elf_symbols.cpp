// SPDX-License-Identifier: Apache-2.0
//
// Reading of the dynamic symbol table. Every offset is checked: the file may be anything.
#include "elf_symbols.hpp"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace zpf {

namespace {

class ElfFile {
public:
    explicit ElfFile(const std::string& file) : file_(file)
    {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            throw Failure(file + ": cannot be read: " + std::strerror(errno));
        }
        try {
            bytes_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        } catch (const std::ios_base::failure& failure) { // a folder, or a disk that gives up
            throw Failure(file + ": cannot be read: " + failure.what());
        }
        const auto header = at<ElfW(Ehdr)>(0);
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN) {
            throw Failure(file + ": not a shared library");
        }
        header_ = header;
    }

    std::vector<ExportedSymbol> exports() const
    {
        std::vector<ExportedSymbol> result;
        for (std::size_t i = 0; i < header_.e_shnum; ++i) {
            const auto section = this->section(i);
            if (section.sh_type == SHT_DYNSYM) {
                append(section, this->section(section.sh_link), result);
            }
        }
        std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
        return result;
    }

private:
    template <typename T>
    T at(std::size_t offset) const
    {
        T value{};
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) {
            throw Failure(file_ + ": not a shared library, or cut short");
        }
        std::memcpy(&value, bytes_.data() + offset, sizeof(T));
        return value;
    }

    ElfW(Shdr) section(std::size_t index) const { return at<ElfW(Shdr)>(header_.e_shoff + index * sizeof(ElfW(Shdr))); }

    std::string text(const ElfW(Shdr) & strings, std::size_t offset) const
    {
        const std::size_t start = strings.sh_offset + offset;
        const auto end = start < bytes_.size() ? bytes_.find('\0', start) : std::string::npos;
        if (end == std::string::npos) {
            throw Failure(file_ + ": its symbol names are damaged");
        }
        return bytes_.substr(start, end - start);
    }

    void append(const ElfW(Shdr) & symbols, const ElfW(Shdr) & strings, std::vector<ExportedSymbol>& out) const
    {
        for (std::size_t at_byte = 0; at_byte + sizeof(ElfW(Sym)) <= symbols.sh_size; at_byte += sizeof(ElfW(Sym))) {
            const auto symbol = at<ElfW(Sym)>(symbols.sh_offset + at_byte);
            const auto binding = ELF64_ST_BIND(symbol.st_info);
            const auto type = ELF64_ST_TYPE(symbol.st_info);
            if (symbol.st_shndx == SHN_UNDEF || (binding != STB_GLOBAL && binding != STB_WEAK)) {
                continue;
            }
            out.push_back({text(strings, symbol.st_name), nullptr, binding == STB_WEAK, type == STT_FUNC});
        }
    }

    std::string file_;
    std::string bytes_;
    ElfW(Ehdr) header_{};
};

} // namespace

std::vector<ExportedSymbol> read_exports(const std::string& file)
{
    return ElfFile(file).exports();
}

} // namespace zpf
