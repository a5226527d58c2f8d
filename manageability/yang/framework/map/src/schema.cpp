// SPDX-License-Identifier: Apache-2.0
//
// Look-up of schema nodes by tag path.
#include "zpf_map/schema.hpp"

#include <algorithm>

#include "path.hpp"

namespace zpf {

const SchemaNode* SchemaNode::find(std::string_view child_tag) const
{
    for (const auto& child : children) {
        // Trees made by the models have their very text; of others, length and first character tell most apart.
        const std::string& own_tag = child->tag;
        const bool alike =
            own_tag.size() == child_tag.size() && !own_tag.empty() && own_tag.front() == child_tag.front();
        if (alike && (own_tag.data() == child_tag.data() || own_tag == child_tag)) {
            return child.get();
        }
    }
    return nullptr;
}

bool SchemaNode::is_key(std::string_view child_tag) const
{
    return std::find(keys.begin(), keys.end(), child_tag) != keys.end();
}

std::string SchemaNode::path() const
{
    return parent == nullptr || tag.empty() ? std::string{} : parent->path() + "/" + tag;
}

Schema::Schema() : root_(std::make_unique<SchemaNode>()) {}
Schema::~Schema() = default;
Schema::Schema(Schema&&) noexcept = default;
Schema& Schema::operator=(Schema&&) noexcept = default;

SchemaNode& Schema::add(SchemaNode* parent, SchemaNode node)
{
    SchemaNode& above = parent ? *parent : *root_;
    for (const auto& child : above.children) {
        if (child->tag == node.tag) {
            return *child;
        }
    }
    node.parent = &above;
    return *above.children.emplace_back(std::make_unique<SchemaNode>(std::move(node)));
}

const SchemaNode* Schema::find_top(std::string_view tag) const
{
    return root_->find(tag);
}

const SchemaNode* Schema::find_path(std::string_view path) const
{
    const SchemaNode* node = root_.get();
    for (PathSteps steps{path}; node != nullptr && !steps.done();) {
        node = node->find(steps.next());
    }
    return node == root_.get() ? nullptr : node;
}

} // namespace zpf
