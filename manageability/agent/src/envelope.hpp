// SPDX-License-Identifier: Apache-2.0
//
// The start tag of an rpc message, read without parsing the message: its attributes come back in the reply, and a
// request that differs in nothing but its message-id is the same request.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zpf::agent {

class Envelope {
public:
    /// More of them are not read: each is held against all others.
    static constexpr std::size_t kMostAttributes = 128;

    /// Nothing when the text does not begin with a start tag "rpc" that is well-formed by itself: what comes back in
    /// the reply has to be. A parser then says what is wrong.
    static std::optional<Envelope> scan(std::string_view message);

    std::string_view message_id() const { return message_id_; }
    bool has_message_id() const { return has_message_id_; }

    /// Puts what tells requests apart into the text: the message without its message-id.
    void identity(std::string& text) const;

    /// Appends the start tag of the reply: the base namespace and the attributes of the request as they were written.
    void open_reply(std::string& out) const;
    static void close_reply(std::string& out) { out.append("</rpc-reply>"); }
    /// For a message whose start tag could not be read.
    static void open_anonymous_reply(std::string& out);

private:
    std::string_view message_;
    std::string_view message_id_;
    bool has_message_id_ = false;
    std::string attributes_; ///< as written, without the default namespace
};

} // namespace zpf::agent
