// SPDX-License-Identifier: Apache-2.0
//
// Runs zpf as a user does, from the outside.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zpf::scenarios {

struct Outcome {
    int status = -1; ///< exit status; negative: ended by a signal
    std::string out;
    std::string err;
};

void PrintTo(const Outcome& outcome, std::ostream* os);

/// A folder of this test's own, gone with all it holds at the end.
class Workbench {
public:
    Workbench();
    ~Workbench();
    Workbench(const Workbench&) = delete;
    Workbench& operator=(const Workbench&) = delete;

    /// Writes a file and returns its path.
    std::string file(const std::string& name, const std::string& text) const;
    const std::filesystem::path& folder() const { return folder_; }

    /// Runs zpf with these arguments. It may use a bounded time of the processor, past which it is killed.
    Outcome zpf(const std::vector<std::string>& arguments, const std::string& input = {}) const;

private:
    std::filesystem::path folder_;
};

} // namespace zpf::scenarios
