// SPDX-License-Identifier: Apache-2.0
//
// Trees as libyang data.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "zpf_bridge/libyang.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::bridge {

/// A value or an element that its model does not take.
class Unfit : public std::runtime_error {
public:
    Unfit(std::string path, const std::string& reason) : std::runtime_error(reason), path_(std::move(path)) {}
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Data of the models, values validated. A leaf that does not fit is left out when there is somebody to tell of it;
/// otherwise, and for all else, throws Unfit.
DataPtr build_data(const Models& models, const Node& root, const std::function<void(const Unfit&)>& left_out = {});

/// Elements as they are: operations become attributes, missing values and keys stay missing.
DataPtr build_opaque(const Models& models, const Node& root, LYD_FORMAT format);

} // namespace zpf::bridge
