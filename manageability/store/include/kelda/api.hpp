// SPDX-License-Identifier: Apache-2.0
//
// What libkelda lets its hosts see.
#pragma once

#define KELDA_API __attribute__((visibility("default")))
