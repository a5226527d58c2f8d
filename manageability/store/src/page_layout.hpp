// SPDX-License-Identifier: Apache-2.0
//
// How a database file is laid out: two header pages that take turns, each with the roots of two trees; tree pages hold
// an array of offsets from the front and nodes from the back. Reads bytes, believes nothing that would lead out of a
// page.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "file_descriptor.hpp"

namespace kelda::detail {

using PageNumber = std::uint64_t;

inline constexpr PageNumber kNoPage = ~PageNumber{0};
inline constexpr std::uint64_t kHeaderPages = 2;
inline constexpr std::uint16_t kBranchPage = 0x01;
inline constexpr std::uint16_t kLeafPage = 0x02;
inline constexpr std::uint64_t kHeaderOffset = 16; ///< of the FileHeader in its page

struct TreeRecord {
    std::uint32_t page_bytes; // used in the first tree of a header only
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branch_pages;
    std::uint64_t leaf_pages;
    std::uint64_t overflow_pages;
    std::uint64_t entries;
    std::uint64_t root;
};
static_assert(sizeof(TreeRecord) == 48);

struct FileHeader {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t map_bytes;
    std::array<TreeRecord, 2> trees; // of free pages, and of named databases
    std::uint64_t last_page;
    std::uint64_t commit;
};
static_assert(sizeof(FileHeader) == 136);

/// The views are into the page's bytes.
struct Node {
    std::string_view key;
    std::string_view value = {}; ///< of a leaf's node, unless it is big
    std::uint64_t value_bytes = 0;
    bool is_big = false;  ///< the value stands on pages of its own, from `child` on
    bool is_tree = false; ///< the value is a TreeRecord
    PageNumber child = 0;
};

class DataFile;

class Page {
public:
    Page(const DataFile& file, PageNumber number, std::vector<std::byte> bytes);

    std::uint16_t kind() const;
    /// Its nodes in order. Throws StoreError when one leads out of the page.
    std::vector<Node> nodes(bool is_leaf) const;

private:
    Node node_at(std::size_t offset, bool is_leaf) const;
    std::string_view bytes_at(std::size_t offset, std::size_t length) const;

    const DataFile& file_;
    PageNumber number_;
    std::vector<std::byte> bytes_;
};

/// Which of the two headers counts.
enum class Commit {
    last,
    one_before, ///< the database leaves its pages alone until the last one is done
};

/// The file, as one of its headers has it.
class DataFile {
public:
    /// Throws StoreError when it cannot be read, has no header or is of another version.
    explicit DataFile(const std::string& path, Commit commit = Commit::last);

    const FileHeader& header() const { return header_; }
    /// The page that the header stands on.
    PageNumber header_page() const { return header_page_; }
    std::size_t page_bytes() const { return page_bytes_; }
    /// How many pages the file has. Fewer than its header counts when the last ones were taken and given up by one
    /// commit: the database does not write such pages, nor read them.
    std::uint64_t pages() const;
    /// What it is to have.
    std::uint64_t full_bytes() const { return (header_.last_page + 1) * page_bytes_; }
    [[noreturn]] void damaged(std::string_view what) const;

    Page page(PageNumber number) const;
    /// How many pages of its own a value has: more than it needs when a longer one stood there before.
    std::uint64_t pages_of_value(PageNumber number, std::uint64_t value_bytes) const;
    std::vector<std::byte> big_value(PageNumber number, std::uint64_t value_bytes) const;
    /// The tree that a node of the table of tables describes.
    TreeRecord tree_in(const Node& node) const;

private:
    std::vector<std::byte> read(std::uint64_t offset, std::size_t length) const;
    bool read_header(std::uint64_t offset, FileHeader& header) const;

    std::string path_;
    FileDescriptor fd_;
    std::size_t page_bytes_ = 0;
    FileHeader header_{};
    PageNumber header_page_ = 0;
};

/// The number in the first eight bytes.
std::uint64_t number_in(std::string_view bytes);

inline std::string_view text_of(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace kelda::detail
