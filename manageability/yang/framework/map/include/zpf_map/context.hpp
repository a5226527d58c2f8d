// SPDX-License-Identifier: Apache-2.0
//
// A host's mapping context: what it hands to plug-ins, where diagnostics go, and who watches. One thread at a time;
// hosts that map in parallel keep one context per thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "zpf/records.h"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// One framework operation that a plug-in has called, with what it was given and what came of it.
struct Operation {
    const char* name;           ///< e.g. "zpf_map_datatree_add_path_flagged"
    const Node* node = nullptr; ///< the node it is about, if any
    uint32_t number = 0;        ///< hierarchy level, or count of entries
    const char* path = nullptr; ///< schema path or list path
    const char* ns = nullptr;
    const char* value = nullptr; ///< value or key value
    const char* key = nullptr;   ///< key leaf or container
    const Node* op_source = nullptr;
    uint32_t list_flag = 0;
    uint32_t leaf_flag = 0;
    uint32_t result = 0; ///< result code, or the answer of a question
};

/// What the host does around the walks.
enum class Phase {
    low_walk,    ///< an OpenConfig request is walked; detail: its entry walker
    native_tree, ///< the walk's native tree is complete; node: its root
    high_walk,   ///< native data are walked; detail: the entry walker; node: the native top node
    probe,       ///< a native entry's keys are mapped back to learn whose it is; node: the keys
    apply,       ///< an edit is applied; node: the native edit tree
    verdict,     ///< something was refused or dropped by the host; detail says what and why
    done,        ///< the walk has ended; result is its code
};

/// Watches a request: the framework's own records of it. Views are good during the call only.
class ZPF_API Observer {
public:
    virtual ~Observer() = default;
    /// A numbered trace line as the plug-in wrote it.
    virtual void line(std::string_view text) { (void)text; }
    virtual void operation(const Operation& op) { (void)op; }
    virtual void phase(Phase phase, std::string_view detail, const Node* node, qerrno result)
    {
        (void)phase, (void)detail, (void)node, (void)result;
    }
};

class ZPF_API Context {
public:
    explicit Context(const Schema* schema = nullptr);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    zpf_map_ctx raw() { return &record_; }

    /// Levels of the debug log (bit n admits level n); `log` from zpf_log_open(), null is standard error.
    void set_log(uint32_t levels, void* log);
    /// Ring for numbered lines, from zpf_trace_ring_open(); null stops tracing.
    void set_trace(void* trace_ring);
    /// Sees all that happens in this context, numbered lines included; null stops. Not owned.
    void observe(Observer* observer);
    Observer* observer() const;

    /// Starts a request: the record is cleared but for its header, all that an earlier one left is forgotten, and what
    /// the framework allocates for trees comes from this arena.
    zpf_map_request& begin(uint32_t operation, std::shared_ptr<Arena> arena);
    /// Between two walks of one request: hierarchy, brackets and error fields are cleared, the request copy stays.
    void next_walk();

    /// Path recorded by zpf_oc_error_path() last, with key predicates; empty when none was. Good while its tree lives.
    std::string error_path() const;

private:
    zpf_map_context record_{};
    zpf_map_request request_{};
    zpf_request_header header_{};
    struct Lines;
    std::unique_ptr<Lines> lines_;
};

} // namespace zpf

extern "C" {
/// Gives back what the framework keeps for a context that a host made itself (zero-initialised, without zpf::Context).
ZPF_API void zpf_map_context_release(zpf_map_ctx ctx);
}
