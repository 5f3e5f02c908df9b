// What an export run costs: 200 classes of 20 attributes, 5 operations and 2 associations
// each, written to the server with the override option set (so every iteration after the
// first replaces every class), with the modelling tool and the server in process and over
// Unix-domain sockets.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <string>

#include "automation/rpc.h"
#include "export/export.h"
#include "model/rose.h"
#include "server/server.h"
#include "tests/export/export_world.h"

namespace {

constexpr int kClasses = 200;
constexpr int kAttributes = 20;
constexpr int kOperations = 5;
constexpr int kAssociations = 2;

void BuildModel(export_test::ExportWorld& world) {
    std::vector<std::shared_ptr<rosehost::Class>> classes;
    for (int c = 0; c < kClasses; ++c) {
        auto cls = world.AddClass("Shop", "Class" + std::to_string(c));
        cls->isPersistent = c % 2 == 0;
        for (int a = 0; a < kAttributes; ++a) {
            auto attribute = world.AddAttribute(*cls, "Attr" + std::to_string(a),
                                                a % 3 == 0 ? "Integer" : "String");
            if (a % 5 == 0) rosehost::SetToolProperty(*attribute, "Parameter", "MAXLEN", "80");
        }
        for (int o = 0; o < kOperations; ++o) {
            auto operation = world.AddOperation(*cls, "Op" + std::to_string(o), "Integer");
            rosehost::CreateParameter(*world.model, *operation, "qty", "Integer", "1", 1);
            rosehost::CreateParameter(*world.model, *operation, "rate", "Double", "", 2);
        }
        classes.push_back(cls);
    }
    // Each class owns two associations, to the next two classes round the ring.
    for (int c = 0; c < kClasses; ++c) {
        for (int k = 1; k <= kAssociations; ++k) {
            const auto& other = classes[static_cast<std::size_t>((c + k) % kClasses)];
            auto association =
                world.Associate(*classes[static_cast<std::size_t>(c)], *other,
                                "Owner" + std::to_string(c) + "x" + std::to_string(k),
                                "Items" + std::to_string(c) + "x" + std::to_string(k));
            association->roles[0]->multiplicity = "1";
            association->roles[1]->multiplicity = "0..n";
        }
    }
    for (const auto& cls : classes) world.Select(*cls);
    world.SetOverride(true);
}

void CheckRun(benchmark::State& state, const export_test::ExportWorld& world) {
    for (const window::LogRow& row : world.window.Rows()) {
        if (row.icon != window::kIconDone) {
            state.SkipWithError(
                ("class not exported: " + row.className + " " + row.status).c_str());
            return;
        }
    }
}

void RunExports(benchmark::State& state, export_test::ExportWorld& world) {
    for (auto _ : state) {
        world.window.ClearLog();
        exporting::ExportClasses();
        CheckRun(state, world);
    }
    state.SetItemsProcessed(state.iterations() * kClasses);
}

void BM_ExportInProcess(benchmark::State& state) {
    export_test::ExportWorld world;
    BuildModel(world);
    RunExports(state, world);
}
BENCHMARK(BM_ExportInProcess)->Unit(benchmark::kMillisecond)->Iterations(3);

// The modelling tool and the server each behind an RPC server on its own thread, reached
// through proxies as the add-in reaches the real programs.
void BM_ExportOverSockets(benchmark::State& state) {
    export_test::ExportWorld world;
    BuildModel(world);
    std::string dir = "/tmp/corvansil-export-bench-" + std::to_string(getpid());
    automation::ObjectRef app = rosehost::ApplicationObject(world.host);
    automation::ObjectRef factory = world.factory;
    automation::rpc::Server roseServer([app](const auto&) { return app; });
    automation::rpc::Server tavroServer([factory](const auto&) { return factory; });
    roseServer.Listen("unix:" + dir + "-rose.sock");
    tavroServer.Listen("unix:" + dir + "-tavro.sock");
    roseServer.Start();
    tavroServer.Start();
    rose::RoseApp = automation::rpc::Connect(roseServer.Address());
    server::ServerFactory = automation::rpc::Connect(tavroServer.Address());

    RunExports(state, world);

    rose::RoseApp = nullptr;
    server::ServerFactory = nullptr;
    roseServer.Stop();
    tavroServer.Stop();
}
BENCHMARK(BM_ExportOverSockets)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
