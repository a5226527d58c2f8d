// SPDX-License-Identifier: Apache-2.0
//
// Taking pages of a database file apart.
#include "page_layout.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "failure.hpp"

namespace kelda::detail {

namespace {

constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kDataVersion = 1;
constexpr std::uint16_t kOverflowPage = 0x04;
constexpr std::uint16_t kHeaderPage = 0x08;
constexpr std::uint16_t kKindOfPage = 0x2F;
constexpr std::uint16_t kBigValue = 0x01;
constexpr std::uint16_t kSubTree = 0x02;

struct PageHeader {
    std::uint64_t number;
    std::uint16_t unused;
    std::uint16_t flags;
    std::uint16_t lower; // where the offsets end
    std::uint16_t upper; // where the nodes begin
};
static_assert(sizeof(PageHeader) == kHeaderOffset);

struct OverflowHeader {
    std::uint64_t number;
    std::uint16_t unused;
    std::uint16_t flags;
    std::uint32_t pages;
};
static_assert(sizeof(OverflowHeader) == sizeof(PageHeader));

struct NodeHeader {
    std::uint16_t low;   // of the value's length, or of a child's page number
    std::uint16_t high;  // more of it
    std::uint16_t flags; // of a leaf's node, or the rest of a child's page number
    std::uint16_t key_bytes;
};
static_assert(sizeof(NodeHeader) == 8);

template <typename Record>
Record record_in(std::string_view bytes)
{
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

} // namespace

std::uint64_t number_in(std::string_view bytes)
{
    return record_in<std::uint64_t>(bytes);
}

Page::Page(const DataFile& file, PageNumber number, std::vector<std::byte> bytes)
    : file_{file}, number_{number}, bytes_{std::move(bytes)}
{
    const auto header = record_in<PageHeader>(text_of(bytes_));
    if (header.number != number_ || header.lower < sizeof header || header.lower > header.upper ||
        header.upper > bytes_.size()) {
        file_.damaged(fmt::format("page {} is none", number_));
    }
}

std::uint16_t Page::kind() const
{
    return record_in<PageHeader>(text_of(bytes_)).flags & kKindOfPage;
}

std::string_view Page::bytes_at(std::size_t offset, std::size_t length) const
{
    if (offset > bytes_.size() || length > bytes_.size() - offset) {
        file_.damaged(fmt::format("page {} leads out of itself", number_));
    }
    return text_of(bytes_).substr(offset, length);
}

std::vector<Node> Page::nodes(bool is_leaf) const
{
    std::vector<Node> nodes;
    const auto header = record_in<PageHeader>(text_of(bytes_));
    for (std::size_t at = sizeof header; at + sizeof(std::uint16_t) <= header.lower; at += sizeof(std::uint16_t)) {
        const auto offset = record_in<std::uint16_t>(bytes_at(at, sizeof(std::uint16_t)));
        if (offset < header.upper) {
            file_.damaged(fmt::format("page {} leads out of its nodes", number_));
        }
        nodes.push_back(node_at(offset, is_leaf));
    }
    return nodes;
}

Node Page::node_at(std::size_t offset, bool is_leaf) const
{
    const auto header = record_in<NodeHeader>(bytes_at(offset, sizeof(NodeHeader)));
    const std::uint64_t number = header.low | std::uint64_t{header.high} << 16;
    Node node{.key = bytes_at(offset + sizeof header, header.key_bytes)};
    const std::size_t value_offset = offset + sizeof header + header.key_bytes;
    if (!is_leaf) {
        node.child = number | std::uint64_t{header.flags} << 32;
        return node;
    }
    node.value_bytes = number;
    node.is_big = (header.flags & kBigValue) != 0;
    node.is_tree = (header.flags & kSubTree) != 0;
    if (node.is_big) {
        node.child = number_in(bytes_at(value_offset, sizeof(PageNumber)));
    } else {
        node.value = bytes_at(value_offset, number);
    }
    return node;
}

DataFile::DataFile(const std::string& path, Commit commit)
    : path_{path}, fd_{::open(path.c_str(), O_RDONLY | O_CLOEXEC)}
{
    require(fd_ ? 0 : errno, "open", path_);
    FileHeader second{};
    if (!read_header(0, header_)) {
        damaged("it does not begin as a store does");
    }
    page_bytes_ = header_.trees[0].page_bytes;
    if (page_bytes_ < 256 || page_bytes_ > 65536 || (page_bytes_ & (page_bytes_ - 1)) != 0) {
        damaged(fmt::format("its pages cannot have {} bytes", page_bytes_));
    }
    if (!read_header(page_bytes_, second) || second.trees[0].page_bytes != page_bytes_) {
        damaged("its second header is gone");
    }
    if ((second.commit > header_.commit) == (commit == Commit::last)) {
        header_ = second;
        header_page_ = 1;
    }
}

std::uint64_t DataFile::pages() const
{
    struct stat status {};
    require(fstat(fd_.get(), &status) == 0 ? 0 : errno, "open", path_);
    return static_cast<std::uint64_t>(status.st_size) / page_bytes_;
}

void DataFile::damaged(std::string_view what) const
{
    fail_damaged(path_, what);
}

/// False for what is no header. Throws StoreError for one of another version.
bool DataFile::read_header(std::uint64_t offset, FileHeader& header) const
{
    const auto bytes = read(offset, sizeof(PageHeader) + sizeof(FileHeader));
    header = record_in<FileHeader>(text_of(bytes).substr(sizeof(PageHeader)));
    if ((record_in<PageHeader>(text_of(bytes)).flags & kHeaderPage) == 0 || header.magic != kMagic) {
        return false;
    }
    if (header.version != kDataVersion) {
        throw StoreError{
            StoreError::Kind::version,
            fmt::format("{} was written by version {} of the database, this program reads version {}: use "
                        "the release that wrote it, or restore a dump (zpf store load) into an empty folder",
                        path_, header.version, kDataVersion)};
    }
    return true;
}

std::vector<std::byte> DataFile::read(std::uint64_t offset, std::size_t length) const
{
    std::vector<std::byte> bytes(length);
    const ssize_t got = ::pread(fd_.get(), bytes.data(), length, static_cast<off_t>(offset));
    if (got < 0 && errno == EIO) { // as a power cut leaves what it interrupts on some disks
        damaged(fmt::format("the disk cannot read its byte {}", offset));
    }
    require(got < 0 ? errno : 0, "read", path_);
    if (static_cast<std::size_t>(got) != length) {
        damaged("it ends too early");
    }
    return bytes;
}

Page DataFile::page(PageNumber number) const
{
    return Page{*this, number, read(number * page_bytes_, page_bytes_)};
}

std::uint64_t DataFile::pages_of_value(PageNumber number, std::uint64_t value_bytes) const
{
    const std::uint64_t needed = (sizeof(PageHeader) - 1 + value_bytes) / page_bytes_ + 1;
    const auto head = read(number * page_bytes_, sizeof(OverflowHeader));
    const auto header = record_in<OverflowHeader>(text_of(head));
    if (header.number != number || (header.flags & kOverflowPage) == 0 || header.pages < needed) {
        damaged(fmt::format("page {} does not hold the long value it should", number));
    }
    return header.pages;
}

std::vector<std::byte> DataFile::big_value(PageNumber number, std::uint64_t value_bytes) const
{
    return read(number * page_bytes_ + sizeof(OverflowHeader), value_bytes);
}

TreeRecord DataFile::tree_in(const Node& node) const
{
    if (!node.is_tree || node.value.size() != sizeof(TreeRecord)) {
        damaged("its table of tables is wrecked");
    }
    return record_in<TreeRecord>(node.value);
}

} // namespace kelda::detail
