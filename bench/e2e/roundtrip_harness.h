// The round trip's set-ups, shared by the benchmarks of many classes and of one large class:
// a generated model exported to an empty server namespace and imported back into an empty
// model, with the modelling tool's and the server's objects in the add-in's process, or each
// served by a program of its own (a forked process) over a socket.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace roundtrip {

// The generated model: `classes` classes of `attributes` attributes, `operations` operations
// and `associations` owned associations each.
struct Shape {
    int classes = 0;
    int attributes = 20;
    int operations = 5;
    int associations = 2;
    // After the import, export the imported classes back over their definitions ("override"
    // checked); timed and counted apart from the round trip.
    bool exportBack = false;
};

struct Figures {
    double exportSeconds = 0;
    double importSeconds = 0;
    // The add-in process's CPU time (user and system) during the export and the import.
    double exportCpuSeconds = 0;
    double importCpuSeconds = 0;
    // CPU time of rose-host's and tavro-host's child processes during the export and the
    // import together, read from /proc (10 ms steps); -1 where they are not children.
    double roseCpuSeconds = -1;
    double tavroCpuSeconds = -1;
    unsigned long long calls = 0;
    unsigned long long waits = 0;
    // Of the waits: property gets (with each fetch of announced reads), puts, method calls,
    // interface casts, and waits for the replies of calls sent ahead.
    unsigned long long gets = 0, puts = 0, methods = 0, casts = 0, syncs = 0;
    // SQLite transactions the store committed during the export and during the import;
    // counted only where the store is in the add-in's process.
    unsigned long long exportCommits = 0, importCommits = 0;
    // The export back: its time, the store's commits (in process) and the round trips.
    double exportBackSeconds = 0;
    unsigned long long exportBackCommits = 0, exportBackWaits = 0;
    int failedRows = 0;
    int importedClasses = 0;
    // Peak resident sizes in MiB; 0 for a program that is not there.
    double addinMiB = 0, roseMiB = 0, tavroMiB = 0;
};

// The whole round trip with everything in one child process.
Figures RunInProcess(const Shape& shape);

// The same with rose-host's and tavro-host's objects each in a child process of its own,
// reached over a Unix socket and TCP, and the add-in in a third. When the environment names a
// running tavro-host in ROUNDTRIP_TAVRO ("tcp:127.0.0.1:PORT", a fresh data directory with
// the user "dev" and the password "dev-secret"), that one is used instead of a child, so that
// its system calls can be counted from outside.
Figures RunOverSockets(const Shape& shape);

// Sets the iteration time and the counters; `perUnit` divides the per-class counters (the
// number of classes, or of members for one large class). Remembers the in-process time under
// `key` and, for a run over the sockets, reports its ratio to the in-process time under the
// same key measured earlier in this run ("x_in_process").
void Report(benchmark::State& state, const Figures& f, int expectedClasses, double perUnit,
            const char* unitName, const std::string& key, bool inProcess);

}  // namespace roundtrip
