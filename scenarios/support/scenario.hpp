// SPDX-License-Identifier: Apache-2.0
//
// A scenario is a folder: a client's request, perhaps native data of its own, and the report expected of the run.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zpf::scenarios {

struct Scenario {
    std::filesystem::path folder;

    std::string name() const { return folder.filename(); }
    std::filesystem::path expected() const { return folder / "expected.txt"; }
};

/// The folders below this one that hold a request, sorted by name.
std::vector<Scenario> find_scenarios(const std::filesystem::path& root);

/**
 * Runs a scenario and tells what the plug-in was made to do, what came of it natively, and what the client got.
 *
 * Native data are those of the folder (native.xml or native.json), else those of the folder above. The calls shown are
 * those of a store that hands out what was selected, or, with a file store_hands_out_all in the folder, all it has.
 */
std::string run_scenario(const Scenario& scenario);

/// Text of a file. Throws std::runtime_error naming it.
std::string text_of_file(const std::filesystem::path& file);

} // namespace zpf::scenarios
