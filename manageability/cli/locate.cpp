// SPDX-License-Identifier: Apache-2.0
//
// Places relative to the program.
#include "locate.hpp"

#include <filesystem>

namespace zpf::cli {

namespace {

std::filesystem::path prefix()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path{"/usr"} : program.parent_path().parent_path();
}

} // namespace

std::string default_plugin()
{
    return prefix() / ZPF_LIB_SUBDIR / "zpf" / "plugins" / "liboc_attenuator.so";
}

std::string default_yang_dir()
{
    return prefix() / "share" / "zpf" / "yang";
}

} // namespace zpf::cli
