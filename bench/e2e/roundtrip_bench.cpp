// A whole round trip: every class of a generated model of N classes (20 attributes,
// 5 operations and 2 associations each) exported to an empty server namespace, then every one
// of them imported into a new, empty model. Two set-ups of the same add-in code:
//
//   InProcess    the modelling tool's and the server's objects linked into the add-in
//   OverSockets  rose-host's objects served on a Unix socket and tavro-host's login object on
//                TCP, each by a program of its own (a forked process), the add-in a third
//
// Each program is a fresh child process, so that its peak resident size (ru_maxrss) is its
// own. Times are the add-in's export and import calls only; building the model, starting the
// servers and connecting are left out. Counters: round trips (requests the add-in waited for)
// and requests per class, the round trips by kind (property gets, puts, method calls,
// interface casts) per class, and the peak RSS of each program in MiB.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "automation/local_object.h"
#include "automation/rpc.h"
#include "export/export.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "import/import.h"
#include "install/vocabulary.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "platform/tavro_factory.h"
#include "server/server.h"
#include "window/plain_window.h"

namespace {

using automation::ObjectRef;

constexpr int kAttributes = 20;
constexpr int kOperations = 5;
constexpr int kAssociations = 2;
constexpr const char* kNamespace = "USER";
constexpr const char* kUser = "dev";
constexpr const char* kPassword = "dev-secret";

std::string ClassName(int i) {
    char name[16];
    std::snprintf(name, sizeof name, "C%04d", i);
    return name;
}

// The defaults the installed add-in's property file declares, as the modelling tool loads them.
void DeclareDefaults(rosehost::Model& model) {
    for (const install::PropertySet& set : install::kPropertySets) {
        rosehost::PropertySet declared{set.tool, set.name, {}};
        for (const install::PropertyDef& property : set.properties) {
            declared.entries.emplace_back(property.name, property.defaultValue);
        }
        rosehost::AddPropertySet(model, std::move(declared));
    }
}

std::shared_ptr<rosehost::Model> EmptyModel() {
    auto model = rosehost::NewModel("Target");
    DeclareDefaults(*model);
    model->currentDiagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    return model;
}

// Classes "Shop::C0000" ... with persistent and plain classes alternating, attributes of data
// types with a length parameter on some, operations with two parameters, and each class the
// owner of two associations to the next two classes round the ring.
std::shared_ptr<rosehost::Model> GeneratedModel(int count) {
    auto model = rosehost::NewModel("Shop");
    DeclareDefaults(*model);
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    std::vector<std::shared_ptr<rosehost::Class>> classes;
    for (int c = 0; c < count; ++c) {
        auto cls = rosehost::CreateClass(*model, shop, ClassName(c));
        cls->isPersistent = c % 2 == 0;
        cls->documentation = "Class " + cls->name;
        for (int a = 0; a < kAttributes; ++a) {
            auto attribute = rosehost::CreateAttribute(*model, *cls, "Attr" + std::to_string(a),
                                                       a % 3 == 0 ? "Integer" : "String", "");
            attribute->exportControl = rosehost::kPublic;
            if (a % 5 == 0) rosehost::SetToolProperty(*attribute, "Parameter", "MAXLEN", "80");
        }
        for (int o = 0; o < kOperations; ++o) {
            auto operation =
                rosehost::CreateOperation(*model, *cls, "Op" + std::to_string(o), "Integer");
            rosehost::CreateParameter(*model, *operation, "qty", "Integer", "1", 1);
            rosehost::CreateParameter(*model, *operation, "rate", "Double", "", 2);
        }
        classes.push_back(cls);
    }
    for (int c = 0; c < count; ++c) {
        for (int k = 1; k <= kAssociations; ++k) {
            const auto& other = classes[static_cast<std::size_t>((c + k) % count)];
            auto association = rosehost::CreateAssociation(
                *model, *classes[static_cast<std::size_t>(c)], "", rosehost::QualifiedName(*other));
            std::string tag = std::to_string(c) + "x" + std::to_string(k);
            association->roles[0]->name = "Owner" + tag;
            association->roles[1]->name = "Items" + tag;
            association->roles[0]->multiplicity = "1";
            association->roles[1]->multiplicity = "0..n";
        }
    }
    return model;
}

// The modelling tool's side: its application object, and a control object that swaps in an
// empty model between the export and the import and, over a socket, ends the program.
struct RoseSide {
    std::shared_ptr<rosehost::Host> host;
    ObjectRef control;
};

ObjectRef NewControl(
    const std::shared_ptr<rosehost::Host>& host, std::function<void()> quit = [] {}) {
    auto control = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    control->Define(0, "Application", [host](automation::CallKind, const automation::Args&) {
        return automation::Variant(rosehost::ApplicationObject(host));
    });
    control->Define(0, "UseEmptyModel", [host](automation::CallKind, const automation::Args&) {
        rosehost::SetModel(*host, EmptyModel());
        return automation::Variant();
    });
    control->Define(0, "ClassCount", [host](automation::CallKind, const automation::Args&) {
        auto app = rosehost::ApplicationObject(host);
        ObjectRef model = rose::ActiveModel(app);
        return automation::Variant(static_cast<std::int32_t>(
            automation::GetByName(rose::AllClasses(model), "Count").ToInt32()));
    });
    control->Define(0, "Quit", [quit](automation::CallKind, const automation::Args&) {
        quit();
        return automation::Variant();
    });
    return control;
}

struct Figures {
    double exportSeconds = 0;
    double importSeconds = 0;
    unsigned long long calls = 0;
    unsigned long long waits = 0;
    // Of the waits: property gets, puts, method calls and interface casts.
    unsigned long long gets = 0, puts = 0, methods = 0, casts = 0;
    int failedRows = 0;
    int importedClasses = 0;
};

int FailedRows(const window::PlainWindow& form) {
    int failed = 0;
    for (const window::LogRow& row : form.Rows()) {
        if (row.icon != window::kIconDone) ++failed;
    }
    return failed;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The add-in's part: export every class named in `selection` (name, key), let the modelling
// tool start an empty model, import every exported class into it.
Figures Transfer(const ObjectRef& control,
                 const std::vector<std::pair<std::string, std::string>>& selection) {
    platform::ResetUi();
    platform::Ui().messageBox = [](const platform::MessageBoxRequest&) {
        return platform::Answer::Ok;
    };
    platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
    rose::RoseApp = automation::GetByName(control, "Application").ToObject();
    platform::InstallTavroFactory();
    if (!server::ConnectToServer(server::ServerNamespace)) {
        std::fprintf(stderr, "no connection to the server\n");
        std::exit(3);
    }

    Figures figures;
    automation::rpc::WaitCounts kinds = automation::rpc::WaitCountsByKind();
    std::uint64_t calls = automation::rpc::CallCount();
    std::uint64_t waits = automation::rpc::WaitCount();
    {
        window::PlainWindow form;
        window::frmImportExport = &form;
        for (const auto& [name, key] : selection) {
            std::int16_t at = form.lstSelectedClasses().AddItem(name);
            form.lstSelectedClassIDs().InsertItem(at, key);
        }
        auto start = std::chrono::steady_clock::now();
        exporting::ExportClasses();
        figures.exportSeconds = SecondsSince(start);
        figures.failedRows += FailedRows(form);
    }
    figures.calls = automation::rpc::CallCount() - calls;
    figures.waits = automation::rpc::WaitCount() - waits;

    automation::CallByName(control, "UseEmptyModel");
    rose::RoseApp = automation::GetByName(control, "Application").ToObject();
    calls = automation::rpc::CallCount();
    waits = automation::rpc::WaitCount();
    {
        window::PlainWindow form;
        window::frmImportExport = &form;
        for (const auto& entry : selection)
            form.lstSelectedClasses().AddItem("Shop." + entry.first);
        auto start = std::chrono::steady_clock::now();
        importing::ImportClasses();
        figures.importSeconds = SecondsSince(start);
        figures.failedRows += FailedRows(form);
    }
    figures.calls += automation::rpc::CallCount() - calls;
    figures.waits += automation::rpc::WaitCount() - waits;
    window::frmImportExport = nullptr;
    automation::rpc::WaitCounts after = automation::rpc::WaitCountsByKind();
    figures.gets = after.gets - kinds.gets;
    figures.puts = after.puts - kinds.puts;
    figures.methods = after.methods - kinds.methods;
    figures.casts = after.casts - kinds.casts;
    figures.importedClasses = automation::CallByName(control, "ClassCount").ToInt32();
    rose::RoseApp = nullptr;
    server::ServerFactory = nullptr;
    return figures;
}

std::vector<std::pair<std::string, std::string>> Selection(const rosehost::Model& model) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const auto& cls : rosehost::AllClasses(model)) out.emplace_back(cls->name, cls->quid);
    return out;
}

std::string NewDataDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "roundtrip-XXXXXX").string();
    std::string dir = mkdtemp(pattern.data());
    tavro::InitStore(dir, kUser, kPassword, tavro::HashCost::Minimal);
    return dir;
}

void AnswerConnection(const std::string& hostPort) {
    platform::Tavro().promptConnection = [hostPort](const std::string&) {
        return platform::ConnectionChoice{hostPort + ":" + kNamespace, kUser, kPassword};
    };
}

// --- Child processes and the pipes between them ---

void WriteAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

std::string ReadAll(int fd) {
    std::string text;
    char buf[4096];
    for (ssize_t n; (n = read(fd, buf, sizeof buf)) > 0;)
        text.append(buf, static_cast<std::size_t>(n));
    return text;
}

std::string ReadLine(int fd) {
    std::string line;
    char c;
    while (read(fd, &c, 1) == 1 && c != '\n') line += c;
    return line;
}

std::string FiguresText(const Figures& f) {
    char text[200];
    std::snprintf(text, sizeof text, "%.6f %.6f %llu %llu %d %d %llu %llu %llu %llu\n",
                  f.exportSeconds, f.importSeconds, f.calls, f.waits, f.failedRows,
                  f.importedClasses, f.gets, f.puts, f.methods, f.casts);
    return text;
}

Figures ParseFigures(const std::string& text) {
    Figures f;
    if (std::sscanf(text.c_str(), "%lf %lf %llu %llu %d %d %llu %llu %llu %llu", &f.exportSeconds,
                    &f.importSeconds, &f.calls, &f.waits, &f.failedRows, &f.importedClasses,
                    &f.gets, &f.puts, &f.methods, &f.casts) != 10) {
        f.failedRows = -1;
    }
    return f;
}

// Runs `body` in a child process whose standard output is the returned pipe's read end.
pid_t Spawn(int& readEnd, const std::function<void(int writeEnd)>& body) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        body(fds[1]);
        close(fds[1]);
        _exit(0);
    }
    close(fds[1]);
    readEnd = fds[0];
    return pid;
}

// Waits for the child and gives its peak resident size in MiB.
double PeakMiB(pid_t pid, bool kill = false) {
    if (kill) ::kill(pid, SIGTERM);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void Report(benchmark::State& state, const Figures& f, int classes) {
    if (f.failedRows != 0 || f.importedClasses != classes) {
        state.SkipWithError(("failed rows " + std::to_string(f.failedRows) + ", imported " +
                             std::to_string(f.importedClasses))
                                .c_str());
        return;
    }
    state.SetIterationTime(f.exportSeconds + f.importSeconds);
    state.counters["export_ms"] = f.exportSeconds * 1000;
    state.counters["import_ms"] = f.importSeconds * 1000;
    state.counters["requests/class"] = static_cast<double>(f.calls) / classes;
    state.counters["roundtrips/class"] = static_cast<double>(f.waits) / classes;
    state.counters["rt_gets/class"] = static_cast<double>(f.gets) / classes;
    state.counters["rt_puts/class"] = static_cast<double>(f.puts) / classes;
    state.counters["rt_methods/class"] = static_cast<double>(f.methods) / classes;
    state.counters["rt_casts/class"] = static_cast<double>(f.casts) / classes;
}

void BM_RoundTripInProcess(benchmark::State& state) {
    int classes = static_cast<int>(state.range(0));
    for (auto _ : state) {
        int in = -1;
        pid_t child = Spawn(in, [classes](int out) {
            std::string dir = NewDataDir();
            auto host = rosehost::NewHost(GeneratedModel(classes));
            auto selection = Selection(*rosehost::ModelOf(*host));
            platform::Tavro().connectRoot = [dir](const std::string&) {
                return tavro::NewLoginObject(dir);
            };
            AnswerConnection("127.0.0.1:1");
            Figures f = Transfer(NewControl(host), selection);
            WriteAll(out, FiguresText(f));
            std::filesystem::remove_all(dir);
        });
        Figures f = ParseFigures(ReadAll(in));
        close(in);
        state.counters["addin_MiB"] = PeakMiB(child);
        Report(state, f, classes);
    }
}
BENCHMARK(BM_RoundTripInProcess)
    ->Arg(100)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void RoundTripOverSockets(benchmark::State& state, bool pipelinePuts) {
    int classes = static_cast<int>(state.range(0));
    for (auto _ : state) {
        std::string socket = "unix:/tmp/roundtrip-bench-" + std::to_string(getpid()) + ".sock";
        // rose-host: the generated model, and its class names and keys for the add-in.
        int roseOut = -1;
        pid_t rose = Spawn(roseOut, [classes, socket](int out) {
            auto host = rosehost::NewHost(GeneratedModel(classes));
            std::string selection;
            for (const auto& [name, key] : Selection(*rosehost::ModelOf(*host))) {
                selection += name + " " + key + "\n";
            }
            automation::rpc::Server* running = nullptr;
            ObjectRef control = NewControl(host, [&running] { running->Stop(); });
            automation::rpc::Server server([control](const auto&) { return control; });
            running = &server;
            server.Listen(socket);
            WriteAll(out, selection + "\n");
            server.Run();
        });
        // tavro-host: the login object of a fresh data directory on a port of its choosing.
        int tavroOut = -1;
        pid_t tavro = Spawn(tavroOut, [](int out) {
            std::string dir = NewDataDir();
            automation::rpc::Server server(
                [dir](const auto&) { return tavro::NewLoginObject(dir); });
            server.Listen("tcp:127.0.0.1:0");
            WriteAll(out, server.Address() + "\n");
            signal(SIGTERM, [](int) { _exit(0); });
            server.Run();
        });
        std::vector<std::pair<std::string, std::string>> selection;
        for (std::string line; !(line = ReadLine(roseOut)).empty();) {
            std::size_t space = line.find(' ');
            selection.emplace_back(line.substr(0, space), line.substr(space + 1));
        }
        std::string tavroAddress = ReadLine(tavroOut);  // "tcp:127.0.0.1:PORT"

        int addinOut = -1;
        pid_t addin = Spawn(addinOut, [&](int out) {
            automation::rpc::SetPipelinePuts(pipelinePuts);
            AnswerConnection(tavroAddress.substr(4));
            ObjectRef control = automation::rpc::Connect(socket);
            Figures f = Transfer(control, selection);
            try {
                automation::CallByName(control, "Quit");
            } catch (const automation::AutomationError&) {
            }
            WriteAll(out, FiguresText(f));
        });
        Figures f = ParseFigures(ReadAll(addinOut));
        close(addinOut);
        state.counters["addin_MiB"] = PeakMiB(addin);
        state.counters["rose_MiB"] = PeakMiB(rose, /*kill=*/true);
        state.counters["tavro_MiB"] = PeakMiB(tavro, /*kill=*/true);
        close(roseOut);
        close(tavroOut);
        Report(state, f, classes);
    }
}

void BM_RoundTripOverSockets(benchmark::State& state) { RoundTripOverSockets(state, false); }
BENCHMARK(BM_RoundTripOverSockets)
    ->Arg(100)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// The same with property puts sent ahead without waiting for their replies.
void BM_RoundTripOverSocketsPipelined(benchmark::State& state) {
    RoundTripOverSockets(state, true);
}
BENCHMARK(BM_RoundTripOverSocketsPipelined)
    ->Arg(100)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
