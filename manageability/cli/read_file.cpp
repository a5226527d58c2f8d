// SPDX-License-Identifier: Apache-2.0
//
// Reading of input files.
#include "read_file.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "zpf_map/plugin.hpp"

namespace zpf::cli {

std::string read_file(const std::string& file)
{
    if (file == "-") {
        return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
    }
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        throw Failure(file + ": is a folder");
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw Failure(file + ": cannot be read: " + std::strerror(errno));
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace zpf::cli
