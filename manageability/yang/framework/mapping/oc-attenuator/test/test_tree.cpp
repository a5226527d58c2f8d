// SPDX-License-Identifier: Apache-2.0
//
// Data trees for tests.
#include "test_tree.hpp"

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace test {
namespace {

Spec container(const char* ns, const char* tag, std::vector<Spec> children)
{
    return Spec{tag, std::nullopt, std::move(children), ns};
}

Spec leaf(const char* ns, const char* tag, const char* value)
{
    return Spec{tag, value, {}, ns};
}

} // namespace

Spec oc(const char* tag, std::vector<Spec> children)
{
    return container(ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR, tag, std::move(children));
}
Spec oc(const char* tag, const char* value)
{
    return leaf(ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR, tag, value);
}
Spec ifmgr(const char* tag, std::vector<Spec> children)
{
    return container(ZPF_NS_IFMGR_CFG, tag, std::move(children));
}
Spec ifmgr(const char* tag, const char* value)
{
    return leaf(ZPF_NS_IFMGR_CFG, tag, value);
}
Spec ots(const char* tag, std::vector<Spec> children)
{
    return container(ZPF_NS_CONTROLLER_OTS_CFG, tag, std::move(children));
}
Spec ots(const char* tag, const char* value)
{
    return leaf(ZPF_NS_CONTROLLER_OTS_CFG, tag, value);
}
Spec oper(const char* tag, std::vector<Spec> children)
{
    return container(ZPF_NS_CONTROLLER_OTS_OPER, tag, std::move(children));
}
Spec oper(const char* tag, const char* value)
{
    return leaf(ZPF_NS_CONTROLLER_OTS_OPER, tag, value);
}
Spec foreign(const char* tag)
{
    return container("http://elsewhere.example/ns", tag, {});
}

Tree::Tree(const Spec& spec)
{
    build(root_, spec);
}

char* Tree::keep(const std::optional<std::string>& text)
{
    return text ? texts_.emplace_back(*text).data() : nullptr;
}

void Tree::build(qidl_zpf_datatree& node, const Spec& spec)
{
    node.tag = keep(spec.tag);
    node._data = keep(spec.value);
    node.ns = keep(spec.ns);
    node.edit_op = spec.edit_op;
    node.state_flags =
        static_cast<uint8_t>((spec.is_present ? ZPF_STATE_PRESENT : 0u) | (spec.value ? ZPF_STATE_VALUE : 0u) |
                             (spec.children.empty() ? 0u : ZPF_STATE_SUBTREES));
    if (spec.children.empty()) {
        return;
    }
    auto& array = arrays_.emplace_back(spec.children.size());
    node.subtrees = array.data();
    node.subtree_count = static_cast<uint32_t>(array.size());
    for (std::size_t i = 0; i < array.size(); ++i) {
        build(array[i], spec.children[i]);
    }
}

qidl_zpf_datatree& Tree::at(std::initializer_list<const char*> tags)
{
    qidl_zpf_datatree* node = &root_;
    for (const char* tag : tags) {
        qidl_zpf_datatree* found = nullptr;
        for (uint32_t i = 0; i < node->subtree_count && found == nullptr; ++i) {
            qidl_zpf_datatree& child = node->subtrees[i];
            found = child.tag != nullptr && std::strcmp(child.tag, tag) == 0 ? &child : nullptr;
        }
        if (found == nullptr) {
            std::cerr << "test tree has no node " << tag << '\n';
            std::abort();
        }
        node = found;
    }
    return *node;
}

std::string describe(const qidl_zpf_datatree& node, const std::string& indent)
{
    std::string text = indent + (node.tag != nullptr ? node.tag : "(no tag)");
    text += node._data != nullptr ? " = " + std::string{node._data} : "";
    text += " op" + std::to_string(node.edit_op) + " children " + std::to_string(node.subtree_count);
    text += (node.state_flags & ZPF_STATE_SUBTREES) != 0 ? " flagged" : "";
    text += node.subtrees == nullptr ? " none\n" : " array\n";
    for (uint32_t i = 0; node.subtrees != nullptr && i < node.subtree_count; ++i) {
        text += describe(node.subtrees[i], indent + "  ");
    }
    return text;
}

} // namespace test
