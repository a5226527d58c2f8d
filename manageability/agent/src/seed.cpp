// SPDX-License-Identifier: Apache-2.0
//
// Seeding.
#include "seed.hpp"

#include <fstream>
#include <iterator>

#include "record_path.hpp"
#include "records.hpp"
#include "zpf_bridge/data.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kSeeded = "/agent/seeded";
constexpr std::string_view kReadings = "/agent/first-readings/"; ///< PORT/LEAF, encoded

std::string text_of(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw Failure(file + ": no seed data can be read from here");
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Configuration of a port, whatever is in it. Its readings stand for it as long as it is the same.
std::string configuration_of(const kelda::Reader& store, std::string_view port)
{
    std::string name = std::string{kConfigBranch} + "Quarn-KMT-VN-ifmgr-cfg:interface-configurations/"
                                                    "interface-configuration=act,";
    append_encoded(name, port);
    std::string text;
    store.scan(name, [&](std::string_view key, std::string_view value) {
        if (is_at_or_below(key, name)) {
            text.append(key.substr(name.size())).append("=").append(value).append("\n");
        }
        return true;
    });
    return text;
}

void put_readings(const Node& root, kelda::Transaction& transaction)
{
    const Node* const top = find_child(root, "ots-oper");
    const Node* const ports = top ? find_child(*top, "ots-ports") : nullptr;
    if (ports == nullptr) {
        return;
    }
    for (const Node& port : children(*ports)) {
        const Node* const name = find_child(port, "name");
        const Node* const info = find_child(port, "ots-info");
        if (name == nullptr) {
            continue;
        }
        std::string key{kReadings};
        append_encoded(key, value_of(*name).value_or(""));
        transaction.put(key, configuration_of(transaction, value_of(*name).value_or("")));
        for (const Node& leaf : info ? children(*info) : std::span<const Node>{}) {
            transaction.put(key + "/" + std::string{tag_of(leaf)}, value_of(leaf).value_or(""));
        }
    }
}

/// Data of a mapped tree would be records that nothing reads: the tree is made from the native data.
void check_native(const Yang& yang, const Node& root, const std::string& file)
{
    for (const Node& top : children(root)) {
        const SchemaNode* const own = yang.schema().find_top(tag_of(top));
        const lysc_node* const schema = own ? yang.compiled(*own) : nullptr;
        if (schema != nullptr && yang.home(*schema) == Home::mapped) {
            throw Failure(file + ": element \"" + own->tag + "\" of module " + own->module +
                          " cannot be seeded: seeds hold native data");
        }
    }
}

} // namespace

bool seed(const Yang& yang, kelda::Store& store, const std::string& file)
{
    kelda::Transaction transaction = store.write();
    bool used = transaction.get(kSeeded).has_value();
    transaction.scan(kConfigBranch, [&](std::string_view, std::string_view) {
        used = true;
        return false;
    });
    if (used) {
        return false;
    }
    const Tree data = bridge::parse_native(yang.models(), text_of(file), file);
    check_native(yang, data.root(), file);
    Records records;
    add_records(yang.schema(), data.root(), records);
    for (const auto& [name, value] : records) {
        transaction.put(name, value);
    }
    put_readings(data.root(), transaction);
    transaction.put(kSeeded, "");
    transaction.commit();
    return true;
}

std::vector<device::Reading> first_readings(const kelda::Reader& store)
{
    std::vector<device::Reading> readings;
    store.scan(kReadings, [&](std::string_view key, std::string_view value) {
        const std::string_view rest = key.substr(kReadings.size());
        const auto slash = rest.find('/');
        const std::string port = decoded(rest.substr(0, slash));
        if (slash == std::string_view::npos) {
            // What was configured since has moved the device on.
            if (configuration_of(store, port) == value) {
                readings.push_back({port, {}});
            }
        } else if (!readings.empty() && readings.back().port == port) {
            readings.back().leaves.emplace_back(rest.substr(slash + 1), std::string{value});
        }
        return true;
    });
    return readings;
}

} // namespace zpf::agent
