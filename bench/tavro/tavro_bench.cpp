// The server's costs the add-in feels: the class query "Summary" that starts every export and
// import, and the save and open of one large class definition.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;

class BenchDir {
  public:
    BenchDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tavro-bench-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
        tavro::InitStore(path_, "dev", "bench-password", tavro::HashCost::Minimal);
    }
    ~BenchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

ObjectRef Connect(const BenchDir& dir) {
    return tavro::NewSessionObject(tavro::OpenSession(dir.path(), "USER", "dev", "bench-password"));
}

void SummaryQuery(benchmark::State& state) {
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
        tavro::SaveClasses(*store, "USER", defs, tavro::Actor{"dev"});
    }
    ObjectRef factory = Connect(dir);
    std::int64_t rows = 0;
    for (auto _ : state) {
        ObjectRef query =
            CallByName(factory, "OpenQuery", {"%Dictionary.ClassDefinition", "Summary"}).ToObject();
        CallByName(query, "Execute");
        while (CallByName(query, "Next").ToBool()) {
            for (std::int32_t column = 1; column <= 8; ++column) {
                benchmark::DoNotOptimize(CallByName(query, "ColumnValue", {column}));
            }
            ++rows;
        }
        CallByName(query, "Close");
    }
    state.counters["rows"] =
        benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kAvgIterations);
}
BENCHMARK(SummaryQuery)->Arg(10000)->Unit(benchmark::kMillisecond);

// A class as the export writes it: 50 properties and 20 methods, each created and inserted.
ObjectRef BuildClass(const ObjectRef& factory, const std::string& name) {
    ObjectRef def =
        CallByName(factory, "NewObject", {"%Dictionary.ClassDefinition", name}).ToObject();
    PutByName(def, "Description", "A class with many members");
    PutByName(def, "super", "%Persistent");
    ObjectRef properties = GetByName(def, "Properties").ToObject();
    for (int i = 0; i < 50; ++i) {
        ObjectRef prop =
            CallByName(factory, "NewObject",
                       {"%Dictionary.PropertyDefinition", name + ":P" + std::to_string(i)})
                .ToObject();
        PutByName(prop, "Type", "%String");
        PutByName(prop, "Required", std::int32_t{1});
        CallByName(GetByName(prop, "Parameters").ToObject(), "SetAt", {"50", "MAXLEN"});
        CallByName(properties, "Insert", {prop});
    }
    ObjectRef methods = GetByName(def, "Methods").ToObject();
    for (int i = 0; i < 20; ++i) {
        ObjectRef method =
            CallByName(factory, "NewObject",
                       {"%Dictionary.MethodDefinition", name + ":M" + std::to_string(i)})
                .ToObject();
        PutByName(method, "FormalSpec", "a:%Integer,b:%String=\"x\"");
        PutByName(method, "ReturnType", "%Status");
        CallByName(methods, "Insert", {method});
    }
    return def;
}

void SaveClassWithMembers(benchmark::State& state) {
    BenchDir dir;
    ObjectRef factory = Connect(dir);
    int serial = 0;
    for (auto _ : state) {
        ObjectRef def = BuildClass(factory, "Bench.Big" + std::to_string(serial++));
        CallByName(def, "sys_Save");
    }
}
BENCHMARK(SaveClassWithMembers)->Unit(benchmark::kMillisecond);

void OpenClassWithMembers(benchmark::State& state) {
    BenchDir dir;
    ObjectRef factory = Connect(dir);
    CallByName(BuildClass(factory, "Bench.Big"), "sys_Save");
    for (auto _ : state) {
        ObjectRef def =
            CallByName(factory, "LoadObjectById", {"%Dictionary.ClassDefinition", "Bench.Big"})
                .ToObject();
        benchmark::DoNotOptimize(GetByName(GetByName(def, "Properties").ToObject(), "Count"));
        benchmark::DoNotOptimize(GetByName(GetByName(def, "Methods").ToObject(), "Count"));
    }
}
BENCHMARK(OpenClassWithMembers)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
