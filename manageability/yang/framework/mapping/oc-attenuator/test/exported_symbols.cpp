// SPDX-License-Identifier: Apache-2.0
//
// Reading the dynamic symbol table of a 64-bit ELF file.
#include "exported_symbols.hpp"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>

namespace test {
namespace {

template <typename Record>
Record record_at(const std::string& bytes, std::size_t offset)
{
    Record record;
    std::memcpy(&record, bytes.substr(offset, sizeof record).data(), sizeof record);
    return record;
}

bool is_of_a_runtime(const std::string& name)
{
    constexpr const char* kRuntimes[] = {"__asan", "__ubsan", "__sanitizer", "__odr_asan",
                                         "__gcov", "_fini",   "_init",       "mangle_path"};
    return std::any_of(std::begin(kRuntimes), std::end(kRuntimes),
                       [&](const char* runtime) { return name.rfind(runtime, 0) == 0; });
}

} // namespace

std::vector<ExportedSymbol> exported_symbols(const std::string& file)
{
    std::ifstream stream{file, std::ios::binary};
    const std::string bytes{std::istreambuf_iterator<char>{stream}, {}};
    const auto header = record_at<Elf64_Ehdr>(bytes, 0);
    const auto section = [&](std::size_t index) {
        return record_at<Elf64_Shdr>(bytes, header.e_shoff + index * sizeof(Elf64_Shdr));
    };
    std::vector<ExportedSymbol> symbols;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr table = section(i);
        if (table.sh_type != SHT_DYNSYM) {
            continue;
        }
        const Elf64_Shdr names = section(table.sh_link);
        for (std::size_t at = 0; at < table.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = record_at<Elf64_Sym>(bytes, table.sh_offset + at);
            const std::string name = bytes.data() + names.sh_offset + symbol.st_name;
            if (symbol.st_shndx != SHN_UNDEF && !name.empty() && !is_of_a_runtime(name)) {
                symbols.push_back({name, ELF64_ST_BIND(symbol.st_info) == STB_WEAK,
                                   ELF64_ST_TYPE(symbol.st_info) == STT_FUNC, symbol.st_value});
            }
        }
    }
    std::sort(symbols.begin(), symbols.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return symbols;
}

std::vector<std::string> exported_names(std::initializer_list<const char*> beginnings)
{
    std::vector<std::string> names;
    for (const ExportedSymbol& symbol : exported_symbols(OC_ATTENUATOR_PLUGIN)) {
        for (const char* beginning : beginnings) {
            if (symbol.is_function && symbol.name.rfind(beginning, 0) == 0) {
                names.push_back(symbol.name);
            }
        }
    }
    return names;
}

} // namespace test
