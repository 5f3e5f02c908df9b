// What the server link costs a run: the class query "Summary" that starts every export and
// import, classified by LoadServerClassTypes, and the save and open of one large class through
// the XML transfer, each over tavro-host served on a local socket as the add-in meets it.
#include <benchmark/benchmark.h>

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

void LoadServerClassTypesOverSocket(benchmark::State& state) {
    BenchDir dir;
    {
        auto store = tavro::OpenStore(dir.path());
        std::vector<tavro::ClassDef> defs;
        for (int i = 0; i < state.range(0); ++i) {
            tavro::ClassDef def;
            def.name = "Bench.P" + std::to_string(i / 100) + ".C" + std::to_string(i);
            def.values["super"] = i % 3 == 0 ? "%Persistent" : (i % 3 == 1 ? "%SerialObject" : "");
            defs.push_back(std::move(def));
        }
        tavro::SaveClasses(*store, "USER", defs, tavro::Actor{kUser});
    }
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
