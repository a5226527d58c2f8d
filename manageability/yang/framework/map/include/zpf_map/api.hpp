// SPDX-License-Identifier: Apache-2.0
//
// What libzpf_map lets its hosts see.
#pragma once

#define ZPF_API __attribute__((visibility("default")))
