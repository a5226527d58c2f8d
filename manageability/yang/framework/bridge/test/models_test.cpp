// SPDX-License-Identifier: Apache-2.0
//
// What the framework is told of the models, and what happens to folders that hold none.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bridge_testing.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kEntry = "/interface-configurations/interface-configuration";

/// A folder of its own for one test, gone with it.
class Folder {
public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zpf-bridge-XXXXXX").string();
        path_ = ::mkdtemp(name.data()) ? name : throw std::runtime_error("no temporary folder");
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return path_; }
    void write(const std::string& name, const std::string& text) const { std::ofstream(path_ + "/" + name) << text; }

private:
    std::string path_;
};

std::string failure_of(const std::vector<std::string>& folders)
{
    try {
        const bridge::Models loaded(folders);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no error";
}

const SchemaNode& node(const std::string& path)
{
    const SchemaNode* const found = models().schema().find_path(path);
    return found ? *found : throw std::runtime_error("not in the schema: " + path);
}

TEST(Models, TellKindNamespaceAndModuleOfANode)
{
    const SchemaNode& list = node(kEntry);
    EXPECT_EQ(list.kind, NodeKind::list);
    EXPECT_EQ(list.ns, ZPF_NS_IFMGR_CFG);
    EXPECT_EQ(list.module, "Quarn-KMT-VN-ifmgr-cfg");
    EXPECT_EQ(node(std::string(kEntry) + "/mtus").kind, NodeKind::container);
    EXPECT_EQ(node(std::string(kEntry) + "/shutdown").kind, NodeKind::leaf);
}

TEST(Models, TellKeysInTheOrderOfTheModel)
{
    EXPECT_THAT(node(kEntry).keys, ElementsAre("active", "interface-name"));
    EXPECT_THAT(node(std::string(kEntry) + "/mtus/mtu").keys, ElementsAre("owner"));
    EXPECT_THAT(node("/ots-oper/ots-ports/ots-port").keys, ElementsAre("name"));
    EXPECT_THAT(node("/optical-attenuator/attenuators/attenuator").keys, ElementsAre("name"));
    EXPECT_THAT(node("/optical-attenuator/attenuators").keys, IsEmpty());
}

TEST(Models, PutAnAugmentWhereItStandsUnderItsOwnNamespace)
{
    const SchemaNode& leaf = node(std::string(kEntry) + "/ots/ots-tx-voa-attenuation");
    EXPECT_EQ(leaf.ns, ZPF_NS_CONTROLLER_OTS_CFG);
    EXPECT_EQ(leaf.module, "Quarn-KMT-VN-controller-ots-cfg");
    EXPECT_EQ(leaf.parent->tag, "ots");
    EXPECT_EQ(leaf.parent->parent->ns, ZPF_NS_IFMGR_CFG);
}

TEST(Models, TellConfigurationFromState)
{
    EXPECT_TRUE(node("/optical-attenuator/attenuators/attenuator/config/attenuation").config);
    EXPECT_FALSE(node("/optical-attenuator/attenuators/attenuator/state/attenuation").config);
    EXPECT_FALSE(node("/ots-oper").config);
}

TEST(Models, TellWhichLeavesAreComparedAsNumbers)
{
    EXPECT_TRUE(node("/optical-attenuator/attenuators/attenuator/config/attenuation").numeric);
    EXPECT_TRUE(node("/optical-attenuator/attenuators/attenuator/state/actual-attenuation/instant").numeric);
    EXPECT_FALSE(node("/optical-attenuator/attenuators/attenuator/config/name").numeric);
    EXPECT_FALSE(node("/optical-attenuator/attenuators/attenuator/name").numeric);
}

TEST(Models, KeepTheSchemaWhenMoved)
{
    bridge::Models first({ZPF_YANG_DIR});
    const SchemaNode* const before = first.schema().find_path("/ots-oper");
    const bridge::Models second(std::move(first));
    EXPECT_EQ(second.schema().find_path("/ots-oper"), before);
}

TEST(Models, LeaveTheProtocolsModulesOut)
{
    for (const auto& top : models().schema().tops()) {
        EXPECT_NE(top->module.substr(0, 5), "ietf-") << top->tag;
    }
}

TEST(Models, PassSubmodulesBy)
{
    const Folder folder;
    folder.write("whole.yang", "module whole { namespace urn:w; prefix w; include part; leaf own { type string; } }");
    folder.write("part.yang", "submodule part { belongs-to whole { prefix w; } leaf shared { type string; } }");
    const bridge::Models loaded({folder.path()});
    EXPECT_NE(loaded.schema().find_top("own"), nullptr);
    EXPECT_NE(loaded.schema().find_top("shared"), nullptr);
}

TEST(Models, NameTheFolderThatIsNotThereOrHoldsNothing)
{
    const Folder empty;
    EXPECT_THAT(failure_of({"/no/such/folder"}), HasSubstr("/no/such/folder"));
    EXPECT_THAT(failure_of({empty.path()}), HasSubstr(empty.path()));
    EXPECT_NE(failure_of({}), "no error");
}

TEST(Models, NameTheModuleThatCannotBeLoaded)
{
    const Folder folder;
    folder.write("broken.yang", "module broken { namespace urn:b; prefix b; leaf x { type no-such-type; } }");
    EXPECT_THAT(failure_of({folder.path()}), AllOf(HasSubstr("broken"), HasSubstr("no-such-type")));
}

TEST(Models, NameTheImportThatIsMissing)
{
    const Folder folder;
    folder.write("lonely.yang", "module lonely { namespace urn:l; prefix l; import absent { prefix a; } }");
    EXPECT_THAT(failure_of({folder.path()}), AllOf(HasSubstr("lonely"), HasSubstr("absent")));
}

// With or without the published modules in the place of ours, the framework sees the same attenuators.
TEST(Models, ComeFromPublishedFilesJustAsWell)
{
    if (!std::filesystem::exists(ZPF_YANG_PUBLISHED_DIR)) {
        GTEST_SKIP() << "no published modules: configure with ZPF_PUBLISHED_MODELS_DIR";
    }
    const bridge::Models published({ZPF_YANG_PUBLISHED_DIR});
    const std::function<void(const SchemaNode&)> compare = [&](const SchemaNode& own) {
        const SchemaNode* const other = published.schema().find_path(own.path());
        ASSERT_NE(other, nullptr) << own.path();
        EXPECT_EQ(other->ns, own.ns) << own.path();
        EXPECT_EQ(other->kind, own.kind) << own.path();
        EXPECT_EQ(other->keys, own.keys) << own.path();
        EXPECT_EQ(other->numeric, own.numeric) << own.path();
        EXPECT_EQ(other->children.size(), own.children.size()) << own.path();
        for (const auto& child : own.children) {
            compare(*child);
        }
    };
    compare(node("/optical-attenuator"));
    compare(node("/interface-configurations"));
}

} // namespace
} // namespace zpf::test
