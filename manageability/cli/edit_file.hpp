// SPDX-License-Identifier: Apache-2.0
//
// A file with an edit, as a client would send it.
#pragma once

#include <string>
#include <string_view>

namespace zpf::cli {

/// What the file says; empty where it says nothing.
struct EditFile {
    std::string content;      ///< what the config element holds
    std::string declarations; ///< of namespaces that hold around it, as attributes
    std::string target;       ///< running or candidate
    std::string default_operation;
    std::string test_option;
    std::string error_option;
};

/// A config element of the namespace around the content.
std::string config_element(const EditFile& file, std::string_view ns);

/// Takes the model's top element, or `config`, `edit-config` and `rpc` elements around it. Throws BadXml, with a
/// message for people when elements are missing or unknown.
EditFile read_edit(std::string_view text);

} // namespace zpf::cli
