// SPDX-License-Identifier: Apache-2.0
//
// Framing of messages, both forms of RFC 6242.
#include "zpf_netconf/framing.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace zpf::netconf {

namespace {

constexpr std::string_view kEndMark = "]]>]]>";
constexpr std::size_t kMaxChunkDigits = 10; // 4294967295, the largest chunk

} // namespace

void Deframer::feed(std::string_view bytes)
{
    drop_consumed();
    buffer_.append(bytes);
}

std::optional<std::string_view> Deframer::next()
{
    if (handed_out_) {
        message_.clear();
        handed_out_ = false;
    }
    return framing_ == Framing::end_of_message ? next_by_end_mark() : next_of_chunks();
}

std::optional<std::string_view> Deframer::next_by_end_mark()
{
    const std::size_t end = buffer_.find(kEndMark, std::max(begin_, scanned_));
    if (end == std::string::npos) {
        check_length(buffer_.size() - begin_);
        // The mark may have come in part.
        scanned_ = std::max(begin_, buffer_.size() - std::min(buffer_.size(), kEndMark.size() - 1));
        return std::nullopt;
    }
    check_length(end - begin_);
    const std::string_view message{buffer_.data() + begin_, end - begin_};
    begin_ = scanned_ = end + kEndMark.size();
    return message;
}

std::optional<std::string_view> Deframer::next_of_chunks()
{
    for (;;) {
        if (at_ == At::header) {
            if (!read_header()) {
                return std::nullopt;
            }
            if (ended_) {
                ended_ = false;
                handed_out_ = true;
                return message_;
            }
        }
        const std::size_t there = std::min(chunk_left_, buffer_.size() - begin_);
        message_.append(buffer_, begin_, there);
        begin_ += there;
        chunk_left_ -= there;
        if (chunk_left_ > 0) {
            return std::nullopt;
        }
        at_ = At::header;
    }
}

/// Reads "\n#LENGTH\n" or "\n##\n". @return false when more bytes are needed
bool Deframer::read_header()
{
    const std::string_view rest{buffer_.data() + begin_, buffer_.size() - begin_};
    static constexpr std::string_view kOpening = "\n#";
    if (rest.substr(0, kOpening.size()) != kOpening.substr(0, rest.size())) {
        throw FramingError("a chunk does not begin with a line feed and \"#\"");
    }
    const std::size_t end = rest.find('\n', kOpening.size());
    const std::string_view size = rest.substr(std::min(rest.size(), kOpening.size()), end - kOpening.size());
    if (size == "#") {
        if (end == std::string_view::npos) {
            return false;
        }
        if (message_.empty()) {
            throw FramingError("a message without a chunk");
        }
        ended_ = true;
        begin_ += end + 1;
        return true;
    }
    const bool digits = std::all_of(size.begin(), size.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits || size.size() > kMaxChunkDigits || (!size.empty() && size.front() == '0')) {
        throw FramingError("a chunk's length is no number from 1 to 4294967295");
    }
    if (end == std::string_view::npos) {
        return false;
    }
    if (size.empty()) {
        throw FramingError("a chunk has no length");
    }
    unsigned long long length = 0;
    std::from_chars(size.data(), size.data() + size.size(), length);
    if (length > 4294967295ULL) {
        throw FramingError("a chunk's length is no number from 1 to 4294967295");
    }
    check_length(message_.size() + length);
    begin_ += end + 1;
    chunk_left_ = length;
    at_ = At::data;
    return true;
}

void Deframer::check_length(std::size_t bytes) const
{
    if (bytes > max_message_bytes_) {
        throw FramingError("a message is longer than " + std::to_string(max_message_bytes_) + " bytes");
    }
}

void Deframer::drop_consumed()
{
    static constexpr std::size_t kKeptBytes = 64 * 1024; // moving is dear, keeping a long message's memory is dearer
    if (begin_ == buffer_.size()) {
        buffer_.clear();
        if (buffer_.capacity() > kKeptBytes) {
            buffer_.shrink_to_fit();
        }
        scanned_ = begin_ = 0;
    } else if (begin_ > kKeptBytes) {
        buffer_.erase(0, begin_);
        scanned_ -= std::min(scanned_, begin_);
        begin_ = 0;
    }
}

void append_message(std::string& out, Framing framing, std::string_view message)
{
    if (framing == Framing::end_of_message) {
        out.append(message).append(kEndMark);
        return;
    }
    std::array<char, 24> length{};
    char* const end = std::to_chars(length.data(), length.data() + length.size(), message.size()).ptr;
    out.append("\n#").append(length.data(), end).append("\n").append(message).append("\n##\n");
}

} // namespace zpf::netconf
