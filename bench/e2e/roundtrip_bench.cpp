// A whole round trip: every class of a generated model of N classes (20 attributes,
// 5 operations and 2 associations each) exported to an empty server namespace, then every one
// of them imported into a new, empty model. Two set-ups of the same add-in code, measured side
// by side in one run:
//
//   InProcess    the modelling tool's and the server's objects linked into the add-in
//   OverSockets  rose-host's objects served on a Unix socket and tavro-host's login object on
//                TCP, each by a program of its own (a forked process), the add-in a third
//
// Counters: the time per class, round trips (requests the add-in waited for) and requests per
// class, the round trips by kind (property gets, puts, method calls, interface casts) per
// class, the peak RSS of each program in MiB, the store's commits of the export and of the
// import (in process), and over the sockets the ratio to the in-process time of the same size
// (x_in_process). The benchmarks of one large class are in members_bench.cpp.
#include <benchmark/benchmark.h>

#include <string>

#include "roundtrip_harness.h"

namespace {

std::string Key(int classes) { return "classes/" + std::to_string(classes); }

void BM_RoundTripInProcess(benchmark::State& state) {
    roundtrip::Shape shape;
    shape.classes = static_cast<int>(state.range(0));
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunInProcess(shape);
        roundtrip::Report(state, f, shape.classes, shape.classes, "class", Key(shape.classes),
                          /*inProcess=*/true);
    }
}
BENCHMARK(BM_RoundTripInProcess)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void BM_RoundTripOverSockets(benchmark::State& state) {
    roundtrip::Shape shape;
    shape.classes = static_cast<int>(state.range(0));
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunOverSockets(shape);
        roundtrip::Report(state, f, shape.classes, shape.classes, "class", Key(shape.classes),
                          /*inProcess=*/false);
    }
}
BENCHMARK(BM_RoundTripOverSockets)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// The round trip followed by an export of the imported classes back over their definitions,
// each replacing the class it came from (a delete, the class's own XML, the save).
void BM_ExportBackInProcess(benchmark::State& state) {
    roundtrip::Shape shape;
    shape.classes = static_cast<int>(state.range(0));
    shape.exportBack = true;
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunInProcess(shape);
        roundtrip::Report(state, f, shape.classes, shape.classes, "class",
                          "back/" + Key(shape.classes), /*inProcess=*/true);
    }
}
BENCHMARK(BM_ExportBackInProcess)
    ->Arg(100)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void BM_ExportBackOverSockets(benchmark::State& state) {
    roundtrip::Shape shape;
    shape.classes = static_cast<int>(state.range(0));
    shape.exportBack = true;
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunOverSockets(shape);
        roundtrip::Report(state, f, shape.classes, shape.classes, "class",
                          "back/" + Key(shape.classes), /*inProcess=*/false);
    }
}
BENCHMARK(BM_ExportBackOverSockets)
    ->Arg(100)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
