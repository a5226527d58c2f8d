// SPDX-License-Identifier: Apache-2.0
//
// What a tree of native data answers to a selection.
#include "lamp_models.hpp"
#include "text_tree.hpp"

#include <gtest/gtest.h>

#include "case_name.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::test {

namespace {

constexpr const char* kNative = "cells\n"
                                "  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"a\"\n"
                                "  cell\n    kind = \"arc\"\n    id = \"c1\"\n    note = \"b\"\n"
                                "  cell\n    kind = \"led\"\n    id = \"c2\"\n"
                                "rack\n"
                                "  limit = \"5\"\n"
                                "  spare = \"yes\"\n";

} // namespace

struct Selection {
    const char* name;
    const char* selection;
    const char* answer;
};

class TreeSourceSelects : public ::testing::TestWithParam<Selection> {
protected:
    static std::string answer(TreeSource::Answer how)
    {
        const Tree native = tree_of(lamp_schema(), kNative);
        const Tree selection = tree_of(lamp_schema(), GetParam().selection);
        Tree out;
        TreeSource(lamp_schema(), native.root(), how).select(selection.root(), out);
        return to_text(out.root());
    }
};

TEST_P(TreeSourceSelects, WhatIsNamed)
{
    EXPECT_EQ(answer(TreeSource::Answer::selected), GetParam().answer);
}

TEST_P(TreeSourceSelects, OrEverything)
{
    EXPECT_EQ(answer(TreeSource::Answer::everything), kNative);
}

INSTANTIATE_TEST_SUITE_P(
    Selections, TreeSourceSelects,
    ::testing::Values(Selection{"Nothing", "", ""},
                      Selection{"AContainerWhole", "rack\n", "rack\n  limit = \"5\"\n  spare = \"yes\"\n"},
                      Selection{"ALeaf", "rack\n  limit\n", "rack\n  limit = \"5\"\n"},
                      Selection{"ALeafWhateverItsValue", "rack\n  limit = \"6\"\n", "rack\n  limit = \"5\"\n"},
                      Selection{"AnEntryByAllKeys", "cells\n  cell\n    id = \"c1\"\n    kind = \"led\"\n",
                                "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"a\"\n"},
                      Selection{"AnEntryWholeWhateverIsNamedInIt",
                                "cells\n  cell\n    id = \"c1\"\n    kind = \"led\"\n    wear = \"9\"\n",
                                "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"a\"\n"},
                      Selection{"EntriesByOneKey", "cells\n  cell\n    kind = \"led\"\n",
                                "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"a\"\n"
                                "  cell\n    kind = \"led\"\n    id = \"c2\"\n"},
                      Selection{"NoEntryWithoutKeys", "cells\n  cell\n    note\n", "cells\n"},
                      Selection{"NoEntryByAnEmptyKey", "cells\n  cell\n    id = \"\"\n", "cells\n"},
                      Selection{"SeveralEntriesEachOnce",
                                "cells\n  cell\n    id = \"c2\"\n  cell\n    id = \"c2\"\n    kind = \"led\"\n",
                                "cells\n  cell\n    kind = \"led\"\n    id = \"c2\"\n"},
                      Selection{"AListWholeWithItsContainer", "cells\n",
                                "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"a\"\n"
                                "  cell\n    kind = \"arc\"\n    id = \"c1\"\n    note = \"b\"\n"
                                "  cell\n    kind = \"led\"\n    id = \"c2\"\n"},
                      Selection{"WhatIsNotThere", "gauges\n", ""}),
    CaseName{});

} // namespace zpf::test
