// SPDX-License-Identifier: Apache-2.0
//
// What a client is told when something is refused (RFC 6241, 4.3).
#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zpf {
struct Refusal;
}

namespace zpf::agent {

inline constexpr const char* kBaseNamespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

struct RpcError {
    std::string type = "application"; ///< transport, rpc, protocol or application
    std::string tag;                  ///< error-tag of RFC 6241, appendix A
    std::string app_tag;
    std::string path; ///< data path with key predicates, or empty
    std::string message;
    std::vector<std::pair<std::string, std::string>> info; ///< elements of error-info, e.g. bad-element
};

/// A request that is not carried out; nothing has been changed.
class Refused : public std::exception {
public:
    explicit Refused(RpcError error) : errors_{std::move(error)} {}
    explicit Refused(std::vector<RpcError> errors) : errors_(std::move(errors)) {}

    const std::vector<RpcError>& errors() const { return errors_; }
    const char* what() const noexcept override { return errors_.front().message.c_str(); }

private:
    std::vector<RpcError> errors_;
};

/// The usual refusals, ready to throw.
[[nodiscard]] Refused refused(std::string tag, std::string message, std::string path = "",
                              std::string bad_element = "");
[[nodiscard]] Refused refused_protocol(std::string tag, std::string message, std::string bad_element = "");
[[nodiscard]] Refused refused_message(std::string message); ///< malformed-message
[[nodiscard]] Refused refused(const Refusal& refusal);

/// Appends rpc-error elements.
void print(std::string& out, const std::vector<RpcError>& errors);

/// Appends text with the characters escaped that XML gives a meaning; those that it cannot hold become "?".
void append_escaped(std::string& out, std::string_view text);

} // namespace zpf::agent
