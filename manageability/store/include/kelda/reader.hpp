// SPDX-License-Identifier: Apache-2.0
//
// What snapshots and transactions have in common: looking keys up, and walking them in byte order.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kelda/api.hpp"

namespace kelda {

/// Refers to a callable for the time of one call; owns nothing and allocates nothing.
template <typename Signature>
class FunctionRef;

template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <typename Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
             std::is_invocable_r_v<Result, Callable&, Arguments...>)
        FunctionRef(Callable&& callable) // NOLINT(bugprone-forwarding-reference-overload): never for its own kind
        : object_{const_cast<void*>(static_cast<const void*>(std::addressof(callable)))},
          call_{[](void* object, Arguments... arguments) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(object))(std::forward<Arguments>(arguments)...);
          }}
    {}

    Result operator()(Arguments... arguments) const { return call_(object_, std::forward<Arguments>(arguments)...); }

private:
    void* object_;
    Result (*call_)(void*, Arguments...);
};

/// Called with a record; false ends the walk. The views are good during the call.
using Visitor = FunctionRef<bool(std::string_view key, std::string_view value)>;

class KELDA_API Reader {
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    Reader(Reader&&) noexcept = default;
    Reader& operator=(Reader&&) noexcept = default;
    virtual ~Reader();

    /// The value, or nothing. The view is good until the reader ends; a transaction's also ends with its next change.
    virtual std::optional<std::string_view> get(std::string_view key) const = 0;

    /// Visits the records whose keys begin with `prefix`, in byte order, from the first one that is not before
    /// `first_key`. The visitor may read from the same reader but not change a transaction.
    virtual void scan_from(std::string_view prefix, std::string_view first_key, Visitor visit) const = 0;

    /// Visits all records whose keys begin with `prefix`, in byte order.
    void scan(std::string_view prefix, Visitor visit) const { scan_from(prefix, prefix, visit); }
};

} // namespace kelda
