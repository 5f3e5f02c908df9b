// The round trip's two set-ups. Each program is a fresh child process, so that its peak
// resident size (ru_maxrss) is its own. Times are the add-in's export and import calls only;
// building the model, starting the servers and connecting are left out.
#include "roundtrip_harness.h"

#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <vector>

#include "automation/local_object.h"
#include "automation/rpc.h"
#include "export/export.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "import/import.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "platform/tavro_factory.h"
#include "roundtrip_model.h"
#include "server/server.h"
#include "window/plain_window.h"

namespace roundtrip {
namespace {

using automation::ObjectRef;

constexpr const char* kNamespace = "USER";
constexpr const char* kUser = "dev";
constexpr const char* kPassword = "dev-secret";

// --- Commits of the store in this process ---

std::atomic<unsigned long long> gCommits{0};

int CountCommit(void*) {
    ++gCommits;
    return 0;  // let the commit go on
}

int WatchCommits(sqlite3* db, char**, const sqlite3_api_routines*) {
    sqlite3_commit_hook(db, CountCommit, nullptr);
    return SQLITE_OK;
}

// Every database connection opened from now on counts its commits in gCommits.
void CountCommitsFromNowOn() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(WatchCommits)); }

// The modelling tool's side: a control object that gives its application object, swaps in an
// empty model between the export and the import and, over a socket, ends the program.
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

// The other programs of a run over the sockets, whose CPU time the add-in reads from /proc
// around its export and import; -1 for a program that is not a child of the benchmark.
struct Peers {
    pid_t rose = -1;
    pid_t tavro = -1;
};

// User and system time of another process so far; -1 when it cannot be read.
double ProcessCpuSeconds(pid_t pid) {
    if (pid <= 0) return -1;
    std::FILE* file = std::fopen(("/proc/" + std::to_string(pid) + "/stat").c_str(), "r");
    if (file == nullptr) return -1;
    char buf[1024];
    std::size_t n = std::fread(buf, 1, sizeof buf - 1, file);
    std::fclose(file);
    buf[n] = '\0';
    const char* rest = std::strrchr(buf, ')');  // after the command name, which may hold spaces
    unsigned long long utime = 0, stime = 0;
    if (rest == nullptr ||
        std::sscanf(rest + 1, " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %llu %llu", &utime,
                    &stime) != 2) {
        return -1;
    }
    return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

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

// User and system time this process has used so far: what the wall time of a step less its
// CPU time leaves is waiting (for the disk, a reply, or a core).
double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Exports every class of the model just imported back over the definitions it came from,
// with "override" checked, as a user who edits and sends back does: each class is replaced.
void ExportBack(Figures& figures) {
    ObjectRef classes = rose::AllClasses(rose::ActiveModel(rose::RoseApp));
    std::vector<std::pair<std::string, std::string>> selection;
    for (std::int16_t i = 1, count = rose::Count(classes); i <= count; ++i) {
        ObjectRef cls = rose::ItemAt(classes, i);
        selection.emplace_back(rose::Name(cls), rose::UniqueKey(cls));
    }
    std::uint64_t waits = automation::rpc::WaitCount();
    unsigned long long commits = gCommits;
    window::PlainWindow form;
    window::frmImportExport = &form;
    form.SetCheckValue(window::CheckBox::Override, 1);
    for (const auto& [name, key] : selection) {
        std::int16_t at = form.lstSelectedClasses().AddItem(name);
        form.lstSelectedClassIDs().InsertItem(at, key);
    }
    auto start = std::chrono::steady_clock::now();
    exporting::ExportClasses();
    figures.exportBackSeconds = SecondsSince(start);
    figures.failedRows += FailedRows(form);
    window::frmImportExport = nullptr;
    figures.exportBackCommits = gCommits - commits;
    figures.exportBackWaits = automation::rpc::WaitCount() - waits;
}

// The add-in's part: export every class named in `selection` (name, key), let the modelling
// tool start an empty model, import every exported class into it, and with `exportBack`
// export the imported classes back.
Figures Transfer(const ObjectRef& control,
                 const std::vector<std::pair<std::string, std::string>>& selection, bool exportBack,
                 const Peers& peers = {}) {
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
    unsigned long long commits = gCommits;
    const double roseCpu = ProcessCpuSeconds(peers.rose);
    const double tavroCpu = ProcessCpuSeconds(peers.tavro);
    {
        window::PlainWindow form;
        window::frmImportExport = &form;
        for (const auto& [name, key] : selection) {
            std::int16_t at = form.lstSelectedClasses().AddItem(name);
            form.lstSelectedClassIDs().InsertItem(at, key);
        }
        double cpu = CpuSeconds();
        auto start = std::chrono::steady_clock::now();
        exporting::ExportClasses();
        figures.exportSeconds = SecondsSince(start);
        figures.exportCpuSeconds = CpuSeconds() - cpu;
        figures.failedRows += FailedRows(form);
    }
    figures.exportCommits = gCommits - commits;
    figures.calls = automation::rpc::CallCount() - calls;
    figures.waits = automation::rpc::WaitCount() - waits;

    automation::CallByName(control, "UseEmptyModel");
    rose::RoseApp = automation::GetByName(control, "Application").ToObject();
    calls = automation::rpc::CallCount();
    waits = automation::rpc::WaitCount();
    commits = gCommits;
    {
        window::PlainWindow form;
        window::frmImportExport = &form;
        for (const auto& entry : selection)
            form.lstSelectedClasses().AddItem("Shop." + entry.first);
        double cpu = CpuSeconds();
        auto start = std::chrono::steady_clock::now();
        importing::ImportClasses();
        figures.importSeconds = SecondsSince(start);
        figures.importCpuSeconds = CpuSeconds() - cpu;
        figures.failedRows += FailedRows(form);
    }
    figures.importCommits = gCommits - commits;
    if (roseCpu >= 0) figures.roseCpuSeconds = ProcessCpuSeconds(peers.rose) - roseCpu;
    if (tavroCpu >= 0) figures.tavroCpuSeconds = ProcessCpuSeconds(peers.tavro) - tavroCpu;
    figures.calls += automation::rpc::CallCount() - calls;
    figures.waits += automation::rpc::WaitCount() - waits;
    window::frmImportExport = nullptr;
    automation::rpc::WaitCounts after = automation::rpc::WaitCountsByKind();
    figures.gets = after.gets - kinds.gets;
    figures.puts = after.puts - kinds.puts;
    figures.methods = after.methods - kinds.methods;
    figures.casts = after.casts - kinds.casts;
    figures.syncs = after.syncs - kinds.syncs;
    figures.importedClasses = automation::CallByName(control, "ClassCount").ToInt32();
    if (exportBack) ExportBack(figures);
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
    char text[400];
    std::snprintf(text, sizeof text,
                  "%.6f %.6f %llu %llu %d %d %llu %llu %llu %llu %llu %llu %.6f %.6f %.6f %llu "
                  "%llu %llu %.6f %.6f\n",
                  f.exportSeconds, f.importSeconds, f.calls, f.waits, f.failedRows,
                  f.importedClasses, f.gets, f.puts, f.methods, f.casts, f.exportCommits,
                  f.importCommits, f.exportCpuSeconds, f.importCpuSeconds, f.exportBackSeconds,
                  f.exportBackCommits, f.exportBackWaits, f.syncs, f.roseCpuSeconds,
                  f.tavroCpuSeconds);
    return text;
}

Figures ParseFigures(const std::string& text) {
    Figures f;
    if (std::sscanf(text.c_str(),
                    "%lf %lf %llu %llu %d %d %llu %llu %llu %llu %llu %llu %lf %lf %lf %llu %llu "
                    "%llu %lf %lf",
                    &f.exportSeconds, &f.importSeconds, &f.calls, &f.waits, &f.failedRows,
                    &f.importedClasses, &f.gets, &f.puts, &f.methods, &f.casts, &f.exportCommits,
                    &f.importCommits, &f.exportCpuSeconds, &f.importCpuSeconds,
                    &f.exportBackSeconds, &f.exportBackCommits, &f.exportBackWaits, &f.syncs,
                    &f.roseCpuSeconds, &f.tavroCpuSeconds) != 20) {
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

// How long the children's servers and the add-in's connection to rose-host poll before they
// sleep: the transport's default, or ROUNDTRIP_SPIN_US microseconds (0: never poll), to see
// what polling costs on a machine with few cores. The add-in's connection to tavro-host is
// the platform's own and keeps the default.
std::chrono::microseconds Spin(std::chrono::microseconds byDefault) {
    const char* text = std::getenv("ROUNDTRIP_SPIN_US");
    if (text == nullptr) return byDefault;
    return std::chrono::microseconds(std::atoi(text));
}

automation::rpc::ServerOptions SpinningServer() {
    automation::rpc::ServerOptions options;
    options.spin = Spin(options.spin);
    return options;
}

// Serves the login object of a fresh data directory on a port of its choosing, in a child.
pid_t SpawnTavro(int& readEnd) {
    return Spawn(readEnd, [](int out) {
        std::string dir = NewDataDir();
        automation::rpc::Server server([dir](const auto&) { return tavro::NewLoginObject(dir); },
                                       SpinningServer());
        server.Listen("tcp:127.0.0.1:0");
        WriteAll(out, server.Address() + "\n");
        signal(SIGTERM, [](int) { _exit(0); });
        server.Run();
    });
}

}  // namespace

Figures RunInProcess(const Shape& shape) {
    int in = -1;
    pid_t child = Spawn(in, [shape](int out) {
        CountCommitsFromNowOn();
        std::string dir = NewDataDir();
        auto host = rosehost::NewHost(GeneratedModel(shape));
        auto selection = Selection(*rosehost::ModelOf(*host));
        platform::Tavro().connectRoot = [dir](const std::string&) {
            return tavro::NewLoginObject(dir);
        };
        AnswerConnection("127.0.0.1:1");
        Figures f = Transfer(NewControl(host), selection, shape.exportBack);
        WriteAll(out, FiguresText(f));
        std::filesystem::remove_all(dir);
    });
    Figures f = ParseFigures(ReadAll(in));
    close(in);
    f.addinMiB = PeakMiB(child);
    return f;
}

Figures RunOverSockets(const Shape& shape) {
    std::string socket = "unix:/tmp/roundtrip-bench-" + std::to_string(getpid()) + ".sock";
    // rose-host: the generated model, and its class names and keys for the add-in.
    int roseOut = -1;
    pid_t rose = Spawn(roseOut, [shape, socket](int out) {
        auto host = rosehost::NewHost(GeneratedModel(shape));
        std::string selection;
        for (const auto& [name, key] : Selection(*rosehost::ModelOf(*host))) {
            selection += name + " " + key + "\n";
        }
        automation::rpc::Server* running = nullptr;
        ObjectRef control = NewControl(host, [&running] { running->Stop(); });
        automation::rpc::Server server([control](const auto&) { return control; },
                                       SpinningServer());
        running = &server;
        server.Listen(socket);
        WriteAll(out, selection + "\n");
        server.Run();
    });
    // tavro-host: a child of ours, or the running program the environment names.
    const char* external = std::getenv("ROUNDTRIP_TAVRO");
    int tavroOut = -1;
    pid_t tavro = external == nullptr ? SpawnTavro(tavroOut) : -1;
    std::vector<std::pair<std::string, std::string>> selection;
    for (std::string line; !(line = ReadLine(roseOut)).empty();) {
        std::size_t space = line.find(' ');
        selection.emplace_back(line.substr(0, space), line.substr(space + 1));
    }
    // "tcp:127.0.0.1:PORT"
    std::string tavroAddress = external != nullptr ? external : ReadLine(tavroOut);

    int addinOut = -1;
    pid_t addin = Spawn(addinOut, [&](int out) {
        AnswerConnection(tavroAddress.substr(4));
        automation::rpc::ClientOptions options;
        options.spin = Spin(options.spin);
        ObjectRef control = automation::rpc::Connect(socket, options);
        Figures f = Transfer(control, selection, shape.exportBack, Peers{rose, tavro});
        try {
            automation::CallByName(control, "Quit");
        } catch (const automation::AutomationError&) {
        }
        WriteAll(out, FiguresText(f));
    });
    Figures f = ParseFigures(ReadAll(addinOut));
    close(addinOut);
    f.addinMiB = PeakMiB(addin);
    f.roseMiB = PeakMiB(rose, /*kill=*/true);
    if (tavro > 0) f.tavroMiB = PeakMiB(tavro, /*kill=*/true);
    close(roseOut);
    if (tavroOut >= 0) close(tavroOut);
    return f;
}

void Report(benchmark::State& state, const Figures& f, int expectedClasses, double perUnit,
            const char* unitName, const std::string& key, bool inProcess) {
    static std::map<std::string, double> inProcessSeconds;
    if (f.failedRows != 0 || f.importedClasses != expectedClasses) {
        state.SkipWithError(("failed rows " + std::to_string(f.failedRows) + ", imported " +
                             std::to_string(f.importedClasses))
                                .c_str());
        return;
    }
    const double seconds = f.exportSeconds + f.importSeconds;
    const std::string per = std::string("/") + unitName;
    state.SetIterationTime(seconds);
    state.counters["export_ms"] = f.exportSeconds * 1000;
    state.counters["import_ms"] = f.importSeconds * 1000;
    state.counters["export_cpu_ms"] = f.exportCpuSeconds * 1000;
    state.counters["import_cpu_ms"] = f.importCpuSeconds * 1000;
    if (f.roseCpuSeconds >= 0) state.counters["rose_cpu_ms"] = f.roseCpuSeconds * 1000;
    if (f.tavroCpuSeconds >= 0) state.counters["tavro_cpu_ms"] = f.tavroCpuSeconds * 1000;
    state.counters["ms" + per] = seconds * 1000 / perUnit;
    state.counters["requests" + per] = static_cast<double>(f.calls) / perUnit;
    state.counters["roundtrips" + per] = static_cast<double>(f.waits) / perUnit;
    state.counters["rt_gets" + per] = static_cast<double>(f.gets) / perUnit;
    state.counters["rt_puts" + per] = static_cast<double>(f.puts) / perUnit;
    state.counters["rt_methods" + per] = static_cast<double>(f.methods) / perUnit;
    state.counters["rt_casts" + per] = static_cast<double>(f.casts) / perUnit;
    state.counters["rt_syncs" + per] = static_cast<double>(f.syncs) / perUnit;
    state.counters["addin_MiB"] = f.addinMiB;
    if (f.roseMiB > 0) state.counters["rose_MiB"] = f.roseMiB;
    if (f.tavroMiB > 0) state.counters["tavro_MiB"] = f.tavroMiB;
    if (f.exportBackSeconds > 0) {
        state.counters["back_ms"] = f.exportBackSeconds * 1000;
        state.counters["back_roundtrips" + per] = static_cast<double>(f.exportBackWaits) / perUnit;
    }
    if (inProcess) {
        if (f.exportBackSeconds > 0) {
            state.counters["commits_back"] = static_cast<double>(f.exportBackCommits);
        }
        state.counters["commits_export"] = static_cast<double>(f.exportCommits);
        state.counters["commits_import"] = static_cast<double>(f.importCommits);
        inProcessSeconds[key] = seconds;
        return;
    }
    auto found = inProcessSeconds.find(key);
    if (found != inProcessSeconds.end() && found->second > 0) {
        state.counters["x_in_process"] = seconds / found->second;
    }
}

}  // namespace roundtrip
