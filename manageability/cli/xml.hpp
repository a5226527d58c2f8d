// SPDX-License-Identifier: Apache-2.0
//
// XML as the tool meets it, in replies of the agent and in files with edits: elements with resolved namespaces, no
// models. Documents with a DOCTYPE are not read: nobody on either side sends one, and entities only do harm.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zpf::cli {

/// No well-formed XML; the message says where and why.
class BadXml : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct XmlElement {
    std::string name;      ///< without prefix
    std::string qualified; ///< as written
    std::string ns;        ///< namespace, or empty
    std::vector<std::pair<std::string, std::string>>
        attributes;   ///< names as written, declarations of prefixes among them
    std::string text; ///< its own; without the space around elements
    std::vector<XmlElement> children;
    std::size_t inner_begin = 0; ///< what stands between its tags, by place in the text that was parsed
    std::size_t inner_end = 0;

    /// First child of this name, or null.
    const XmlElement* child(std::string_view local_name) const;
    /// Descendant by names with "/" between them, first of each; null when one is missing.
    const XmlElement* at(std::string_view path) const;
    /// Text of that descendant; empty when it is missing.
    std::string text_at(std::string_view path) const;
};

/// @return an element without a name that holds the text's top elements. Throws BadXml.
XmlElement parse_xml(std::string_view text);

/// The text with characters escaped that XML gives a meaning.
std::string xml_escaped(std::string_view text);

/// Lines of XML, each level indented by two.
std::string xml_lines(const XmlElement& element, std::size_t indent = 0);

} // namespace zpf::cli
