// SPDX-License-Identifier: Apache-2.0
//
// Words for faults.
#include "zpf_device/fault.hpp"

using namespace zpf::device;

TEST(FaultWord, LeadsBackToItsKind)
{
    for (const auto kind : {Fault::refuse_value, Fault::no_answer, Fault::reads_nothing, Fault::reads_slowly}) {
        EXPECT_FALSE(fault_word(kind).empty());
        EXPECT_EQ(fault_kind(fault_word(kind)), kind);
    }
    EXPECT_FALSE(fault_kind("explodes").has_value());
    EXPECT_FALSE(fault_kind("").has_value());
}
