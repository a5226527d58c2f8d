// SPDX-License-Identifier: Apache-2.0
//
// Takes off what stands around an edit's content.
#include "edit_file.hpp"

#include <fmt/format.h>

#include <map>

#include "agent_client.hpp"
#include "xml.hpp"

namespace zpf::cli {

namespace {

/// Declarations of namespaces that hold inside of an element; those of inner elements win.
using Declarations = std::map<std::string, std::string>;

void add_declarations(const XmlElement& element, Declarations& declarations)
{
    for (const auto& [name, value] : element.attributes) {
        if (name == "xmlns" || name.starts_with("xmlns:")) {
            declarations[name] = value;
        }
    }
}

const XmlElement& only_child(const XmlElement& element, const std::string& of_what)
{
    if (element.children.size() != 1) {
        throw BadXml(of_what + " has to hold one element");
    }
    return element.children.front();
}

void read_parameters(const XmlElement& edit, EditFile& file)
{
    for (const XmlElement& child : edit.children) {
        if (child.name == "target") {
            file.target = only_child(child, "target").name;
        } else if (child.name == "default-operation") {
            file.default_operation = child.text;
        } else if (child.name == "test-option") {
            file.test_option = child.text;
        } else if (child.name == "error-option") {
            file.error_option = child.text;
        } else if (child.name != "config") {
            throw BadXml("edit-config: unknown element " + child.name);
        }
    }
}

/// What comes before the first element would not be taken inside of another one.
std::string_view without_prolog(std::string_view text)
{
    for (;;) {
        text.remove_prefix(std::min(text.find('<'), text.size()));
        if (!text.starts_with("<?")) {
            return text;
        }
        text.remove_prefix(text.find("?>") + 2);
    }
}

} // namespace

std::string config_element(const EditFile& file, std::string_view ns)
{
    // The name needs a prefix of its own: what it holds may have any default namespace.
    return fmt::format(R"(<zpf-edit:config xmlns:zpf-edit="{}"{}>{}</zpf-edit:config>)", ns, file.declarations,
                       file.content);
}

EditFile read_edit(std::string_view text)
{
    const XmlElement top = parse_xml(text);
    EditFile file;
    Declarations declarations;
    const XmlElement* element = &top;
    while (element->children.front().ns == kNetconfNamespace || element->children.front().ns.empty()) {
        const XmlElement& child = element->children.front();
        if (child.name != "rpc" && child.name != "edit-config" && child.name != "config") {
            throw BadXml("<" + child.qualified + "> is neither an edit nor an element of a model");
        }
        add_declarations(child, declarations);
        element = &child;
        if (child.name == "edit-config") {
            read_parameters(child, file);
            element = child.child("config");
            if (element == nullptr) {
                throw BadXml("edit-config: there is no config element");
            }
            add_declarations(*element, declarations);
        }
        if (element->name == "config") {
            break;
        }
        if (element->children.empty()) {
            throw BadXml("<" + child.qualified + "> is empty");
        }
    }
    const std::string_view inner = text.substr(element->inner_begin, element->inner_end - element->inner_begin);
    file.content = element == &top ? without_prolog(inner) : inner;
    for (const auto& [name, value] : declarations) {
        file.declarations += fmt::format(" {}=\"{}\"", name, xml_escaped(value));
    }
    return file;
}

} // namespace zpf::cli
