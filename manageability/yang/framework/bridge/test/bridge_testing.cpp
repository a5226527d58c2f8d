// SPDX-License-Identifier: Apache-2.0
//
// What the bridge's tests share.
#include "bridge_testing.hpp"

#include "zpf/records.h"

namespace zpf::test {

namespace {

std::string operation_text(int32_t op, int32_t usual_op)
{
    static constexpr const char* kWords[] = {"merge", "replace", "create", "delete", "remove", "none"};
    return op == usual_op ? "" : " [" + std::string(kWords[op]) + "]";
}

void add_lines(const Node& node, const std::string& above, int32_t usual_op, std::vector<std::string>& found)
{
    for (const Node& child : children(node)) {
        const std::string path = above + (above.empty() ? "" : "/") + std::string(tag_of(child));
        const auto value = value_of(child);
        found.push_back(path + (value ? " = " + std::string(*value) : "") + operation_text(child.edit_op, usual_op));
        add_lines(child, path, usual_op, found);
    }
}

} // namespace

const bridge::Models& models()
{
    static const bridge::Models loaded({ZPF_YANG_DIR});
    return loaded;
}

std::vector<std::string> lines(const Node& root, int32_t usual_op)
{
    std::vector<std::string> found;
    add_lines(root, "", usual_op, found);
    return found;
}

std::vector<std::string> request_lines(const bridge::Request& request)
{
    return lines(request.tree.root(), ZPF_OP_NONE);
}

std::vector<std::string> data_lines(const Tree& tree)
{
    return lines(tree.root(), ZPF_OP_MERGE);
}

bridge::Request parse_edit(std::string_view text)
{
    return bridge::parse_request(models(), text, "request.xml", ZPF_REQUEST_EDIT_CONFIG);
}

bridge::Request parse_get(std::string_view text)
{
    return bridge::parse_request(models(), text, "request.xml", ZPF_REQUEST_GET);
}

Tree parse_native(std::string_view text)
{
    return bridge::parse_native(models(), text, "native.xml");
}

std::string bad_input(const std::function<void()>& call)
{
    try {
        call();
    } catch (const bridge::BadInput& error) {
        return error.what();
    }
    return "no error";
}

std::string optical_attenuator(const std::string& inside, const std::string& namespaces)
{
    return "<optical-attenuator xmlns=\"" ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR "\"" + namespaces + ">" + inside +
           "</optical-attenuator>";
}

std::string interface_configurations(const std::string& inside)
{
    return "<interface-configurations xmlns=\"" ZPF_NS_IFMGR_CFG "\" xmlns:ots=\"" ZPF_NS_CONTROLLER_OTS_CFG "\">" +
           inside + "</interface-configurations>";
}

} // namespace zpf::test
