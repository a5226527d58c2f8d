// SPDX-License-Identifier: Apache-2.0
//
// What the framework keeps behind a context and its request. Everything that points into an output tree is here, so
// that it can follow when an array of children moves.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "zpf/records.h"
#include "zpf_map/context.hpp"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// The open entry of one list of one output tree.
struct CurrentEntry {
    const Node* tree;       ///< the output tree's root
    const SchemaNode* list; ///< which list
    Node* parent;           ///< holds the entry in its children
    Node* entry;
};

} // namespace zpf

/// Brackets of output entries (`list_ctx_current.frames`), innermost last.
struct zpf_list_frames {
    struct Frame {
        std::size_t first;        ///< its entries are held[first] up to the next frame's
        qidl_zpf_datatree* plist; ///< what plist is while it is the innermost
    };
    std::vector<Frame> frames;
    std::vector<zpf::CurrentEntry> held;
};

struct zpf_request_priv {
    std::vector<zpf_node_record> hierarchy;
    std::vector<zpf_itree_record> itree;
    std::vector<zpf::CurrentEntry> fresh; ///< entries opened since their list was made current, not yet held by a frame
    std::vector<const qidl_zpf_datatree*> origins; ///< request nodes that output nodes were made for; number - 1
    zpf_list_frames lists;

    void clear();
};

namespace zpf {

/// A schema path that has been resolved before.
struct KnownPath {
    std::string path;
    std::vector<const SchemaNode*> steps; ///< of the models that the host gave, top node first
};

} // namespace zpf

struct zpf_context_priv {
    const zpf::Schema* schema = nullptr;
    zpf::Schema unknown; ///< nodes of models that the host did not give, as plug-ins have named them
    std::vector<zpf::KnownPath> known_paths; ///< see find_known()
    std::shared_ptr<zpf::Arena> arena = std::make_shared<zpf::Arena>();
    zpf::Observer* observer = nullptr;
    const zpf_map_request* request = nullptr; ///< whose state `request_state` is
    zpf_request_priv request_state;
    std::array<const qidl_zpf_datatree*, 16> error_hierarchy{}; ///< hierarchy when the error path was recorded last
    std::size_t error_depth = 0;
    bool error_recorded = false;
};

namespace zpf {

zpf_context_priv& make_priv(zpf_map_ctx ctx);
zpf_request_priv& adopt_request(zpf_map_ctx ctx);

/// The context's private part, made on first use for contexts that hosts made themselves.
inline zpf_context_priv& priv_of(zpf_map_ctx ctx)
{
    return ctx->priv != nullptr ? *ctx->priv : make_priv(ctx);
}

/// The request's private part, or null without a request. State of an earlier request record is dropped.
inline zpf_request_priv* request_priv_of(zpf_map_ctx ctx)
{
    if (ctx->request == nullptr) {
        return nullptr;
    }
    zpf_context_priv& priv = priv_of(ctx);
    const bool same = priv.request == ctx->request && ctx->request->priv == &priv.request_state;
    return same ? &priv.request_state : &adopt_request(ctx);
}

/// 0 get-config, 10 get; an edit of no validated kind when the context has no request.
inline uint32_t request_kind(zpf_map_ctx ctx)
{
    return ctx->request && ctx->request->header ? ctx->request->header->operation : 0xFFFFFFFFu;
}

inline bool is_read(zpf_map_ctx ctx)
{
    const uint32_t kind = request_kind(ctx);
    return kind == ZPF_REQUEST_GET_CONFIG || kind == ZPF_REQUEST_GET;
}

/// Keeps the first failure of the framework itself, so that a discarded result cannot hide it. Returns the code.
qerrno fail(zpf_map_ctx ctx, qerrno code);

/// Lets what points into [from, from + count) point into the array at `to` instead.
void repoint(zpf_map_ctx ctx, const Node* from, uint32_t count, Node* to);

/// Appends a child to a node of an output tree and re-points what moved.
Node& append_output_child(zpf_map_ctx ctx, Node& parent, const SchemaNode& schema);

/// Removes a child of a node of an output tree; what pointed at it points at `heir` (may be null).
void remove_output_child(zpf_map_ctx ctx, Node& parent, Node* child, Node* heir);

/// Number, from 1, under which a node of the request is kept for the host; 0 for none.
uint32_t request_number(zpf_map_ctx ctx, const Node* node);

/// Tells the watcher, if there is one.
inline void record(zpf_map_ctx ctx, const Operation& op)
{
    if (ctx->priv && ctx->priv->observer) {
        ctx->priv->observer->operation(op);
    }
}

} // namespace zpf
