/* SPDX-License-Identifier: Apache-2.0
 *
 * The mapping framework as a plug-in sees it: one include for records, result codes, operations and diagnostics. */
#ifndef ZPF_ZPF_H
#define ZPF_ZPF_H

#include "zpf/codes.h"
#include "zpf/diagnostics.h"
#include "zpf/operations.h"
#include "zpf/records.h"

#endif
