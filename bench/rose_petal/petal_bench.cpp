// Load and save of a large generated model: 5,000 classes of 20 attributes each.
// Reports time per run and the process's peak resident memory (getrusage) as counters.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <string>

#include "hosts/rose/petal/petal.h"

namespace {

constexpr int kClasses = 5000;
constexpr int kAttributes = 20;

double PeakRssMegabytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in kilobytes
}

std::string Quid(unsigned n) {
    return petal::MakeQuid(0x40C81DB9 + static_cast<std::time_t>(n >> 16), n);
}

// A model laid out as the modelling tool writes it, with tool properties on every class.
const std::string& GeneratedModel() {
    static const std::string bytes = [] {
        petal::Object header = petal::NewObject("Petal");
        header.fields.push_back({"version", petal::MakeInteger(50)});
        header.fields.push_back({"_written", petal::MakeString("Rose 8.3.0407.2800")});
        header.fields.push_back({"charSet", petal::MakeInteger(0)});
        petal::Object design = petal::NewObject("Design", "Logical View");
        design.fields.push_back({"is_unit", petal::MakeBoolean(true)});
        design.fields.push_back({"is_loaded", petal::MakeBoolean(true)});
        unsigned next = 1;
        petal::Object top = petal::NewObject("Class_Category", "Logical View", Quid(next++));
        petal::Value& classes = petal::EnsureList(top, "logical_models", "unit_reference_list");
        for (int c = 0; c < kClasses; ++c) {
            petal::Object cls =
                petal::NewObject("Class", "Class" + std::to_string(c), Quid(next++));
            petal::Object prop = petal::NewObject("Attribute");
            prop.fields.push_back({"tool", petal::MakeString("Tavro")});
            prop.fields.push_back({"name", petal::MakeString("ClassType")});
            prop.fields.push_back({"value", petal::MakeString("persistent")});
            petal::AppendObject(petal::EnsureList(cls, "attributes", "Attribute_Set"),
                                std::move(prop));
            petal::SetField(cls, "documentation",
                            petal::MakeString("Generated class\nnumber " + std::to_string(c)));
            petal::Value& attrs =
                petal::EnsureList(cls, "class_attributes", "class_attribute_list");
            for (int a = 0; a < kAttributes; ++a) {
                petal::Object attr = petal::NewObject(
                    "ClassAttribute", "attribute" + std::to_string(a), Quid(next++));
                petal::SetField(attr, "type", petal::MakeString(a % 2 == 0 ? "String" : "Integer"));
                petal::SetField(attr, "exportControl", petal::MakeString("Public"));
                petal::AppendObject(attrs, std::move(attr));
            }
            petal::AppendObject(classes, std::move(cls));
        }
        design.fields.push_back({"root_category", petal::MakeObject(std::move(top))});
        return petal::WriteDocument(header, design, petal::LineEnd::CrLf);
    }();
    return bytes;
}

void BM_LoadGeneratedModel(benchmark::State& state) {
    const std::string& bytes = GeneratedModel();
    for (auto _ : state) {
        petal::File file;
        petal::ParseResult r = petal::ParseDocument(bytes, file);
        if (!r) state.SkipWithError(r.message.c_str());
        benchmark::DoNotOptimize(file);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes.size()));
    state.counters["file_MB"] = static_cast<double>(bytes.size()) / (1024.0 * 1024.0);
    state.counters["peak_RSS_MB"] = PeakRssMegabytes();
}
BENCHMARK(BM_LoadGeneratedModel)->Unit(benchmark::kMillisecond);

void BM_SaveGeneratedModel(benchmark::State& state) {
    petal::File file;
    petal::ParseResult r = petal::ParseDocument(GeneratedModel(), file);
    if (!r) state.SkipWithError(r.message.c_str());
    for (auto _ : state) {
        std::string out = petal::WriteDocument(file);
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(GeneratedModel().size()));
    state.counters["peak_RSS_MB"] = PeakRssMegabytes();
}
BENCHMARK(BM_SaveGeneratedModel)->Unit(benchmark::kMillisecond);

// Writing to disk as Document::Save does: temporary file, sync, backup, rename.
void BM_SaveGeneratedModelToDisk(benchmark::State& state) {
    petal::File file;
    petal::ParseDocument(GeneratedModel(), file);
    char dir[] = "/tmp/petal-bench-XXXXXX";
    if (::mkdtemp(dir) == nullptr) state.SkipWithError("no temporary folder");
    std::string path = std::string(dir) + "/generated.mdl";
    for (auto _ : state) {
        std::string error = petal::SaveFileAtomically(path, petal::WriteDocument(file));
        if (!error.empty()) state.SkipWithError(error.c_str());
    }
    std::remove(path.c_str());
    std::remove((path + ".bak").c_str());
    ::rmdir(dir);
    state.counters["peak_RSS_MB"] = PeakRssMegabytes();
}
BENCHMARK(BM_SaveGeneratedModelToDisk)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
