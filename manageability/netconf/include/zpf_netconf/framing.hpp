// SPDX-License-Identifier: Apache-2.0
//
// Messages in a stream of bytes (RFC 6242): up to and including the hello they end with "]]>]]>", after it they come in
// chunks when both sides announce base:1.1.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zpf::netconf {

enum class Framing { end_of_message, chunked };

/// The stream is no NETCONF, or a message is longer than allowed: the session cannot go on.
class FramingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Takes bytes as they come and hands out whole messages. Bytes behind a message wait, so the framing may change
/// between two messages that arrived together.
class Deframer {
public:
    explicit Deframer(std::size_t max_message_bytes) : max_message_bytes_(max_message_bytes) {}

    void set_framing(Framing framing) { framing_ = framing; }
    void set_max_message_bytes(std::size_t bytes) { max_message_bytes_ = bytes; }

    void feed(std::string_view bytes);

    /// Next whole message, or nothing before more bytes are fed. The view is good until the next call of any function.
    /// Throws FramingError.
    std::optional<std::string_view> next();

    /// True while a message has begun and not ended.
    bool in_message() const { return begin_ < buffer_.size() || !message_.empty(); }
    /// Bytes that were fed and not handed out.
    std::size_t pending_bytes() const { return buffer_.size() - begin_ + message_.size(); }

private:
    std::optional<std::string_view> next_by_end_mark();
    std::optional<std::string_view> next_of_chunks();
    bool read_header();
    void check_length(std::size_t bytes) const;
    void drop_consumed();

    enum class At { header, data };

    std::size_t max_message_bytes_;
    Framing framing_ = Framing::end_of_message;
    std::string buffer_;
    std::size_t begin_ = 0;   ///< of what is not consumed
    std::size_t scanned_ = 0; ///< up to here there is no end mark
    std::string message_;     ///< chunks of a message that has not ended
    bool handed_out_ = false; ///< message_ is the caller's until the next call
    At at_ = At::header;
    std::size_t chunk_left_ = 0;
    bool ended_ = false; ///< the header was the end of chunks
};

/// Appends a message with its framing.
void append_message(std::string& out, Framing framing, std::string_view message);

} // namespace zpf::netconf
