// SPDX-License-Identifier: Apache-2.0
//
// The walk over the trees of a database file: every page where it should be, used once, its keys in order and within
// what the page above says.
#include "pages.hpp"

#include <fmt/format.h>

#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "page_layout.hpp"

namespace kelda::detail {

namespace {

constexpr std::size_t kFirstPages = 4096;
constexpr std::uint16_t kMaxDepth = 32; // the database's own limit

enum class Keys { numbers, names }; // of free pages by commit, and of everything else

struct Task {
    PageNumber page;
    std::size_t tree;
    std::uint16_t levels;                            // from this page down to its leaves, both counted
    std::optional<std::string> first = std::nullopt; // lowest key allowed
    std::optional<std::string> end = std::nullopt;   // lowest key no more allowed
};

struct TreeState {
    std::string name;
    Keys keys;
    std::uint64_t entries_promised;
    std::uint64_t entries_found = 0;
};

/// Orders keys as their tree does.
bool is_before(Keys keys, std::string_view one, std::string_view other)
{
    if (keys == Keys::numbers && one.size() == sizeof(std::uint64_t) && other.size() == sizeof(std::uint64_t)) {
        return number_in(one) < number_in(other);
    }
    return one < other;
}

class TreeWalk {
public:
    explicit TreeWalk(const DataFile& file) : file_{file}, is_used_(file.header().last_page + 1)
    {
        add_tree("free pages", Keys::numbers, file.header().trees[0]);
        add_tree("tables", Keys::names, file.header().trees[1]);
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
        for (const PageNumber page : free_) {
            if (page < kHeaderPages || page >= is_used_.size() || is_used_[page]) {
                file_.damaged(fmt::format("page {} is said to be free and is not", page));
            }
        }
    }

    std::uint64_t pages() const { return pages_; }

private:
    void add_tree(std::string name, Keys keys, const TreeRecord& tree)
    {
        trees_.push_back({std::move(name), keys, tree.entries});
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
        const Keys keys = trees_[task.tree].keys;
        for (std::size_t i = first_with_key; i < nodes.size(); ++i) {
            const bool is_ordered = (i == first_with_key || is_before(keys, nodes[i - 1].key, nodes[i].key)) &&
                                    (!task.first || !is_before(keys, nodes[i].key, *task.first)) &&
                                    (!task.end || is_before(keys, nodes[i].key, *task.end));
            if (!is_ordered) {
                file_.damaged(fmt::format("keys of page {} are out of order", task.page));
            }
        }
    }

    void look_at_entry(const Task& task, const Node& node)
    {
        constexpr std::size_t kTables = 1;
        const bool is_free_list = trees_[task.tree].keys == Keys::numbers;
        std::string_view value = node.value;
        std::vector<std::byte> elsewhere;
        if (node.is_big) {
            const std::uint64_t count = file_.pages_for_value(node.value_bytes);
            use(node.child, count);
            elsewhere = file_.big_value(node.child, count, is_free_list ? node.value_bytes : 0);
            value = text_of(elsewhere);
        }
        if (is_free_list) {
            add_free(value);
        } else if (task.tree == kTables) {
            add_tree("table " + std::string{node.key}, Keys::names, file_.tree_in(node));
        }
    }

    /// A list of free pages: how many, then which.
    void add_free(std::string_view list)
    {
        constexpr std::size_t kNumber = sizeof(PageNumber);
        const std::uint64_t count = list.size() < kNumber ? kNoPage : number_in(list);
        if (count > list.size() / kNumber - (list.size() < kNumber ? 0 : 1)) {
            file_.damaged("a list of free pages is cut");
        }
        for (std::size_t i = 1; i <= count; ++i) {
            free_.push_back(number_in(list.substr(i * kNumber)));
        }
    }

    const DataFile& file_;
    std::vector<bool> is_used_;
    std::deque<Task> tasks_;
    std::vector<TreeState> trees_;
    std::vector<PageNumber> free_;
    std::uint64_t pages_ = 0;
};

} // namespace

std::uint64_t require_sound_file(const std::string& path, PagesToLookAt which)
{
    const DataFile file{path};
    if (which == PagesToLookAt::header) {
        return 0;
    }
    TreeWalk walk{file};
    if (walk.run(which == PagesToLookAt::all ? kNoPage : kFirstPages)) {
        walk.require_complete();
    }
    return walk.pages();
}

} // namespace kelda::detail
