// SPDX-License-Identifier: Apache-2.0
//
// A folder of the test's own, removed with all that is in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace zpf::test {

class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "zpf-base-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        path_ = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored; // a folder that stays behind harms no other test
        std::filesystem::remove_all(path_, ignored);
    }

    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline std::string content_of(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream{path, std::ios::binary}.rdbuf();
    return content.str();
}

inline void write_file(const std::string& path, const std::string& content)
{
    std::ofstream{path, std::ios::binary} << content;
}

} // namespace zpf::test
