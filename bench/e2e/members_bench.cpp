// One class of many members exported and imported, in process and over the sockets: 3
// attributes to each operation, no associations. Finding a member must not walk the others,
// so the time and the round trips per member stay flat from 100 to 2,000 members.
#include <benchmark/benchmark.h>

#include <string>

#include "roundtrip_harness.h"

namespace {

roundtrip::Shape OneClassOf(benchmark::State& state) {
    int members = static_cast<int>(state.range(0));
    roundtrip::Shape shape;
    shape.classes = 1;
    shape.operations = members / 4;
    shape.attributes = members - shape.operations;
    shape.associations = 0;
    return shape;
}

std::string Key(int members) { return "members/" + std::to_string(members); }

void BM_OneClassInProcess(benchmark::State& state) {
    roundtrip::Shape shape = OneClassOf(state);
    const int members = shape.attributes + shape.operations;
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunInProcess(shape);
        roundtrip::Report(state, f, 1, members, "member", Key(members), /*inProcess=*/true);
    }
}
BENCHMARK(BM_OneClassInProcess)
    ->ArgName("members")
    ->Arg(100)
    ->Arg(500)
    ->Arg(2000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void BM_OneClassOverSockets(benchmark::State& state) {
    roundtrip::Shape shape = OneClassOf(state);
    const int members = shape.attributes + shape.operations;
    for (auto _ : state) {
        roundtrip::Figures f = roundtrip::RunOverSockets(shape);
        roundtrip::Report(state, f, 1, members, "member", Key(members), /*inProcess=*/false);
    }
}
BENCHMARK(BM_OneClassOverSockets)
    ->ArgName("members")
    ->Arg(100)
    ->Arg(500)
    ->Arg(2000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace
