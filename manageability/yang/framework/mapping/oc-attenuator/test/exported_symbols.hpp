// SPDX-License-Identifier: Apache-2.0
//
// The exported symbols of the plug-in, read from its file.
#ifndef OC_ATTENUATOR_EXPORTED_SYMBOLS_HPP
#define OC_ATTENUATOR_EXPORTED_SYMBOLS_HPP

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace test {

struct ExportedSymbol {
    std::string name;
    bool is_weak;
    bool is_function;
    uint64_t address;
};

/** All symbols that the file defines for others, sorted by name; those of the compiler's runtimes left out. */
std::vector<ExportedSymbol> exported_symbols(const std::string& file);

/** Names of the plug-in's exported functions with one of these beginnings. */
std::vector<std::string> exported_names(std::initializer_list<const char*> beginnings);

} // namespace test

#endif
