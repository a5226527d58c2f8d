// SPDX-License-Identifier: Apache-2.0
//
// Laws of reads, over random devices and random filters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "device.hpp"
#include "leaves.hpp"
#include "system.hpp"
#include "zpf_namespaces.h"

namespace zpf::scenarios {

namespace {

using ::testing::IsEmpty;
using ::testing::IsSubsetOf;

constexpr const char* kEntry = "/optical-attenuator/attenuators/attenuator";

class Reads : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const std::string missing = missing_models(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
    }

    const Schema& schema() const { return System::shared().schema(); }
    Context& context() { return context_; }

    ReadResult read(uint32_t kind, const Node& request, const Node& native,
                    TreeSource::Answer answer = TreeSource::Answer::selected)
    {
        const TreeSource source(schema(), native, answer);
        return System::shared().driver().read(context_, kind, &request, source);
    }

    /// The reply's leaves, sorted, since the order of entries is the store's; or the error tag.
    std::vector<std::string> told(const ReadResult& result) const
    {
        if (result.refusal) {
            return {"refused: " + result.refusal->tag + " " + result.refusal->path};
        }
        auto leaves = leaves_of(schema(), result.reply.root());
        std::sort(leaves.begin(), leaves.end());
        return leaves;
    }

    Tree request_for(const std::vector<std::string>& names) const
    {
        Tree tree;
        Node& list = open_list(tree);
        for (const std::string& name : names) {
            tree.add(tree.add(list, entry()), *entry().find("name"), name);
        }
        return tree;
    }

    Node& open_list(Tree& tree) const
    {
        const SchemaNode& top = *schema().find_top("optical-attenuator");
        return tree.add(tree.add(tree.root(), top), *top.find("attenuators"));
    }

    const SchemaNode& entry() const { return *schema().find_path(kEntry); }

    /// A filter with any of the model's nodes, names and content matches.
    Tree random_filter(Dice& dice) const
    {
        Tree tree;
        if (dice.once_in(12)) {
            return tree;
        }
        Node& list = open_list(tree);
        for (std::uint32_t i = dice.roll(3); i > 0; --i) {
            Node& node = tree.add(list, entry());
            if (dice.once_in(2)) {
                static const std::vector<std::string> names{"0/0-VOA-BST0", "0/0-VOA-BST2", "0/0-VOA-BST2",
                                                            "0/0-VOA-BST02", "0/0-VOA-BST7"};
                tree.add(node, *entry().find("name"), dice.one_of(names));
            } else if (dice.once_in(3)) {
                tree.add(node, *entry().find("name"));
            }
            for (const char* const part : {"config", "state"}) {
                if (dice.once_in(2)) {
                    add_random_part(tree, tree.add(node, *entry().find(part)), *entry().find(part), dice);
                }
            }
        }
        return tree;
    }

private:
    static void add_random_part(Tree& tree, Node& part, const SchemaNode& schema, Dice& dice)
    {
        for (const auto& child : schema.children) {
            if (!dice.once_in(child->tag == "name" || child->tag == "attenuation" ? 3 : 12)) {
                continue;
            }
            if (child->tag == "attenuation" && dice.once_in(3)) {
                tree.add(part, *child, std::to_string(dice.roll(20)) + ".5");
            } else {
                tree.add(part, *child);
            }
        }
    }

    Context context_{&System::shared().schema()};
};

std::string story(std::uint32_t seed, const Node& request, const Device& device)
{
    return "seed " + std::to_string(seed) + "\nrequest:\n" + zpf::to_text(request, 2) + "device:\n" + to_text(device);
}

/// A random subset of the model's containers and lists, keyless.
void add_containers(Tree& tree, Node& node, const SchemaNode& schema, Dice& dice)
{
    for (const auto& child : schema.children) {
        const bool inner = child->kind == NodeKind::container || child->kind == NodeKind::list;
        if (inner && !dice.once_in(3)) {
            add_containers(tree, tree.add(node, *child), *child, dice);
        }
    }
}

TEST_F(Reads, OfContainersAloneAreNeverRefused)
{
    for (std::uint32_t seed = 1; seed <= 500; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device);
        Tree request;
        const SchemaNode& top = *schema().find_top("optical-attenuator");
        add_containers(request, request.add(request.root(), top), top, dice);
        for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG}) {
            const ReadResult result = read(kind, request.root(), native.root());
            EXPECT_FALSE(result.refusal.has_value()) << kind << " " << story(seed, request.root(), device);
        }
    }
}

TEST_F(Reads, DoNotDependOnWhatTheStoreHandsOutNorOnItsOrder)
{
    for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device);
        const Tree shuffled = native_data(schema(), device, &dice);
        const Tree request = random_filter(dice);
        for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG}) {
            const auto selected = told(read(kind, request.root(), native.root()));
            EXPECT_EQ(selected, told(read(kind, request.root(), native.root(), TreeSource::Answer::everything)))
                << kind << " " << story(seed, request.root(), device);
            EXPECT_EQ(selected, told(read(kind, request.root(), shuffled.root())))
                << kind << " " << story(seed, request.root(), device);
        }
    }
}

/// Lines of the attenuator with this name.
std::vector<std::string> part_of(const std::vector<std::string>& leaves, const std::string& name)
{
    std::vector<std::string> part;
    std::copy_if(leaves.begin(), leaves.end(), std::back_inserter(part), [&](const std::string& leaf) {
        return leaf.starts_with(std::string(kEntry) + "[name='" + name + "']");
    });
    return part;
}

TEST_F(Reads, OfSeveralNamesAddUp)
{
    const std::vector<std::string> names{"0/0-VOA-BST0", "0/0-VOA-BST2"};
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device);
        const Tree everything;
        for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG}) {
            const auto all = told(read(kind, everything.root(), native.root()));
            std::vector<std::string> sum;
            for (const std::string& name : names) {
                const auto one = told(read(kind, request_for({name}).root(), native.root()));
                EXPECT_EQ(one, part_of(all, name)) << kind << name << "\n" << to_text(device);
                sum.insert(sum.end(), one.begin(), one.end());
            }
            std::sort(sum.begin(), sum.end());
            EXPECT_EQ(sum, told(read(kind, request_for(names).root(), native.root()))) << kind << "\n"
                                                                                       << to_text(device);
            EXPECT_EQ(sum, all) << kind << "\n" << to_text(device);
        }
    }
}

/// What is wrong with the form of a reply: keyless or double entries, double leaves, containers with nothing in them.
void find_faults(const Node& parent, const SchemaNode* above, const Schema& schema, std::vector<std::string>& faults)
{
    std::set<std::string> seen;
    for (const Node& node : children(parent)) {
        const std::string tag(tag_of(node));
        const SchemaNode* const own = above ? above->find(tag) : schema.find_top(tag);
        if (own == nullptr) {
            faults.push_back(tag + " is nothing that the model has");
            continue;
        }
        std::string name = tag;
        if (own->kind == NodeKind::list) {
            for (const std::string& key : own->keys) {
                const Node* const leaf = find_child(node, key);
                if (leaf == nullptr || value_of(*leaf).value_or("").empty()) {
                    faults.push_back(tag + " without " + key);
                } else {
                    name.append(" ").append(*value_of(*leaf));
                }
            }
            if (children(node).empty() || tag_of(children(node).front()) != own->keys.front()) {
                faults.push_back(name + " does not begin with its key");
            }
        }
        if (!seen.insert(name).second) {
            faults.push_back(name + " stands there twice");
        }
        if (own->kind == NodeKind::container && children(node).empty()) {
            faults.push_back(name + " is empty");
        }
        find_faults(node, own, schema, faults);
    }
}

TEST_F(Reads, GiveWellFormedRepliesOfTheTwoAttenuatorsOnly)
{
    for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device, &dice);
        const Tree request = random_filter(dice);
        for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG}) {
            const ReadResult result = read(kind, request.root(), native.root(), TreeSource::Answer::everything);
            std::vector<std::string> faults;
            find_faults(result.reply.root(), nullptr, schema(), faults);
            EXPECT_THAT(faults, IsEmpty()) << kind << " " << story(seed, request.root(), device);
            const auto leaves = told(result);
            const std::size_t known = part_of(leaves, "0/0-VOA-BST0").size() + part_of(leaves, "0/0-VOA-BST2").size();
            EXPECT_EQ(known, result.refusal ? 0 : leaves.size()) << kind << " " << story(seed, request.root(), device);
            EXPECT_NO_THROW(bridge::print_data(System::shared().models(), result.reply.root(), bridge::Syntax::json));
        }
    }
}

std::string value_in(const std::vector<std::string>& leaves, const std::string& path)
{
    for (const std::string& leaf : leaves) {
        if (leaf.starts_with(path + " = ")) {
            return leaf.substr(path.size() + 3);
        }
    }
    return "none";
}

std::string quoted_db(int tenths)
{
    return "\"" + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + "0\"";
}

TEST_F(Reads, TellWhatIsConfiguredAndWhatIsMeasured)
{
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device, &dice);
        const Tree everything;
        const auto get = told(read(ZPF_REQUEST_GET, everything.root(), native.root()));
        const auto get_config = told(read(ZPF_REQUEST_GET_CONFIG, everything.root(), native.root()));
        for (const std::string name : {"0/0-VOA-BST0", "0/0-VOA-BST2"}) {
            const std::string here = std::string(kEntry) + "[name='" + name + "']";
            const auto found = device.interfaces.find(controller_of(name));
            const auto reading = device.readings_tenths.find(controller_of(name));
            const std::optional<int> configured =
                found == device.interfaces.end() ? std::nullopt : found->second.voa_tenths;
            const std::optional<int> measured =
                reading == device.readings_tenths.end() ? std::nullopt : std::optional{reading->second};
            const auto shown = [](std::optional<int> tenths) { return tenths ? quoted_db(*tenths) : "none"; };
            EXPECT_EQ(value_in(get_config, here + "/config/attenuation"), shown(configured)) << to_text(device);
            EXPECT_EQ(value_in(get, here + "/config/attenuation"), shown(configured ? configured : measured))
                << to_text(device);
            EXPECT_EQ(value_in(get, here + "/state/attenuation"), shown(measured)) << to_text(device);
            EXPECT_EQ(value_in(get, here + "/state/actual-attenuation/instant"), shown(measured)) << to_text(device);
            EXPECT_EQ(value_in(get, here + "/state/enabled"), !measured       ? "none"
                                                              : *measured > 0 ? "\"true\""
                                                                              : "\"false\"")
                << to_text(device);
            EXPECT_EQ(part_of(get_config, name).empty(), found == device.interfaces.end()) << to_text(device);
        }
        EXPECT_FALSE(std::any_of(get_config.begin(), get_config.end(), [](const std::string& leaf) {
            return leaf.find("/state/") != std::string::npos;
        })) << to_text(device);
    }
}

/// Looks over the adds of a plug-in, and at the error tag that a walk leaves behind.
class AddWatch : public Observer {
public:
    explicit AddWatch(zpf_map_ctx ctx) : ctx_(ctx) {}

    void operation(const Operation& op) override
    {
        if (std::string_view{op.name} == "zpf_map_datatree_add_path_flagged") {
            adds.insert(std::string(op.path ? op.path : "null") + " " + (op.ns ? op.ns : "null"));
        }
    }

    void phase(Phase phase, std::string_view, const Node*, qerrno result) override
    {
        if (phase == Phase::done && result == ZPF_RC_OK && ctx_->request->error_tag != nullptr) {
            left_behind.insert(ctx_->request->error_tag);
        }
    }

    std::set<std::string> adds;
    std::set<std::string> left_behind; ///< error tags after walks that succeeded

private:
    zpf_map_ctx ctx_;
};

std::set<std::string> allowed_adds()
{
    const std::string ic = "/interface-configurations/interface-configuration";
    const std::string op = "/ots-oper/ots-ports/ots-port";
    const std::string at = kEntry;
    std::set<std::string> adds;
    for (const char* const tail : {"", "/interface-name", "/active"}) {
        adds.insert(ic + tail + " " + ZPF_NS_IFMGR_CFG);
    }
    adds.insert(ic + "/ots/ots-tx-voa-attenuation " + ZPF_NS_CONTROLLER_OTS_CFG);
    for (const char* const tail : {"", "/name", "/ots-info/tx-voa-attenuation"}) {
        adds.insert(op + tail + " " + ZPF_NS_CONTROLLER_OTS_OPER);
    }
    for (const char* const tail : {"", "/name", "/config/name", "/config/attenuation", "/state/name",
                                   "/state/attenuation", "/state/actual-attenuation/instant", "/state/enabled"}) {
        adds.insert(at + tail + " " + ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
    }
    return adds;
}

TEST_F(Reads, AddPathsOfAFixedSetEachInItsNamespaceAndKeepKeys)
{
    AddWatch watch(context().raw());
    context().observe(&watch);
    const std::set<std::string> controllers{"Ots0/0/0/0", "Ots0/0/0/2"};
    for (std::uint32_t seed = 1; seed <= 600; ++seed) {
        Dice dice(seed);
        const Device device = random_device(dice);
        const Tree native = native_data(schema(), device);
        Tree request = dice.once_in(2) ? Tree{} : request_for({dice.once_in(2) ? "0/0-VOA-BST0" : "0/0-VOA-BST2"});
        const uint32_t kind = dice.once_in(2) ? ZPF_REQUEST_GET : ZPF_REQUEST_GET_CONFIG;
        const ReadResult result = read(kind, request.root(), native.root(), TreeSource::Answer::everything);
        ASSERT_FALSE(result.refusal.has_value());
        // A key that was overwritten would be gone here: an empty one selects nothing and is dropped.
        std::multiset<std::string> keys;
        for (const std::string& leaf : leaves_of(schema(), result.selections.front().root())) {
            if (leaf.find("/interface-name = ") != std::string::npos || leaf.find("/name = ") != std::string::npos) {
                keys.insert(leaf.substr(leaf.find(" = ") + 3));
            }
        }
        const std::size_t entries = children(request.root()).empty() ? 2 : 1;
        EXPECT_EQ(keys.size(), kind == ZPF_REQUEST_GET ? 2 * entries : entries) << seed;
        for (const std::string& key : keys) {
            EXPECT_TRUE(controllers.contains(key.substr(1, key.size() - 2))) << key;
        }
    }
    context().observe(nullptr);
    EXPECT_THAT(watch.adds, IsSubsetOf(allowed_adds()));
    EXPECT_EQ(watch.adds.size(), allowed_adds().size()) << "each of them is met";
    // Expansions meet unsupported leaves and go on; the tag they leave is no error.
    EXPECT_THAT(watch.left_behind, ::testing::Contains("optical-attenuator"));
}

} // namespace

} // namespace zpf::scenarios
