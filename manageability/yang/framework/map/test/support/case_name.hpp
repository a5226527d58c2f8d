// SPDX-License-Identifier: Apache-2.0
//
// Names of table-driven cases: each case says its own.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace zpf::test {

struct CaseName {
    template <typename Case>
    std::string operator()(const ::testing::TestParamInfo<Case>& one) const
    {
        return one.param.name;
    }
};

} // namespace zpf::test
