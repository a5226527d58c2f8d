// SPDX-License-Identifier: Apache-2.0
//
// From schema nodes to symbol names.
#include "callback_names.hpp"

#include <cctype>

namespace zpf::test {

namespace {

std::string squeezed(const std::string& name)
{
    std::string text;
    for (const char c : name) {
        if (c != '-') {
            text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return text;
}

const char* kind_of(const lysc_node& node)
{
    switch (node.nodetype) {
    case LYS_CONTAINER:
        return "cont";
    case LYS_LIST:
        return "list";
    default:
        return "leaf";
    }
}

class Namer {
public:
    Namer(const lys_module& module, const std::string& direction)
        : module_(module), prefix_("ymap_" + direction + "_ocopticalattenuator_" + squeezed(module.name) + "_")
    {}

    /// `top` and `parent` are empty until a node of the module has been met.
    void visit(const lysc_node* first, const std::string& top, const std::string& parent)
    {
        for (const lysc_node* node = first; node != nullptr; node = node->next) {
            if (node->module != &module_) {
                visit(lysc_node_child(node), "", "");
                continue;
            }
            const std::string own = squeezed(node->name);
            std::string name = prefix_ + kind_of(*node) + "_lvla_";
            name += top.empty() ? own : top + (parent == top ? "" : "_" + parent) + "_" + own;
            names_.push_back(name);
            visit(lysc_node_child(node), top.empty() ? own : top, own);
        }
    }

    std::vector<std::string> take() { return std::move(names_); }

private:
    const lys_module& module_;
    std::string prefix_;
    std::vector<std::string> names_;
};

} // namespace

std::vector<std::string> callback_names(const ly_ctx& context, const lys_module& module, const std::string& direction)
{
    Namer namer(module, direction);
    uint32_t index = 0;
    while (const lys_module* each = ly_ctx_get_module_iter(&context, &index)) {
        if (each->implemented != 0) {
            namer.visit(each->compiled->data, "", "");
        }
    }
    return namer.take();
}

} // namespace zpf::test
