// Every sample model exported into the server, imported from there into an empty model and
// exported again into a second namespace: the two exports must give the same class
// definitions. The run writes, per model file, what was carried and what was not (and why) to
// standard output and to roundtrip-report.txt in the build tree.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include "automation/local_object.h"
#include "export/export.h"
#include "hosts/rose/host/host.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "hosts/tavro/xml/class_xml.h"
#include "import/import.h"
#include "model/model.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "platform/objects.h"
#include "platform/platform.h"
#include "server/server.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/roundtrip_compare.h"
#include "tests/support/support.h"
#include "window/plain_window.h"

namespace {

using automation::Args;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;

const std::string kSamples = testsupport::SamplesDir() + "/mdl";
const std::string kReport = std::string(CORVANSIL_BINARY_DIR) + "/tests/e2e/roundtrip-report.txt";
constexpr const char* kUser = "dev";
constexpr const char* kPassword = "round-trip";
constexpr const char* kFirst = "USER";
constexpr const char* kSecond = "B";

// The client factory as the add-in holds it once connected, forwarding to one session.
ObjectRef NewFactory(const std::string& dataDir, const std::string& ns) {
    ObjectRef session = tavro::NewSessionObject(tavro::OpenSession(dataDir, ns, kUser, kPassword));
    auto factory = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    for (const char* name :
         {"NewObject", "OpenObjectById", "LoadObjectById", "ClassHandle", "OpenQuery"}) {
        factory->Define(0, name, [session, name](CallKind kind, const Args& args) {
            return session->InvokeByName(name, kind, args);
        });
    }
    factory->Define(0, "ConnectionIsOpen", [](CallKind, const Args&) { return Variant(true); });
    return factory;
}

// Moves every entry of the available list (with its key) to the selected list.
void SelectAll(window::TransferWindow& form) {
    window::ClassList& available = form.lstAvailableClasses();
    window::ClassList& availableIds = form.lstAvailableClassIDs();
    while (available.ListCount() > 0) {
        bool withId = availableIds.ListCount() > 0;
        std::int16_t at = form.lstSelectedClasses().AddItem(available.List(0));
        if (withId) form.lstSelectedClassIDs().InsertItem(at, availableIds.List(0));
        available.RemoveItem(0);
        if (withId) availableIds.RemoveItem(0);
    }
}

// The add-in's process-wide objects pointed at an in-process modelling tool and server.
class World {
  public:
    explicit World(const e2e::TempDir& dir) : dataDir_(dir / "tavro-data") {
        tavro::InitStore(dataDir_, kUser, kPassword, tavro::HashCost::Minimal);
        store = tavro::OpenStore(dataDir_);
        tavro::AddNamespace(*store, kSecond);
        platform::ResetObjects();
        platform::ResetUi();
        platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
            boxes.push_back(request.text);
            return platform::Answer::Ok;
        };
        platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
        host_ = rosehost::NewHost(rosehost::NewModel(""));
        ObjectRef app = rosehost::ApplicationObject(host_);
        rose::RoseApp = app;
        platform::Objects().getActiveObject = [app](const std::string&) { return app; };
    }
    ~World() {
        window::frmImportExport = nullptr;
        window::LinkMode = window::RunMode::None;
        importing::NewRoseClasses.Clear();
        server::ServerClassTypes.Clear();
        server::ServerFactory = nullptr;
        server::ServerNamespace.clear();
        rose::RoseApp = nullptr;
        platform::ResetObjects();
        platform::ResetUi();
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void UseModel(std::shared_ptr<rosehost::Model> model) {
        std::vector<std::string> warnings;
        rosehost::LoadAddInProperties(*model, warnings);
        for (const std::string& warning : warnings) ADD_FAILURE() << warning;
        rosehost::SetModel(*host_, std::move(model));
    }
    void UseServer(const std::string& ns) {
        server::ServerFactory = NewFactory(dataDir_, ns);
        server::ServerNamespace = ns;
        server::ServerClassTypes.Clear();
    }
    // Exports every class of the current model; the rows of the run.
    std::vector<window::LogRow> ExportAll() {
        window::PlainWindow form;
        window::frmImportExport = &form;
        window::LinkMode = window::RunMode::Export;
        model::LoadRoseClassList(form.lstAvailableClasses(), form.lstSelectedClasses(),
                                 form.lstAvailableClassIDs(), form.lstSelectedClassIDs());
        SelectAll(form);
        exporting::ExportClasses();
        window::frmImportExport = nullptr;
        return form.Rows();
    }
    // Imports every class of the current server namespace into the current model.
    std::vector<window::LogRow> ImportAll() {
        window::PlainWindow form;
        window::frmImportExport = &form;
        window::LinkMode = window::RunMode::Import;
        importing::NewRoseClasses.Clear();
        server::LoadTavroClassList();
        SelectAll(form);
        importing::ImportClasses();
        window::frmImportExport = nullptr;
        return form.Rows();
    }

    std::unique_ptr<tavro::Store> store;
    std::vector<std::string> boxes;

  private:
    std::string dataDir_;
    std::shared_ptr<rosehost::Host> host_;
};

// The namespace's own classes (the server's '%' classes left out), by name.
std::map<std::string, tavro::ClassDef> ClassesOf(tavro::Store& store, const std::string& ns) {
    std::map<std::string, tavro::ClassDef> classes;
    for (const tavro::SummaryRow& row : tavro::SummaryOf(store, ns)) {
        if (row.name.empty() || row.name.front() == '%') continue;
        tavro::ClassDef def;
        if (tavro::LoadClass(store, ns, row.name, def)) classes[row.name] = std::move(def);
    }
    return classes;
}

struct Counts {
    std::size_t classes = 0, attributes = 0, operations = 0, associations = 0;
};

Counts CountModel(const rosehost::Model& model) {
    Counts counts;
    for (const auto& cls : rosehost::AllClasses(model)) {
        ++counts.classes;
        counts.attributes += cls->attributes.size();
        counts.operations += cls->operations.size();
    }
    for (const auto& category : rosehost::AllCategories(model)) {
        counts.associations += category->associations.size();
    }
    return counts;
}

bool HasItem(const std::vector<tavro::Item>& items, const std::string& name) {
    for (const tavro::Item& item : items) {
        if (item.name == name) return true;
    }
    return false;
}

std::string WhyNotCarried(const std::string& name) {
    if (!tavro::IsValidMemberName(name)) return "the server refuses the member name";
    return "not written by the export";
}

// Per model class: members the first export did not carry, with the reason. Also counts
// what it did carry.
void ReportMembers(const rosehost::Model& model, const std::map<std::string, tavro::ClassDef>& A,
                   const std::vector<window::LogRow>& rows, Counts& carried, std::ostream& report) {
    std::map<std::string, std::string> statusOf;
    for (const window::LogRow& row : rows) statusOf[row.className] = row.status;
    for (const auto& cls : rosehost::AllClasses(model)) {
        std::string path = rosehost::QualifiedName(*cls);
        std::string name = naming::QualifyClassName(naming::ServerClassNameOfRosePath(path));
        auto found = A.find(name);
        if (found == A.end()) {
            report << "  class not carried: " << path << " ("
                   << (statusOf.count(name) ? statusOf[name] : std::string("no row")) << ")\n";
            continue;
        }
        const tavro::ClassDef* def = &found->second;
        ++carried.classes;
        for (const auto& attribute : cls->attributes) {
            if (HasItem(def->properties, attribute->name)) {
                ++carried.attributes;
            } else {
                report << "  attribute not carried: " << path << "." << attribute->name << " ("
                       << WhyNotCarried(attribute->name) << ")\n";
            }
        }
        std::set<std::string> seen;
        for (const auto& operation : cls->operations) {
            if (!seen.insert(operation->name).second) {
                report << "  operation not carried: " << path << "." << operation->name
                       << " (an overload: the server holds one method per name)\n";
                continue;
            }
            if (HasItem(def->methods, operation->name)) {
                ++carried.operations;
            } else {
                report << "  operation not carried: " << path << "." << operation->name << " ("
                       << WhyNotCarried(operation->name) << ")\n";
            }
        }
    }
}

struct Case {
    const char* file;         // under the samples' mdl folder
    const char* pluginsPath;  // the folder VABASE_PLUGINS_PATH names, "" for none
};

const Case kCases[] = {
    {"library.mdl", ""},
    {"uni.mdl", ""},
    {"ecore/Ecore.mdl", "ecore"},
};

// The attributes of the model whose names the server refuses.
std::size_t BadlyNamedAttributes(const rosehost::Model& model) {
    std::size_t count = 0;
    for (const auto& cls : rosehost::AllClasses(model)) {
        for (const auto& attribute : cls->attributes) {
            if (!tavro::IsValidMemberName(attribute->name)) ++count;
        }
    }
    return count;
}

// The properties the rows count as skipped ("1 Invalid Property Skipped.", "3 Invalid
// Properties Skipped.").
std::size_t SkippedProperties(const std::vector<window::LogRow>& rows) {
    std::size_t count = 0;
    for (const window::LogRow& row : rows) {
        for (const char* text : {" Invalid Property Skipped.", " Invalid Properties Skipped."}) {
            std::size_t at = row.status.find(text);
            if (at == std::string::npos) continue;
            std::size_t start = row.status.find_last_not_of("0123456789", at - 1) + 1;
            count += std::stoul(row.status.substr(start, at - start));
        }
    }
    return count;
}

TEST(ExportClasses, SampleModelsSurviveExportImportExport) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    std::ofstream reportFile(kReport, std::ios::trunc);
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.file);
        std::ostringstream report;
        report << c.file << "\n";
        e2e::TempDir dir("e2e-roundtrip");
        e2e::Installation installation(dir);
        World world(dir);

        std::string pluginsPath = kSamples + "/" + c.pluginsPath;
        petal::Document document;
        auto loaded = document.Load(kSamples + "/" + c.file,
                                    [&](std::string_view symbol) -> std::optional<std::string> {
                                        if (symbol == "VABASE_PLUGINS_PATH" && *c.pluginsPath)
                                            return pluginsPath;
                                        return std::nullopt;
                                    });
        ASSERT_TRUE(loaded.ok) << loaded.message;
        std::shared_ptr<rosehost::Model> source = rosehost::LoadModel(document);
        Counts inModel = CountModel(*source);
        world.UseModel(source);

        world.UseServer(kFirst);
        std::vector<window::LogRow> first = world.ExportAll();
        auto A = ClassesOf(*world.store, kFirst);

        auto empty = rosehost::NewModel("");
        empty->currentDiagram = rosehost::CreateClassDiagram(*empty, *empty->top, "Main");
        world.UseModel(empty);
        std::vector<window::LogRow> imported = world.ImportAll();
        Counts inImport = CountModel(*empty);

        world.UseServer(kSecond);
        std::vector<window::LogRow> second = world.ExportAll();
        auto B = ClassesOf(*world.store, kSecond);

        Counts carried;
        ReportMembers(*source, A, first, carried, report);
        std::size_t properties = 0, methods = 0;
        for (const auto& [name, def] : A) {
            properties += def.properties.size();
            methods += def.methods.size();
        }
        report << "  model: " << inModel.classes << " classes, " << inModel.attributes
               << " attributes, " << inModel.operations << " operations, " << inModel.associations
               << " associations\n"
               << "  first export: " << A.size() << " classes, " << properties << " properties ("
               << carried.attributes << " from attributes, " << properties - carried.attributes
               << " from association roles), " << methods << " methods (" << carried.operations
               << " from operations)\n"
               << "  import: " << inImport.classes << " classes, " << inImport.attributes
               << " attributes, " << inImport.operations << " operations, " << inImport.associations
               << " associations\n"
               << "  second export: " << B.size() << " classes\n";

        // Every row of the three runs went through. A member whose name the server refuses
        // (the Ecore sample names attributes after Java classes, such as "java.lang.String")
        // fails alone: its row counts it and its class is stored without it.
        for (const auto* rows : {&first, &imported, &second}) {
            for (const window::LogRow& row : *rows) {
                EXPECT_NE(row.icon, window::kIconFailed) << row.className << ": " << row.status;
            }
        }
        EXPECT_EQ(SkippedProperties(first), BadlyNamedAttributes(*source));
        EXPECT_TRUE(world.boxes.empty()) << world.boxes.front();
        EXPECT_EQ(A.size(), inModel.classes);
        EXPECT_EQ(inImport.classes, A.size());

        // The two exports hold the same definitions.
        std::set<std::string> namesA, namesB;
        for (const auto& entry : A) namesA.insert(entry.first);
        for (const auto& entry : B) namesB.insert(entry.first);
        EXPECT_EQ(namesA, namesB);
        std::map<std::string, int> known;
        for (const auto& [name, def] : A) {
            auto other = B.find(name);
            if (other != B.end()) CompareDefinitions(def, other->second, known);
        }
        for (const KnownDifference& difference : kKnownDifferences) {
            if (known.count(difference.kind) == 0) continue;
            report << "  known difference (" << known[difference.kind] << "x): " << difference.kind
                   << " (" << difference.reason << ")\n";
        }
        std::cout << report.str();
        reportFile << report.str();
    }
}

}  // namespace
