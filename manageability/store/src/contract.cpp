// SPDX-License-Identifier: Apache-2.0
//
// The store as plug-ins see it: handles bound to a branch, and lists of objects. No exception leaves these functions.
#include <fnmatch.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

#include "format.hpp"
#include "kelda/kelda.h"
#include "kelda/store.hpp"

namespace {

using kelda::Store;

struct Item {
    std::string name;
    std::int32_t type;
};

struct List {
    std::vector<Item> items;
    std::size_t next = 0;
};

/// The store that plug-ins reach: the process's own, or the one that the environment names.
class Reached {
public:
    static Reached& instance()
    {
        static auto& reached = *new Reached; // plug-ins may call while the process ends
        return reached;
    }

    void set_own(Store* store)
    {
        const std::unique_lock guard{own_mutex_};
        own_ = store;
    }

    /// Opened by the first that binds, closed with the last handle. Null while the process has a store of its own.
    std::shared_ptr<Store> named_by_environment()
    {
        {
            const std::shared_lock guard{own_mutex_};
            if (own_ != nullptr) {
                return nullptr;
            }
        }
        const std::lock_guard guard{named_mutex_};
        std::shared_ptr<Store> store = named_.lock();
        if (store == nullptr) {
            const char* folder = std::getenv("KELDA_STORE"); // NOLINT(concurrency-mt-unsafe): nobody sets it meanwhile
            store = std::make_shared<Store>(
                Store::open(folder == nullptr ? kelda::kDefaultFolder : folder, {.create = false, .read_only = true}));
            named_ = store;
        }
        return store;
    }

    /// Runs `use` with a snapshot of the store; false without one. The own store cannot be taken away meanwhile.
    template <typename Use>
    bool with_snapshot(const std::shared_ptr<Store>& named, Use use)
    {
        const std::shared_lock guard{own_mutex_};
        const Store* store = named != nullptr ? named.get() : own_;
        if (store == nullptr) {
            return false;
        }
        use(store->snapshot());
        return true;
    }

private:
    std::shared_mutex own_mutex_;
    Store* own_ = nullptr;
    std::mutex named_mutex_;
    std::weak_ptr<Store> named_;
};

struct Binding {
    std::string path; ///< ends with "/"
    std::shared_ptr<Store> named;
};

/// Where an object's name ends: with the first "/" at or after the last character of the path asked for, if any.
std::size_t name_length(std::string_view below, std::size_t path_length)
{
    const std::size_t slash = below.find('/', path_length == 0 ? 0 : path_length - 1);
    return slash == std::string_view::npos ? below.size() : slash + 1;
}

bool is_wanted(const std::string& pattern, std::string_view name)
{
    if (pattern.empty()) {
        return true;
    }
    std::string bare{name};
    if (bare.ends_with('/')) {
        bare.pop_back();
    }
    return fnmatch(pattern.c_str(), bare.c_str(), 0) == 0;
}

/// All objects whose names begin with `path`. What stands below a branch is skipped, not read.
std::vector<Item> list_objects(const kelda::Reader& reader, const std::string& bound, std::string_view path,
                               const std::string& pattern)
{
    std::vector<Item> items;
    const std::string prefix = bound + std::string{path};
    std::optional<std::string> from = prefix;
    while (from) {
        std::optional<std::string> after_branch;
        reader.scan_from(prefix, *from, [&](std::string_view key, std::string_view) {
            const std::string_view below = key.substr(bound.size());
            const std::string_view name = below.substr(0, name_length(below, path.size()));
            const bool is_branch = name.ends_with('/');
            if (!name.empty() && is_wanted(pattern, name)) {
                items.push_back({std::string{name}, is_branch ? kelda::kTypeBranch : kelda::kTypeValue});
            }
            if (is_branch) {
                after_branch = bound + std::string{name};
                after_branch->back() = '/' + 1; // the first text that is after all that stands below
            }
            return !is_branch;
        });
        from = std::move(after_branch);
    }
    return items;
}

/// What a plug-in gets for an exception: it knows of one failure only.
template <typename Body>
qerrno guarded(Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        return KELDA_RC_NO_STORE;
    }
}

} // namespace

void kelda::set_process_store(Store* store)
{
    Reached::instance().set_own(store);
}

qerrno _kelda_bind(void** handle, const char* path, uint32_t flags)
{
    if (handle == nullptr || path == nullptr || flags != 0) {
        return ZPF_RC_INVALID_ARGS;
    }
    *handle = nullptr;
    return guarded([&]() -> qerrno {
        auto binding = std::make_unique<Binding>();
        binding->path = path;
        if (!binding->path.ends_with('/')) {
            binding->path += '/';
        }
        binding->named = Reached::instance().named_by_environment();
        *handle = binding.release();
        return ZPF_RC_OK;
    });
}

qerrno _kelda_unbind(void* handle)
{
    if (handle == nullptr) {
        return ZPF_RC_INVALID_ARGS;
    }
    return guarded([&]() -> qerrno {
        delete static_cast<Binding*>(handle); // NOLINT(cppcoreguidelines-owning-memory): the caller owned it
        return ZPF_RC_OK;
    });
}

qerrno kelda_list(void* handle, const char* pattern, const char* path, int32_t* count, void** iter, uint32_t flags)
{
    if (handle == nullptr || pattern == nullptr || path == nullptr || count == nullptr || iter == nullptr ||
        flags != 0) {
        return ZPF_RC_INVALID_ARGS;
    }
    return guarded([&]() -> qerrno {
        const Binding& binding = *static_cast<const Binding*>(handle);
        auto list = std::make_unique<List>();
        const bool has_store = Reached::instance().with_snapshot(binding.named, [&](const kelda::Reader& reader) {
            list->items = list_objects(reader, binding.path, path, pattern);
        });
        if (!has_store) {
            return KELDA_RC_NO_STORE;
        }
        *count = static_cast<int32_t>(list->items.size());
        *iter = list.release();
        return ZPF_RC_OK;
    });
}

qerrno kelda_list_next(void* iter, const char** name, int32_t* type, uint32_t flags)
{
    if (iter == nullptr || name == nullptr || type == nullptr || flags != 0) {
        return ZPF_RC_INVALID_ARGS;
    }
    List& list = *static_cast<List*>(iter);
    if (list.next == list.items.size()) {
        *name = nullptr;
        return ZPF_RC_OK;
    }
    const Item& item = list.items[list.next++];
    *name = item.name.c_str();
    *type = item.type;
    return ZPF_RC_OK;
}

void kelda_list_free(void* iter)
{
    delete static_cast<List*>(iter); // NOLINT(cppcoreguidelines-owning-memory): the caller owned it
}
