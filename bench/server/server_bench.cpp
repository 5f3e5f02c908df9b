// What the server link costs a run: the class query "Summary" that starts every export and
// import, classified by LoadServerClassTypes (alone, and beside the store's own query of the
// same classes in the same run), and the save and open of one large class through
// the XML transfer, each over tavro-host served on a local socket as the add-in meets it.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "automation/rpc.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "model/rose.h"
#include "platform/objects.h"
#include "platform/tavro_factory.h"
#include "server/server.h"

namespace {

using automation::ObjectRef;

constexpr const char* kUser = "dev";
constexpr const char* kPassword = "bench-password";

class BenchDir {
  public:
    BenchDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "serverlink-bench-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
        tavro::InitStore(path_, kUser, kPassword, tavro::HashCost::Minimal);
    }
    ~BenchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    BenchDir(const BenchDir&) = delete;
    BenchDir& operator=(const BenchDir&) = delete;
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// Serves the data directory on a free local port and connects the add-in to it through the
// client factory, as a run does.
class ServedTavro {
  public:
    explicit ServedTavro(const BenchDir& dir)
        : server_([path = dir.path()](const automation::rpc::ConnectionInfo&) {
              return tavro::NewLoginObject(path);
          }) {
        server_.Listen("tcp:127.0.0.1:0");
        server_.Start();
        std::string address = server_.Address();
        std::string connection = address.substr(address.find(':') + 1) + ":USER";
        platform::ResetObjects();
        platform::ResetTavro();
        platform::Tavro().promptConnection = [connection](const std::string&) {
            return platform::ConnectionChoice{connection, kUser, kPassword};
        };
        platform::InstallTavroFactory();
        server::ServerFactory = nullptr;
        std::string nameSpace;
        connected_ = server::ConnectToServer(nameSpace);
    }
    ~ServedTavro() { server::ServerFactory = nullptr; }
    bool connected() const { return connected_; }

  private:
    automation::rpc::Server server_;
    bool connected_ = false;
};

// Stores `count` classes of 100 to a package, a third each persistent, serial and plain.
void SeedClasses(const BenchDir& dir, std::int64_t count) {
    auto store = tavro::OpenStore(dir.path());
    std::vector<tavro::ClassDef> defs;
    for (std::int64_t i = 0; i < count; ++i) {
        tavro::ClassDef def;
        def.name = "Bench.P" + std::to_string(i / 100) + ".C" + std::to_string(i);
        def.values["super"] = i % 3 == 0 ? "%Persistent" : (i % 3 == 1 ? "%SerialObject" : "");
        defs.push_back(std::move(def));
    }
    tavro::SaveClasses(*store, "USER", defs, tavro::Actor{kUser});
}

void LoadServerClassTypesOverSocket(benchmark::State& state) {
    BenchDir dir;
    SeedClasses(dir, state.range(0));
    ServedTavro served(dir);
    if (!served.connected()) {
        state.SkipWithError("no connection to tavro-host");
        return;
    }
    std::size_t classes = 0;
    for (auto _ : state) {
        server::ClassTypes types;
        server::LoadServerClassTypes(types);
        classes = types.Count();
        benchmark::DoNotOptimize(classes);
    }
    state.counters["classes"] = static_cast<double>(classes);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(classes));
}
BENCHMARK(LoadServerClassTypesOverSocket)->Arg(10000)->Unit(benchmark::kMillisecond);

// The store's own answer to the class query "Summary": its session object in this process,
// every row stepped and its eight columns read, as a query of the server costs the server.
std::int64_t SummaryInStore(const ObjectRef& session) {
    using automation::CallByName;
    ObjectRef query =
        CallByName(session, "OpenQuery", {"%Dictionary.ClassDefinition", "Summary"}).ToObject();
    CallByName(query, "Execute");
    std::int64_t rows = 0;
    while (CallByName(query, "Next").ToBool()) {
        for (std::int32_t column = 1; column <= 8; ++column) {
            benchmark::DoNotOptimize(CallByName(query, "ColumnValue", {column}));
        }
        ++rows;
    }
    CallByName(query, "Close");
    return rows;
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

// LoadServerClassTypes over the socket beside the store's own query of the same classes, each
// iteration timing the three one after the other, so that the ratio comes from one run under
// one load: store_ms (the session object in process), sql_ms (the store's SummaryOf alone),
// load_ms (the add-in over the socket), x_store = load_ms / store_ms and x_sql. The
// iteration's time is load_ms.
void LoadServerClassTypesBesideStore(benchmark::State& state) {
    BenchDir dir;
    SeedClasses(dir, state.range(0));
    ObjectRef session =
        tavro::NewSessionObject(tavro::OpenSession(dir.path(), "USER", kUser, kPassword));
    auto store = tavro::OpenStore(dir.path());
    ServedTavro served(dir);
    if (!served.connected()) {
        state.SkipWithError("no connection to tavro-host");
        return;
    }
    double storeMs = 0, sqlMs = 0, loadMs = 0;
    std::size_t classes = 0;
    std::int64_t rows = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        rows = SummaryInStore(session);
        storeMs += MillisecondsSince(start);

        start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(tavro::SummaryOf(*store, "USER").size());
        sqlMs += MillisecondsSince(start);

        start = std::chrono::steady_clock::now();
        server::ClassTypes types;
        server::LoadServerClassTypes(types);
        classes = types.Count();
        double ms = MillisecondsSince(start);
        loadMs += ms;
        state.SetIterationTime(ms / 1000);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["classes"] = static_cast<double>(classes);
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["store_ms"] = storeMs / n;
    state.counters["sql_ms"] = sqlMs / n;
    state.counters["load_ms"] = loadMs / n;
    state.counters["x_store"] = loadMs / storeMs;
    state.counters["x_sql"] = loadMs / sqlMs;
}
BENCHMARK(LoadServerClassTypesBesideStore)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// A class as an import keeps it: every property typed and documented, every method with code.
std::string LargeClassXml(int properties, int methods) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Class name=\"Bench.Large\">\n";
    xml += "  <Description>A large class</Description>\n  <super>%Persistent</super>\n";
    for (int i = 0; i < properties; ++i) {
        xml += "  <Property name=\"P" + std::to_string(i) + "\">\n    <Type>%String</Type>\n";
        xml += "    <Description>Property " + std::to_string(i) + "</Description>\n";
        xml += "    <Parameter name=\"MAXLEN\">50</Parameter>\n  </Property>\n";
    }
    for (int i = 0; i < methods; ++i) {
        xml += "  <Method name=\"M" + std::to_string(i) + "\">\n";
        xml += "    <FormalSpec>a:%Integer,b:%String</FormalSpec>\n";
        xml += "    <Implementation>  quit a + " + std::to_string(i) + "</Implementation>\n";
        xml += "  </Method>\n";
    }
    xml += "  <Storage name=\"Default\">\n    <DataLocation>^Bench.LargeD</DataLocation>\n";
    xml += "  </Storage>\n</Class>\n";
    return xml;
}

void SaveAndOpenLargeClassOverSocket(benchmark::State& state) {
    const int properties = 50, methods = 20;
    auto model = rosehost::NewModel("bench");
    auto bench = rosehost::CreateCategory(*model, model->top, "Bench");
    auto large = rosehost::CreateClass(*model, bench, "Large");
    for (int i = 0; i < properties; ++i) {
        rosehost::CreateAttribute(*model, *large, "P" + std::to_string(i), "%String", "");
    }
    for (int i = 0; i < methods; ++i) {
        rosehost::CreateOperation(*model, *large, "M" + std::to_string(i), "%Integer");
    }
    auto host = rosehost::NewHost(model);

    BenchDir dir;
    ServedTavro served(dir);  // puts the platform's tables back first
    platform::Objects().getActiveObject = [host](const std::string&) {
        return rosehost::ApplicationObject(host);
    };
    if (!served.connected() || !rose::ConnectToRose()) {
        state.SkipWithError("no connection to tavro-host or rose-host");
        return;
    }
    ObjectRef roseClass = rose::ClassByUniqueKey(rose::ActiveModel(rose::RoseApp), large->quid);
    const std::string xml = LargeClassXml(properties, methods);
    std::size_t bytes = 0;
    for (auto _ : state) {
        server::SaveClassXml(xml, roseClass);
        ObjectRef definition = server::OpenClassDefinition("Bench.Large");
        automation::CallByName(definition, "sys_Close");
        std::string back = server::LoadClassXml("Bench.Large");
        benchmark::DoNotOptimize(back.data());
        bytes = back.size();
    }
    if (bytes == 0) state.SkipWithError("the class did not come back");
    state.counters["xml_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(SaveAndOpenLargeClassOverSocket)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
