// SPDX-License-Identifier: Apache-2.0
//
// One edit, whichever trees it speaks of: what it would change in the store.
#pragma once

#include <set>

#include "config_edit.hpp"
#include "element.hpp"
#include "mapper.hpp"
#include "operation.hpp"
#include "overlay.hpp"

namespace zpf::agent {

/// On whose behalf an edit is made, and by which rules.
struct Author {
    const Who& who;
    const Nacm& nacm;
    NacmCounters& counters;
};

/// Changes, and which of them were asked for through the client model: the rules of that tree judge them.
struct ChangeSet {
    ChangeMap changes;
    std::set<std::string, std::less<>> through_client;
};

/**
 * Maps and applies the elements of a `config`, in their order, to a copy of what they name. The client model and the
 * native models are two views of one configuration: what an element changes is seen by those after it.
 * @param judge hold the outcome against the models
 * @return new values of records; empty when nothing changes
 * Throws Refused; then nothing has happened.
 */
ChangeSet change_of(Mapper& mapper, const kelda::Reader& base, Element config, Operation default_operation, bool judge,
                    const Author& author);

/// Throws Refused (access-denied) unless the rules let the author make the changes: those of the client model's tree
/// for what was asked for through it, those of the native trees for all else.
void check_access(Mapper& mapper, const kelda::Reader& before, const ChangeSet& set, const Author& author);

/// What it takes to make one configuration of the other: `copy-config`.
ChangeMap change_to(const kelda::Reader& from, const kelda::Reader& to);

/// The client model's configuration as libyang data; null when there is none.
bridge::DataPtr client_config(Mapper& mapper, const kelda::Reader& config);

} // namespace zpf::agent
