// SPDX-License-Identifier: Apache-2.0
//
// The yardstick: libyang on the same messages, with the same modules.
#pragma once

#include <libyang/libyang.h>

#include <memory>
#include <string>

namespace zpf::bench {

class LibyangReference {
public:
    /// Loads the modules that the mapping speaks about. Throws when one is not there.
    LibyangReference();

    /// An edit: the request is parsed, validated and printed. Its reply is no more than an "ok" and counts nothing.
    void edit(const std::string& request) const;

    /// A get: the reply is parsed, validated and printed; the request is parsed and printed, as a filter is no instance
    /// data that could be validated.
    void get(const std::string& request, const std::string& reply) const;

private:
    struct Destroy {
        void operator()(ly_ctx* context) const noexcept { ly_ctx_destroy(context); }
    };
    std::unique_ptr<ly_ctx, Destroy> context_;
};

/// The one reference of this program.
const LibyangReference& libyang_reference();

} // namespace zpf::bench
