// SPDX-License-Identifier: Apache-2.0
//
// The YANG models, loaded once and shared: what libyang needs of them, and what the framework is told of them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zpf_map/schema.hpp"

namespace zpf::bridge {

struct LibyangModels;

/// A module that a host implements beside the mapped models.
struct HostModule {
    std::string name;
    std::string revision;              ///< empty: whichever is found
    std::vector<std::string> features; ///< that are on
};

struct ModelSet {
    std::vector<std::string> directories; ///< every module in these is loaded, and the framework is told of it
    std::vector<std::string> search;      ///< where the host's modules and imports are looked for, too
    std::vector<HostModule> host_modules; ///< loaded after those, for the host alone
    bool yang_library = false;            ///< implements ietf-yang-library
};

/// Immutable once made; threads may share it, as long as each parse or print happens on one thread at a time (libyang
/// keeps its error list per thread).
class Models {
public:
    /// Loads every module that the folders hold. Throws Failure naming the folder or the module.
    explicit Models(const std::vector<std::string>& directories) : Models(ModelSet{directories, {}, {}, false}) {}
    explicit Models(const ModelSet& set);
    ~Models();
    Models(Models&&) noexcept;
    Models& operator=(Models&&) noexcept;

    const Schema& schema() const { return schema_; }
    const LibyangModels& libyang() const { return *libyang_; }

private:
    std::unique_ptr<LibyangModels> libyang_;
    Schema schema_;
};

} // namespace zpf::bridge
