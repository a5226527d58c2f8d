// SPDX-License-Identifier: Apache-2.0
//
// What the framework knows about the models: for every tag path its namespace, kind and keys.
// The host fills it once from the YANG models and shares it; nothing in here changes afterwards.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_map/api.hpp"

namespace zpf {

enum class NodeKind { container, list, leaf, leaf_list };

/// One schema node. Its strings outlive every tree, so nodes of trees point at them instead of copying.
struct ZPF_API SchemaNode {
    std::string tag;
    std::string ns;     ///< namespace URI
    std::string module; ///< name of the module that defines the node
    NodeKind kind = NodeKind::container;
    bool config = true;            ///< false for operational data
    bool numeric = false;          ///< leaf compared as a number in content matches (decimal64)
    std::vector<std::string> keys; ///< key leaves of a list, in the model's order
    const SchemaNode* parent = nullptr;
    std::vector<std::unique_ptr<SchemaNode>> children;

    const SchemaNode* find(std::string_view child_tag) const;
    bool is_key(std::string_view child_tag) const;
    /// Absolute tag path, e.g. "/interface-configurations/interface-configuration".
    std::string path() const;
};

class ZPF_API Schema {
public:
    Schema();
    ~Schema();
    Schema(Schema&&) noexcept;
    Schema& operator=(Schema&&) noexcept;

    /// Adds a node below `parent` (null: a top node); a node that is there already is returned as it is.
    SchemaNode& add(SchemaNode* parent, SchemaNode node);

    /// The node at an absolute tag path ("prefix:" in front of a step is ignored), or null.
    const SchemaNode* find_path(std::string_view path) const;

    /// The top node with this tag, or null.
    const SchemaNode* find_top(std::string_view tag) const;

    /// Top nodes in the order in which they were added.
    const std::vector<std::unique_ptr<SchemaNode>>& tops() const { return root_->children; }
    bool empty() const { return root_->children.empty(); }

private:
    std::unique_ptr<SchemaNode> root_; // nameless parent of the top nodes; on the heap, so that moves keep addresses
};

} // namespace zpf
