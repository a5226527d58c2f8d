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

/// Immutable once made; threads may share it, as long as each parse or print happens on one thread at a time (libyang
/// keeps its error list per thread).
class Models {
public:
    /// Loads every module that the folders hold. Throws Failure naming the folder or the module.
    explicit Models(const std::vector<std::string>& directories);
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
