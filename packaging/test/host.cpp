// SPDX-License-Identifier: Apache-2.0
//
// Writes a record and reads it back, and makes a mapping context, through installed headers and libraries.
// usage: host STORE_DIR
#include <kelda/store.hpp>

#include <cstdio>

#ifndef STORE_ONLY
#include <zpf_map/context.hpp>
#include <zpf_map/schema.hpp>
#endif

int main(int argc, char** argv)
{
    if (argc != 2) {
        return 2;
    }
    kelda::Store store = kelda::Store::open(argv[1], {});
    kelda::Transaction change = store.write();
    change.put("/config/here", "5");
    change.commit();
    const auto snapshot = store.snapshot();
    if (snapshot.get("/config/here") != "5") {
        std::puts("the record is not there");
        return 1;
    }
#ifndef STORE_ONLY
    const zpf::Schema schema;
    const zpf::Context context(&schema);
#endif
    std::puts("host done");
    return 0;
}
