// SPDX-License-Identifier: Apache-2.0
//
// Helpers of the store's tests.
#include "store_testing.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kelda::test {

TemporaryFolder::TemporaryFolder()
{
    path_ = (std::filesystem::temp_directory_path() / "kelda-XXXXXX").string();
    EXPECT_NE(mkdtemp(path_.data()), nullptr);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored; // a folder that stays behind harms no other test
    std::filesystem::remove_all(path_, ignored);
}

Content content_of(const Reader& reader, std::string_view prefix)
{
    Content content;
    std::string last;
    reader.scan(prefix, [&](std::string_view key, std::string_view value) {
        EXPECT_LT(last, key);
        last = key;
        content.emplace(key, value);
        return true;
    });
    return content;
}

void fill(Store& store, const Content& content)
{
    const auto put_all = [&](Transaction txn, bool is_volatile) {
        for (const auto& [key, value] : content) {
            if (key.starts_with(kVolatilePrefix) == is_volatile) {
                txn.put(key, value);
            }
        }
        txn.commit();
    };
    put_all(store.write(), false);
    put_all(store.write_volatile(), true);
}

Content random_content(std::mt19937& random, std::size_t records, std::size_t max_value_bytes)
{
    const auto text = [&](std::size_t max_bytes) {
        std::string bytes(std::uniform_int_distribution<std::size_t>{0, max_bytes}(random), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(std::uniform_int_distribution<int>{0, 255}(random));
        }
        return bytes;
    };
    Content content;
    while (content.size() < records) {
        content.emplace("/config/" + text(kMaxKeyBytes - 8), text(max_value_bytes));
    }
    return content;
}

int status_of_child(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0) {
        int result = 125;
        try {
            result = body();
        } catch (const std::exception& error) {
            const std::string text = std::string{"in the child: "} + error.what() + "\n";
            static_cast<void>(::write(STDERR_FILENO, text.data(), text.size()) > 0);
        }
        _exit(result);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

StoreError error_of(const std::function<void()>& call)
{
    try {
        call();
    } catch (const StoreError& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return {StoreError::Kind::io, ""};
}

StoreError refusal(const std::string& folder, const Options& options)
{
    return error_of([&] { Store::open(folder, options); });
}

std::string read_file(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream{path, std::ios::binary}.rdbuf();
    return content.str();
}

void write_file(const std::string& path, const std::string& bytes)
{
    std::ofstream{path, std::ios::binary} << bytes;
}

} // namespace kelda::test
