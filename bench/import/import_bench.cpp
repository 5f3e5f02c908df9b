// An import run of 200 server classes, each with 20 properties (16 datatype attributes with
// a type parameter, 4 references to other classes of the run) and 5 methods, into an empty
// model with a class diagram open: both passes, the drawing of the new classes and the
// refresh of the diagram. The server and the modelling tool are linked in-process.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "automation/local_object.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "import/import.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "server/server.h"
#include "window/plain_window.h"

namespace {

constexpr int kClasses = 200;
constexpr int kAttributes = 16;
constexpr int kReferences = 4;
constexpr int kMethods = 5;

std::string ClassName(int i) {
    char name[32];
    std::snprintf(name, sizeof name, "Bench.C%03d", i);
    return name;
}

std::vector<tavro::ClassDef> BenchClasses() {
    std::vector<tavro::ClassDef> defs;
    for (int i = 0; i < kClasses; ++i) {
        tavro::ClassDef def;
        def.name = ClassName(i);
        def.values = {{"ClassType", "persistent"}, {"Description", "Class " + def.name}};
        for (int p = 0; p < kAttributes; ++p) {
            tavro::Item prop{tavro::ItemKind::Property, "A" + std::to_string(p), {}, {}};
            prop.values = {{"Type", "%String"}, {"Required", p % 2 ? "1" : "0"}};
            prop.parameters = {{"MAXLEN", "50"}};
            def.properties.push_back(prop);
        }
        for (int r = 0; r < kReferences; ++r) {
            tavro::Item prop{tavro::ItemKind::Property, "R" + std::to_string(r), {}, {}};
            std::string target = ClassName((i + r + 1) % kClasses);
            prop.values = {{"Type", target.substr(6)}, {"Collection", r % 2 ? "list" : ""}};
            def.properties.push_back(prop);
        }
        for (int m = 0; m < kMethods; ++m) {
            tavro::Item method{tavro::ItemKind::Method, "M" + std::to_string(m), {}, {}};
            method.values = {{"ReturnType", "%Integer"},
                             {"FormalSpec", "a:%Integer,b:%String=\"x\",c"}};
            def.methods.push_back(method);
        }
        defs.push_back(std::move(def));
    }
    return defs;
}

// The server's data directory, filled once for the whole program.
struct Server {
    std::string dir;
    automation::ObjectRef session;

    Server() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "import-bench-XXXXXX").string();
        dir = mkdtemp(pattern.data());
        tavro::InitStore(dir, "dev", "dev-secret", tavro::HashCost::Minimal);
        auto store = tavro::OpenStore(dir);
        tavro::SaveClasses(*store, "USER", BenchClasses(), tavro::Actor{"", true});
        session = tavro::NewSessionObject(tavro::OpenSession(dir, "USER", "dev", "dev-secret"));
    }
    ~Server() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
};

automation::ObjectRef Factory(const automation::ObjectRef& session) {
    auto factory = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    for (const char* name :
         {"NewObject", "OpenObjectById", "LoadObjectById", "ClassHandle", "OpenQuery"}) {
        factory->Define(0, name,
                        [session, name](automation::CallKind kind, const automation::Args& args) {
                            return session->InvokeByName(name, kind, args);
                        });
    }
    factory->Define(0, "ConnectionIsOpen",
                    [](automation::CallKind, const automation::Args&) { return true; });
    return factory;
}

void BM_ImportClasses(benchmark::State& state) {
    Server server;
    server::ServerFactory = Factory(server.session);
    std::size_t rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto model = rosehost::NewModel("Bench");
        model->currentDiagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
        auto host = rosehost::NewHost(model);
        rose::RoseApp = rosehost::ApplicationObject(host);
        window::PlainWindow form;
        window::frmImportExport = &form;
        for (int i = 0; i < kClasses; ++i) form.lstSelectedClasses().AddItem(ClassName(i));
        state.ResumeTiming();

        importing::ImportClasses();

        state.PauseTiming();
        rows = form.Rows().size();
        if (rosehost::AllClasses(*model).size() != kClasses) state.SkipWithError("classes lost");
        window::frmImportExport = nullptr;
        rose::RoseApp = nullptr;
        state.ResumeTiming();
    }
    server::ServerFactory = nullptr;
    state.counters["classes/s"] = benchmark::Counter(static_cast<double>(kClasses),
                                                     benchmark::Counter::kIsIterationInvariantRate);
    state.counters["log rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_ImportClasses)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
