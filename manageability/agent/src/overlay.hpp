// SPDX-License-Identifier: Apache-2.0
//
// Changes that are not in the store yet, and the view of the store as it would be with them. The candidate
// configuration is such a set of changes; so is an edit on its way to the disk.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "kelda/store.hpp"

namespace zpf::agent {

/// New value of a record, or nothing for one that goes.
using ChangeMap = std::map<std::string, std::optional<std::string>, std::less<>>;

/// A configuration without anything in it.
class Nothing final : public kelda::Reader {
public:
    std::optional<std::string_view> get(std::string_view) const override { return std::nullopt; }
    void scan_from(std::string_view, std::string_view, kelda::Visitor) const override {}
};

/// What a reader would show after the changes. Both must outlive it.
class Overlay final : public kelda::Reader {
public:
    Overlay(const kelda::Reader& base, const ChangeMap& changes) : base_(base), changes_(changes) {}

    std::optional<std::string_view> get(std::string_view key) const override;
    void scan_from(std::string_view prefix, std::string_view first_key, kelda::Visitor visit) const override;

private:
    const kelda::Reader& base_;
    const ChangeMap& changes_;
};

/// The differences that the changes really make to the base, in byte order.
kelda::Changes differences(const kelda::Reader& base, const ChangeMap& changes);

} // namespace zpf::agent
