/* SPDX-License-Identifier: Apache-2.0
 *
 * zpf/records.h alone, as C and as C++. */
#include "zpf/records.h"

int check_zpf_records(void);
int check_zpf_records(void)
{
    static qidl_zpf_datatree children[2];
    static struct zpf_map_context context;
    context.list_edit_op = ZPF_OP_REMOVE;
    children[1].node_type = ZPF_NODE_LEAF;
    return sizeof children == 2 * 56 && children[0].node_type == 0 && context.list_edit_op == 4;
}
