// SPDX-License-Identifier: Apache-2.0
//
// Finds the marks by walking all implemented models once.
#include "marks.hpp"

#include <string_view>

namespace zpf::agent {

namespace {

unsigned own_marks(const lysc_node& node)
{
    unsigned marks = 0;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(node.exts, i)
    {
        const lysc_ext* extension = node.exts[i].def;
        if (std::string_view(extension->module->name) != "ietf-netconf-acm") {
            continue;
        }
        const std::string_view name = extension->name;
        marks |= name == "default-deny-write" ? kDenyWrite : 0U;
        marks |= name == "default-deny-all" ? kDenyAll : 0U;
    }
    return marks;
}

} // namespace

Marks::Marks(const ly_ctx& ctx)
{
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&ctx, &index)) {
        if (module->implemented == 0) {
            continue;
        }
        lysc_module_dfs_full(
            module,
            [](lysc_node* node, void* self, ly_bool*) {
                static_cast<Marks*>(self)->note(*node);
                return LY_SUCCESS;
            },
            this);
    }
}

void Marks::note(const lysc_node& node)
{
    const unsigned inherited = node.parent == nullptr ? 0U : of(*node.parent) & (kDenyWrite | kDenyAll);
    const unsigned marks = own_marks(node) | inherited;
    if (marks != 0) {
        marks_[&node] |= static_cast<uint8_t>(marks);
    }
    if ((marks & kDenyAll) == 0) {
        return;
    }
    for (const lysc_node* above = &node; above != nullptr && (of(*above) & kBelow) == 0; above = above->parent) {
        marks_[above] |= static_cast<uint8_t>(kBelow);
    }
}

bool Marks::module_is_marked(const lys_module& module) const noexcept
{
    const lysc_node* top = nullptr;
    while ((top = lys_getnext(top, nullptr, module.compiled, 0)) != nullptr) {
        if ((top->nodetype & (LYS_RPC | LYS_NOTIF)) == 0 && (of(*top) & kBelow) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace zpf::agent
