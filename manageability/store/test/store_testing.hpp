// SPDX-License-Identifier: Apache-2.0
//
// What tests of the store share: folders, contents, children.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>

#include "kelda/store.hpp"

namespace kelda::test {

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

using Content = std::map<std::string, std::string>;

Content content_of(const Reader& reader, std::string_view prefix = {});

/// Puts records into the branches that their keys belong to, and commits.
void fill(Store& store, const Content& content);

/// Keys and values of any bytes, drawn with the generator given; all keys are of the durable branch.
Content random_content(std::mt19937& random, std::size_t records, std::size_t max_value_bytes);

/// Runs the body in a child process; returns what waitpid() says. The child ends with the body's result.
int status_of_child(const std::function<int()>& body);

/// The error that the call throws; a failure of the test, and an error of kind io, when it throws none.
StoreError error_of(const std::function<void()>& call);

/// The error with which opening the folder is refused.
StoreError refusal(const std::string& folder, const Options& options = {});

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& bytes);

} // namespace kelda::test
