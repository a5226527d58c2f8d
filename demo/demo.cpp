// SPDX-License-Identifier: Apache-2.0
//
// The system on one screen: a client's edit goes to native data and comes back, and a bad one is refused.
// Succeeds only if every value is what it has to be.
#include <fmt/format.h>

#include <exception>
#include <vector>

#include "columns.hpp"
#include "data.hpp"
#include "locate.hpp"
#include "output.hpp"
#include "zpf_bridge/data.hpp"
#include "zpf_map/driver.hpp"

namespace {

using namespace zpf;

/// Value at a path of tags below a tree's root; list entries are chosen by "tag[key=value]".
std::string value_at(const Node& root, const std::vector<std::string>& steps)
{
    std::vector<const Node*> at{&root};
    for (const std::string& step : steps) {
        const auto bracket = step.find('[');
        const std::string tag = step.substr(0, bracket);
        std::vector<const Node*> next;
        for (const Node* node : at) {
            for (const Node& child : children(*node)) {
                if (tag_of(child) != tag) {
                    continue;
                }
                if (bracket != std::string::npos) {
                    const auto equals = step.find('=');
                    const Node* key = find_child(child, step.substr(bracket + 1, equals - bracket - 1));
                    if (key == nullptr || value_of(*key) != step.substr(equals + 1, step.size() - equals - 2)) {
                        continue;
                    }
                }
                next.push_back(&child);
            }
        }
        at = next;
    }
    return at.size() == 1 ? std::string(value_of(*at.front()).value_or("")) : std::string{};
}

/// The elements of a document, without what stands before them for other readers.
std::string body_of(const char* xml)
{
    std::string text(xml);
    while (text.starts_with("<?") || text.starts_with("<!--")) {
        text.erase(0, text.find('\n') + 1);
    }
    return text;
}

class Checks {
public:
    void expect(const std::string& what, const std::string& got, const std::string& wanted)
    {
        const auto style = cli::Style::of(stdout, cli::Colour::automatic);
        const bool ok = got == wanted;
        all_ok_ = all_ok_ && ok;
        fmt::print("  {}{}{} {}: {}{}\n", ok ? style.good : style.bad, ok ? "ok  " : "FAIL", style.off, what, got,
                   ok ? "" : " (expected " + wanted + ")");
    }
    bool all_ok() const { return all_ok_; }

private:
    bool all_ok_ = true;
};

class Demo {
public:
    Demo()
        : models_({cli::default_yang_dir()}),
          plugin_(cli::default_plugin()),
          driver_(models_.schema(), plugin_),
          context_(&models_.schema()),
          native_(bridge::parse_native(models_, demo::kNative, "demo device"))
    {
        options_.validate = [this](const Node& after) { return bridge::validate_native(models_, after); };
    }

    bool run()
    {
        edit();
        read_back();
        refuse();
        return checks_.all_ok();
    }

private:
    EditResult apply(const char* text)
    {
        const bridge::Request request = bridge::parse_request(models_, text, "demo request", ZPF_REQUEST_EDIT_CONFIG);
        const TreeSource source(models_.schema(), native_.root(), TreeSource::Answer::everything);
        return driver_.edit(context_, &request.tree.root(), source, options_);
    }

    static std::string attenuation_of(const Node& native, const char* controller)
    {
        return value_at(native, {"interface-configurations",
                                 fmt::format("interface-configuration[interface-name={}]", controller), "ots",
                                 "ots-tx-voa-attenuation"});
    }

    void edit()
    {
        const EditResult result = apply(demo::kEdit);
        demo::print_side_by_side("1  A client sets attenuator 0/0-VOA-BST2 to 12.5 dB:", body_of(demo::kEdit),
                                 "2  The plug-in makes it a native edit (tenths of a dB):",
                                 result.refusal ? result.refusal->message : to_text(result.edit.root()));
        const std::string before = attenuation_of(native_.root(), "Ots0/0/0/2");
        checks_.expect(
            "native edit of controller",
            value_at(result.edit.root(), {"interface-configurations", "interface-configuration", "interface-name"}),
            "Ots0/0/0/2");
        checks_.expect("native edit, value",
                       value_at(result.edit.root(), {"interface-configurations", "interface-configuration", "ots",
                                                     "ots-tx-voa-attenuation"}),
                       "125");
        native_ = result.after.clone();
        checks_.expect(fmt::format("native data of Ots0/0/0/2, was {}, now", before),
                       attenuation_of(native_.root(), "Ots0/0/0/2"), "125");
        checks_.expect("native data of Ots0/0/0/1, not an attenuator, still",
                       attenuation_of(native_.root(), "Ots0/0/0/1"), "77");
        fmt::print("\n");
    }

    void read_back()
    {
        const bridge::Request request = bridge::parse_request(models_, demo::kGetOne, "demo request", std::nullopt);
        const TreeSource source(models_.schema(), native_.root());
        const ReadResult result = driver_.read(context_, *request.kind, &request.tree.root(), source);
        demo::print_side_by_side("3  The client reads it back:", body_of(demo::kGetOne),
                                 "4  The native data come back as OpenConfig (dB):",
                                 result.refusal ? result.refusal->message : to_text(result.reply.root()));
        checks_.expect("read back",
                       value_at(result.reply.root(), {"optical-attenuator", "attenuators",
                                                      "attenuator[name=0/0-VOA-BST2]", "config", "attenuation"}),
                       "12.50");
        fmt::print("\n");
    }

    void refuse()
    {
        EditResult result = apply(demo::kRefused);
        if (!result.refusal) {
            native_ = result.after.clone(); // what should not have happened is then seen below
        }
        const Refusal refusal = result.refusal.value_or(Refusal{});
        demo::print_side_by_side("5  A client asks for more than the device can do:", body_of(demo::kRefused),
                                 "6  The error it gets:",
                                 fmt::format("error-type     {}\nerror-tag      {}\nerror-app-tag  {}\nerror-path     "
                                             "{}\nerror-message  {}\nbad-element    {}\n",
                                             refusal.type, refusal.tag, refusal.app_tag, refusal.path, refusal.message,
                                             refusal.bad_element));
        checks_.expect("refused with", refusal.tag, "invalid-value");
        checks_.expect("because", refusal.message, "Invalid argument:VN support range from 0 to 200");
        checks_.expect("native data of Ots0/0/0/2 still", attenuation_of(native_.root(), "Ots0/0/0/2"), "125");
        fmt::print("\n");
    }

    bridge::Models models_;
    Plugin plugin_;
    Driver driver_;
    Context context_;
    EditOptions options_;
    Tree native_;
    Checks checks_;
};

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): only the error message itself could throw
int main()
{
    try {
        const bool ok = Demo().run();
        fmt::print("{}\n", ok ? "Every value is as expected. Next: build/dev/bin/zpf map --help"
                              : "Not every value is as expected.");
        return ok ? 0 : 1;
    } catch (const std::exception& error) {
        cli::print_error(error.what(), cli::Colour::automatic);
        return 1;
    }
}
