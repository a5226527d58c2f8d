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
 * Maps and applies the elements of a `config` to a copy of what they name. The client model and the native models are
 * two views of one configuration, so what is asked for through the one must not contradict what is asked for through
 * the other. In whichever order they stand, each is seen against `base`: a view that says what was so before leaves the
 * other's change alone.
 * @param judge hold the outcome against the models
 * @return new values of records; empty when nothing changes
 * Throws Refused; then nothing has happened.
 */
ChangeSet change_of(Mapper& mapper, const kelda::Reader& base, Element config, Operation default_operation, bool judge,
                    const Author& author);

/**
 * What it takes to make of `target` what a whole `config` says. Where it speaks of the client's model and of native
 * ones, they add up as in an edit. The rules are asked about the elements, as they judge an edit; models are not.
 * Throws Refused.
 */
ChangeSet replacement_of(Mapper& mapper, const kelda::Reader& target, Element config, const Author& author);

/// Throws Refused (access-denied) unless the rules let the author make the changes: those of the client model's tree
/// for what was asked for through it, those of the native trees for all else.
void check_access(Mapper& mapper, const kelda::Reader& before, const ChangeSet& set, const Author& author);

/// What it takes to make one configuration of the other: `copy-config`.
ChangeMap change_to(const kelda::Reader& from, const kelda::Reader& to);

/// The client model's configuration as libyang data; null when there is none.
bridge::DataPtr client_config(Mapper& mapper, const kelda::Reader& config);

} // namespace zpf::agent
