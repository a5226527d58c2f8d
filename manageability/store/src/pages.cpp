// SPDX-License-Identifier: Apache-2.0
//
// The walk over the trees of a database file: every page where it should be, used once, its keys in order and within
// what the page above says, no free page in use or free twice, the records as their digest says.
#include "pages.hpp"

#include <fmt/format.h>

#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "digest.hpp"
#include "format.hpp"

namespace kelda::detail {

namespace {

constexpr std::size_t kFirstPages = 4096;
constexpr std::uint16_t kMaxDepth = 32; // the database's own limit

enum class Kind { free_pages, tables, meta, records, other };

struct Task {
    PageNumber page;
    std::size_t tree;
    std::uint16_t levels;                            // from this page down to its leaves, both counted
    std::optional<std::string> first = std::nullopt; // lowest key allowed
    std::optional<std::string> end = std::nullopt;   // lowest key no more allowed
};

struct TreeState {
    std::string name;
    Kind kind;
    std::uint64_t entries_promised;
    std::uint64_t entries_found = 0;
};

/// Orders keys as their tree does.
bool is_before(Kind kind, std::string_view one, std::string_view other)
{
    if (kind == Kind::free_pages && one.size() == sizeof(std::uint64_t) && other.size() == sizeof(std::uint64_t)) {
        return number_in(one) < number_in(other);
    }
    return one < other;
}

class TreeWalk {
public:
    TreeWalk(const DataFile& file, bool has_digest)
        : file_{file}, has_digest_{has_digest}, pages_of_file_{file.pages()}, is_used_(file.header().last_page + 1)
    {
        add_tree("free pages", Kind::free_pages, file.header().trees[0]);
        add_tree("tables", Kind::tables, file.header().trees[1]);
    }

    /// False when `limit` pages were not enough.
    bool run(std::size_t limit)
    {
        for (; !tasks_.empty(); tasks_.pop_front()) {
            if (pages_ == limit) {
                return false;
            }
            ++pages_;
            look_at(tasks_.front());
        }
        return true;
    }

    void require_complete() const
    {
        for (const TreeState& tree : trees_) {
            if (tree.entries_found != tree.entries_promised) {
                file_.damaged(
                    fmt::format("{} has {} entries of {}", tree.name, tree.entries_found, tree.entries_promised));
            }
        }
        std::vector<bool> is_taken = is_used_;
        for (const PageNumber page : free_) {
            if (page < kHeaderPages || page >= is_taken.size() || is_taken[page]) {
                file_.damaged(fmt::format("page {} is said to be free and is not", page));
            }
            is_taken[page] = true;
        }
        if (has_digest_ && is_of_this_version() && digest_promised_ != digest_found_.record(file_.header().commit)) {
            file_.damaged("the records do not add up to the digest of the last commit");
        }
    }

    std::uint64_t pages() const { return pages_; }
    bool is_of_this_version() const { return version_ == kFormatVersion; }

private:
    void add_tree(std::string name, Kind kind, const TreeRecord& tree)
    {
        trees_.push_back({std::move(name), kind, tree.entries});
        if (tree.root == kNoPage) {
            return;
        }
        if (tree.depth == 0 || tree.depth > kMaxDepth) {
            file_.damaged(fmt::format("{} cannot be {} levels deep", trees_.back().name, tree.depth));
        }
        tasks_.push_back({tree.root, trees_.size() - 1, tree.depth});
    }

    void use(PageNumber page, std::uint64_t count)
    {
        if (page < kHeaderPages || page >= is_used_.size() || count > is_used_.size() - page) {
            file_.damaged(fmt::format("it refers to page {}, which it does not have", page));
        }
        if (page + count > pages_of_file_) {
            file_.damaged(fmt::format("page {} is missing at its end", page + count - 1));
        }
        for (PageNumber each = page; each < page + count; ++each) {
            if (is_used_[each]) {
                file_.damaged(fmt::format("page {} is used twice", each));
            }
            is_used_[each] = true;
        }
    }

    void look_at(const Task& task)
    {
        use(task.page, 1);
        const Page page = file_.page(task.page);
        const bool is_leaf = task.levels == 1;
        if (page.kind() != (is_leaf ? kLeafPage : kBranchPage)) {
            file_.damaged(fmt::format("page {} is not of the kind it should be", task.page));
        }
        std::vector<Node> nodes = page.nodes(is_leaf);
        if (nodes.empty()) {
            file_.damaged(fmt::format("page {} is empty", task.page));
        }
        if (!is_leaf) {
            nodes.front().key = {}; // stands for everything before the second
        }
        require_order(task, nodes, is_leaf ? 0 : 1);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (is_leaf) {
                look_at_entry(task, nodes[i]);
            } else {
                tasks_.push_back(child(task, nodes, i));
            }
        }
        if (is_leaf) {
            trees_[task.tree].entries_found += nodes.size();
        }
    }

    static Task child(const Task& task, const std::vector<Node>& nodes, std::size_t i)
    {
        Task below{nodes[i].child, task.tree, static_cast<std::uint16_t>(task.levels - 1), task.first, task.end};
        if (i > 0) {
            below.first = nodes[i].key;
        }
        if (i + 1 < nodes.size()) {
            below.end = nodes[i + 1].key;
        }
        return below;
    }

    void require_order(const Task& task, const std::vector<Node>& nodes, std::size_t first_with_key) const
    {
        const Kind kind = trees_[task.tree].kind;
        for (std::size_t i = first_with_key; i < nodes.size(); ++i) {
            const bool is_ordered = (i == first_with_key || is_before(kind, nodes[i - 1].key, nodes[i].key)) &&
                                    (!task.first || !is_before(kind, nodes[i].key, *task.first)) &&
                                    (!task.end || is_before(kind, nodes[i].key, *task.end));
            if (!is_ordered) {
                file_.damaged(fmt::format("keys of page {} are out of order", task.page));
            }
        }
    }

    void look_at_entry(const Task& task, const Node& node)
    {
        const Kind kind = trees_[task.tree].kind;
        std::string_view value = node.value;
        std::vector<std::byte> elsewhere;
        if (node.is_big) {
            use(node.child, file_.pages_of_value(node.child, node.value_bytes));
            elsewhere = file_.big_value(node.child, node.value_bytes);
            value = text_of(elsewhere);
        }
        if (kind == Kind::free_pages) {
            add_free(value);
        } else if (kind == Kind::records) {
            digest_found_.add(node.key, value);
        } else if (kind == Kind::tables) {
            look_at_table(node);
        } else if (kind == Kind::meta && node.key == kVersionKey) {
            version_ = value;
        }
    }

    void look_at_table(const Node& node)
    {
        if (node.key == kDigestKey) {
            digest_promised_ = node.value;
        } else {
            const Kind kind = node.key == kRecordsTable ? Kind::records
                              : node.key == kMetaTable  ? Kind::meta
                                                        : Kind::other;
            add_tree("table " + std::string{node.key}, kind, file_.tree_in(node));
        }
    }

    /// A list of free pages: how many, then which, the highest first.
    void add_free(std::string_view list)
    {
        constexpr std::size_t kNumber = sizeof(PageNumber);
        const std::uint64_t count = list.size() < kNumber ? kNoPage : number_in(list);
        if (count > list.size() / kNumber - (list.size() < kNumber ? 0 : 1)) {
            file_.damaged("a list of free pages is cut");
        }
        const std::size_t begin = free_.size();
        for (std::size_t i = 1; i <= count; ++i) {
            free_.push_back(number_in(list.substr(i * kNumber)));
            if (free_.size() > begin + 1 && free_.back() >= free_[free_.size() - 2]) {
                file_.damaged("a list of free pages is out of order");
            }
        }
    }

    const DataFile& file_;
    bool has_digest_;
    std::uint64_t pages_of_file_;
    std::vector<bool> is_used_;
    std::deque<Task> tasks_;
    std::vector<TreeState> trees_;
    std::vector<PageNumber> free_;
    std::string version_;
    std::string digest_promised_;
    Digest digest_found_;
    std::uint64_t pages_ = 0;
};

/// The database sizes its map by these numbers and the walk its memory, so neither is believed. A map of 0 is one that
/// is as large as its pages need.
void require_possible_size(const DataFile& file)
{
    const FileHeader& header = file.header();
    if (header.map_bytes > kMaxMapBytes) {
        file.damaged(fmt::format("its header lets it grow to {} bytes, which no store may", header.map_bytes));
    }
    const std::uint64_t room = header.map_bytes == 0 ? kMaxMapBytes : header.map_bytes;
    if (header.last_page >= room / file.page_bytes()) {
        file.damaged(fmt::format("its header says that page {} is its last, which does not fit into its {} bytes",
                                 header.last_page, room));
    }
}

} // namespace

LookedAt require_sound_file(const std::string& path, PagesToLookAt which, Commit commit, bool has_digest)
{
    const DataFile file{path, commit};
    require_possible_size(file);
    if (which == PagesToLookAt::header) {
        return {};
    }
    TreeWalk walk{file, has_digest};
    const bool is_short = file.pages() <= file.header().last_page; // cut, unless nothing of the rest is in use
    const bool is_complete = walk.run(which == PagesToLookAt::all || is_short ? kNoPage : kFirstPages);
    if (is_complete) {
        walk.require_complete();
    }
    return {walk.pages(), is_complete && walk.is_of_this_version()};
}

} // namespace kelda::detail
