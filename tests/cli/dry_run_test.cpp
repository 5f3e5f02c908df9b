// A dry run says what the run that follows it does, class by class and member by member, with
// its exit status, and leaves the server and the model as they were.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <map>

#include "cli_world.h"
#include "hosts/rose/host/host.h"
#include "hosts/tavro/xml/class_xml.h"
#include "tests/support/support.h"

namespace {

using cli_test::CliWorld;

const std::string kShop = std::string(CORVANSIL_SOURCE_DIR) + "/examples/shop.mdl";
const std::string kSamples = testsupport::SamplesDir() + "/mdl/";

// Per class: its outcome line ("Shop.Product: replaced (detail)") and then its member lines.
using Outcomes = std::map<std::string, std::vector<std::string>>;

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// "would be created: NAME", "would fail: NAME (why)" and the member lines under each.
Outcomes DryRunOutcomes(const std::string& out) {
    Outcomes outcomes;
    std::vector<std::string>* current = nullptr;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
        std::string rest;
        std::string word;
        if (line.rfind("would be ", 0) == 0) {
            rest = line.substr(9);
            word = rest.substr(0, rest.find(':'));
            rest = rest.substr(rest.find(':') + 2);
        } else if (line.rfind("would fail: ", 0) == 0) {
            word = "failed";
            rest = line.substr(12);
        } else if (line.rfind("    ", 0) == 0 && current) {
            current->push_back(line.substr(4));
            continue;
        } else {
            current = nullptr;
            continue;
        }
        std::string name = rest.substr(0, rest.find(" ("));
        std::string detail = rest.size() > name.size() ? rest.substr(name.size()) : "";
        current = &outcomes[name];
        current->push_back(word + detail);
    }
    return outcomes;
}

// "done   NAME: Existing Class Replaced (1 Invalid Property Skipped.)" as the dry run words it.
Outcomes RunOutcomes(const std::string& out) {
    static const std::pair<const char*, const char*> kWords[] = {
        {"New Class Created", "created"},
        {"Existing Class Replaced", "replaced"},
        {"Existing Class Skipped", "skipped"},
        {"Failed", "failed"},
    };
    Outcomes outcomes;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("done   ", 0) != 0 && line.rfind("FAILED ", 0) != 0) continue;
        std::string rest = line.substr(7);
        std::size_t colon = rest.find(": ");
        if (colon == std::string::npos) continue;  // a diagram step
        std::string status = rest.substr(colon + 2);
        for (const auto& [text, word] : kWords) {
            if (status.rfind(text, 0) == 0) status = word + status.substr(std::string(text).size());
        }
        outcomes[rest.substr(0, colon)] = {status};
    }
    return outcomes;
}

// The server's classes as the run leaves them: their XML and the length of their history.
std::map<std::string, tavro::ClassDef> ServerClasses(const CliWorld& world) {
    auto store = tavro::OpenStore(world.dataDir);
    std::map<std::string, tavro::ClassDef> classes;
    for (tavro::ClassDef& def : tavro::LoadClasses(*store, "USER")) classes[def.name] = def;
    return classes;
}

std::string ServerState(const CliWorld& world) {
    auto store = tavro::OpenStore(world.dataDir);
    std::string state;
    for (const auto& [name, def] : ServerClasses(world)) {
        state += tavro::RenderClassXml(def) +
                 std::to_string(tavro::ClassHistory(*store, "USER", name).size()) + "\n";
    }
    return state;
}

// The member lines of a replaced class: what the run wrote against what was there.
struct ServerMember {
    std::string kind, name, type;
};

std::vector<ServerMember> MembersOf(const tavro::ClassDef& def) {
    std::vector<ServerMember> members;
    for (const tavro::Item& item : def.properties) {
        auto value = [&item](const char* keyword) {
            const tavro::Keyword* found = tavro::FindKeyword(tavro::ItemKind::Property, keyword);
            return found ? tavro::ValueOf(item.values, *found) : std::string();
        };
        bool relationship = value("Relationship") == "1";
        members.push_back({relationship ? "relationship" : "property", item.name, value("Type")});
    }
    for (const tavro::Item& item : def.methods) {
        const tavro::Keyword* found = tavro::FindKeyword(tavro::ItemKind::Method, "ReturnType");
        members.push_back({"method", item.name, found ? tavro::ValueOf(item.values, *found) : ""});
    }
    return members;
}

const ServerMember* Find(const std::vector<ServerMember>& members, const std::string& name) {
    for (const ServerMember& member : members) {
        if (Lower(member.name) == Lower(name)) return &member;
    }
    return nullptr;
}

std::vector<std::string> MemberLines(const tavro::ClassDef& before, const tavro::ClassDef& after) {
    std::vector<std::string> lines;
    std::vector<ServerMember> was = MembersOf(before);
    std::vector<ServerMember> now = MembersOf(after);
    for (const ServerMember& member : now) {
        const ServerMember* there = Find(was, member.name);
        if (!there) {
            lines.push_back("added " + member.kind + " " + member.name);
        } else if (Lower(there->type) != Lower(member.type)) {
            lines.push_back("changed " + member.kind + " " + member.name + " (" + there->type +
                            " -> " + member.type + ")");
        }
    }
    for (const ServerMember& member : was) {
        if (!Find(now, member.name)) lines.push_back("dropped " + member.kind + " " + member.name);
    }
    return lines;
}

struct ExportCase {
    const char* model;  // the model file
    bool exportedBefore;
    std::function<void(CliWorld&)> change;  // made to the model after that export
    std::vector<std::string> args;
};

void Edit(CliWorld& world, const std::string& cls, const char* keyword, const char* value) {
    if (auto found = world.FindClass(cls))
        rosehost::SetToolProperty(*found, "Tavro", keyword, value);
}

TEST(DryRun, ExportSaysWhatTheRunDoesAndChangesNothing) {
    const std::vector<ExportCase> cases = {
        {"shop", false, nullptr, {"--all"}},
        {"shop", true, nullptr, {"--all"}},
        {"shop", true, nullptr, {"--all", "--keep-existing"}},
        // Boolean keywords that are no Boolean text, a name the server refuses, and members
        // added, dropped and retyped since the last export.
        {"shop",
         true,
         [](CliWorld& world) {
             Edit(world, "Product", "Final", "yes");
             Edit(world, "Address", "Abstract", "");
             world.FindClass("OrderLine")->name = "Order Line";
             // The export keeps the last of two attributes of one name.
             auto customer = world.FindClass("Customer");
             customer->attributes.pop_back();
             rosehost::CreateAttribute(*world.model, *customer, "weight", "Integer", "");
             rosehost::CreateAttribute(*world.model, *customer, "name", "Integer", "");
             for (auto& attribute : world.FindClass("RushOrder")->attributes) {
                 attribute->type = "String";
             }
         },
         {"--all"}},
        {"library.mdl", false, nullptr, {"--all"}},
        {"library.mdl", true, nullptr, {"--all"}},
        {"uni.mdl", false, nullptr, {"--all"}},
        {"uni.mdl", true, nullptr, {"--all"}},
    };
    for (const ExportCase& c : cases) {
        std::string file = std::string(c.model) == "shop" ? kShop : kSamples + c.model;
        SCOPED_TRACE(std::string(c.model) + (c.exportedBefore ? " exported before" : ""));
        CliWorld world;
        if (!world.ServeFile(file)) GTEST_SKIP() << file << " cannot be read";
        if (c.exportedBefore) world.Run({"export", "--all"});
        if (c.change) c.change(world);
        std::vector<std::string> args = {"export"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        std::string state = ServerState(world);
        std::map<std::string, tavro::ClassDef> before = ServerClasses(world);

        std::vector<std::string> dryArgs = args;
        dryArgs.push_back("--dry-run");
        int dryStatus = world.Run(dryArgs);
        Outcomes predicted = DryRunOutcomes(world.out);
        EXPECT_EQ(ServerState(world), state);

        int status = world.Run(args);
        Outcomes done = RunOutcomes(world.out);
        std::map<std::string, tavro::ClassDef> after = ServerClasses(world);
        for (auto& [name, lines] : done) {
            // A class without a package is written as one of "User".
            std::string serverName = name.find('.') == std::string::npos ? "User." + name : name;
            auto was = before.find(serverName);
            auto now = after.find(serverName);
            if (lines[0].rfind("replaced", 0) != 0 || was == before.end() || now == after.end()) {
                continue;
            }
            for (const std::string& line : MemberLines(was->second, now->second)) {
                lines.push_back(line);
            }
        }
        EXPECT_EQ(dryStatus, status);
        EXPECT_FALSE(done.empty());
        EXPECT_EQ(predicted, done);
    }
}

// The members of each model class as the import writes them: "kind name type".
std::map<std::string, std::vector<ServerMember>> ModelClasses(const CliWorld& world) {
    std::map<std::string, std::vector<ServerMember>> classes;
    for (const auto& cls : rosehost::AllClasses(*world.model)) {
        // "Logical View::Shop::Customer" is the server's "Shop.Customer".
        std::string name = rosehost::QualifiedName(*cls);
        if (name.rfind(rosehost::kLogicalView, 0) == 0) {
            name = name.substr(std::string(rosehost::kLogicalView).size() + 2);
        }
        for (std::size_t at = name.find("::"); at != std::string::npos; at = name.find("::"))
            name.replace(at, 2, ".");
        std::vector<ServerMember>& members = classes[name];
        for (const auto& attribute : cls->attributes) {
            members.push_back({"property", attribute->name, attribute->type});
        }
        for (const auto& association : rosehost::AssociationsOf(*world.model, *cls)) {
            auto other = rosehost::OtherRoleOf(*world.model, *association, *cls);
            if (other && !other->name.empty()) members.push_back({"relationship", other->name, ""});
        }
        for (const auto& operation : cls->operations) {
            members.push_back({"method", operation->name, operation->returnType});
        }
    }
    return classes;
}

// A type as both sides name it: the model's "String" is the server's "%String" or
// "%Library.String".
std::string Plain(const std::string& type) {
    std::string plain = Lower(type);
    if (plain.rfind('%', 0) == 0) plain.erase(0, 1);
    if (plain.rfind("library.", 0) == 0) plain.erase(0, 8);
    return plain;
}

// A member line without the types of a change, which the import words in the server's form.
std::string Untyped(const std::string& line) { return line.substr(0, line.find(" (")); }

struct ImportCase {
    const char* model;  // the model file exported to the server first
    bool intoEmptyModel;
    std::function<void(CliWorld&)> change;  // made to the model after the export
    std::vector<std::string> args;
};

TEST(DryRun, ImportSaysWhatTheRunDoesAndChangesNothing) {
    const std::vector<ImportCase> cases = {
        {"shop", true, nullptr, {"--all"}},
        {"shop", false, nullptr, {"--all"}},
        {"shop", false, nullptr, {"--all", "--keep-existing"}},
        {"shop",
         false,
         [](CliWorld& world) {
             world.FindClass("OrderLine")->attributes.clear();
             world.FindClass("Customer")->operations.pop_back();
             rosehost::CreateAttribute(*world.model, *world.FindClass("Product"), "weight",
                                       "Integer", "");
         },
         {"Shop.Order.*", "Shop.Customer", "Shop.Product"}},
        {"library.mdl", true, nullptr, {"--all"}},
        {"library.mdl", false, nullptr, {"--all"}},
        {"uni.mdl", true, nullptr, {"--all"}},
        {"uni.mdl", false, nullptr, {"--all"}},
    };
    for (const ImportCase& c : cases) {
        std::string file = std::string(c.model) == "shop" ? kShop : kSamples + c.model;
        SCOPED_TRACE(std::string(c.model) + (c.intoEmptyModel ? " into an empty model" : ""));
        CliWorld world;
        if (!world.ServeFile(file)) GTEST_SKIP() << file << " cannot be read";
        world.Run({"export", "--all"});
        if (c.intoEmptyModel) world.ServeEmptyModel();
        if (c.change) c.change(world);
        std::vector<std::string> args = {"import"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        std::string shown = rosehost::ShowModel(*world.model);
        auto before = ModelClasses(world);

        std::vector<std::string> dryArgs = args;
        dryArgs.push_back("--dry-run");
        int dryStatus = world.Run(dryArgs);
        Outcomes predicted = DryRunOutcomes(world.out);
        EXPECT_EQ(rosehost::ShowModel(*world.model), shown);

        int status = world.Run(args);
        Outcomes done = RunOutcomes(world.out);
        auto after = ModelClasses(world);
        for (auto& [name, lines] : done) {
            auto was = before.find(name);
            if (lines[0].rfind("replaced", 0) != 0 || was == before.end()) continue;
            std::vector<ServerMember> now = after[name];
            for (const ServerMember& member : now) {
                if (!Find(was->second, member.name)) {
                    lines.push_back("added " + member.kind + " " + member.name);
                } else if (Plain(Find(was->second, member.name)->type) != Plain(member.type)) {
                    lines.push_back("changed " + member.kind + " " + member.name);
                }
            }
            for (const ServerMember& member : was->second) {
                if (!Find(now, member.name)) {
                    lines.push_back("dropped " + member.kind + " " + member.name);
                }
            }
        }
        for (auto& [name, lines] : predicted) {
            for (std::size_t i = 1; i < lines.size(); ++i) lines[i] = Untyped(lines[i]);
        }
        EXPECT_EQ(dryStatus, status);
        EXPECT_FALSE(done.empty());
        EXPECT_EQ(predicted, done);
    }
}

}  // namespace
