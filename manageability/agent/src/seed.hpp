// SPDX-License-Identifier: Apache-2.0
//
// What a new store begins with.
#pragma once

#include <string>
#include <vector>

#include "kelda/store.hpp"
#include "yang.hpp"
#include "zpf_device/driver.hpp"

namespace zpf::agent {

/**
 * Puts native data into a store that was never seeded and has no configuration: all of it or, on a failure, nothing.
 * Readings in them become what the simulated device begins with.
 * @return true when it did, false when the store had data already
 * Throws bridge::BadInput for a file that the models do not take, Failure for one that cannot be read or that holds
 * data of a mapped tree.
 */
bool seed(const Yang& yang, kelda::Store& store, const std::string& file);

/// Readings that the device begins with: those of the file that the store began with, but not of ports that have been
/// configured otherwise since.
std::vector<device::Reading> first_readings(const kelda::Reader& store);

} // namespace zpf::agent
