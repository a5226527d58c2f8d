// SPDX-License-Identifier: Apache-2.0
//
// Runs client requests through a plug-in: reads are split, mapped to a native selection, answered from native data and
// cut to what was asked for; edits are mapped, checked and applied to a copy. Knows models and names, no device.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zpf_map/context.hpp"
#include "zpf_map/plugin.hpp"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// Why a request was refused, as a client is told (RFC 6241, 4.3).
struct Refusal {
    std::string type = "application"; ///< error-type
    std::string tag;                  ///< error-tag
    std::string app_tag;              ///< error-app-tag: name of the result code, if one was behind it
    std::string path;                 ///< error-path, tags with key predicates
    std::string message;              ///< error-message
    std::string bad_element;          ///< bad-element, or empty
    qerrno code = ZPF_RC_OK;          ///< the walk's result code; 0 when the host itself refused
};

/// Name of a result code, e.g. "ZPF_RC_INVALID_VALUE"; empty for codes that are none.
ZPF_API std::string_view code_name(qerrno code);

/// Native data that reads are answered from and edits are applied to.
class ZPF_API NativeSource {
public:
    virtual ~NativeSource() = default;
    /**
     * Appends to `out` copies of the native data that the selection names; more does no harm, less does.
     * A list entry of the selection with keys names the native entry with these keys, whole; one without any key names
     * none; without an entry in the selection a list is not named; a container without children is named whole.
     */
    virtual void select(const Node& selection, Tree& out) const = 0;
};

/// Native data in a tree; the tree must outlive the source and what was selected from it.
class ZPF_API TreeSource : public NativeSource {
public:
    enum class Answer { selected, everything };
    explicit TreeSource(const Schema& schema, const Node& root, Answer answer = Answer::selected)
        : schema_(schema), root_(root), answer_(answer)
    {}
    void select(const Node& selection, Tree& out) const override;

private:
    const Schema& schema_;
    const Node& root_;
    Answer answer_;
};

struct ReadResult {
    std::optional<Refusal> refusal;
    Tree reply;                   ///< client model; empty when refused
    std::vector<Tree> selections; ///< native request trees, one for each list entry that was asked for
};

struct EditOptions {
    int32_t default_operation = ZPF_OP_MERGE; ///< merge, replace or none
    /// Judges the native data as they would be; a refusal drops the edit. May be empty.
    std::function<std::optional<Refusal>(const Node& after)> validate;
};

struct EditResult {
    std::optional<Refusal> refusal;
    Tree edit;   ///< native edit as the plug-in mapped it, without what leads nowhere
    Tree before; ///< the native data that the edit was applied to
    Tree after;  ///< the same with the edit applied; a copy of `before` when refused
};

/**
 * Immutable and shared between threads; each call needs a context of its own.
 *
 * Request trees have a root without tag and the client model's top nodes below. In an edit a node without an operation
 * of its own carries ZPF_OP_NONE. Native data have the shape of the native models, keys first in every entry.
 */
class ZPF_API Driver {
public:
    /// Both must outlive the driver. Throws Failure when the plug-in lacks an entry walker.
    Driver(const Schema& schema, const Plugin& plugin);

    /// `kind` is ZPF_REQUEST_GET or ZPF_REQUEST_GET_CONFIG. A request without top nodes asks for everything.
    ReadResult read(Context& context, uint32_t kind, const Node* request, const NativeSource& source) const;

    EditResult edit(Context& context, const Node* request, const NativeSource& source,
                    const EditOptions& options) const;

    /// Maps an edit without native data: nothing is applied, and what must or must not be there is not asked.
    EditResult map_edit(Context& context, const Node* request, const EditOptions& options) const;

    const Schema& schema() const { return schema_; }
    const EntryWalkers& walkers() const { return walkers_; }

private:
    const Schema& schema_;
    EntryWalkers walkers_;
};

} // namespace zpf
