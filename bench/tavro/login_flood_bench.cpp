// What strangers on the network cost tavro-host's users, measured on the real program served
// on 127.0.0.1: a user's login while 1,000 logins of unknown users and wrong passwords are
// queued, the answer to a failed login for an unknown user and for a wrong password, and the
// server's peak memory (VmHWM) while many connections hold a partial request before login.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "automation/rpc.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"
#include "hosts/tavro/store/store.h"

namespace {

using automation::rpc::Message;
using automation::rpc::MessageType;
using Clock = std::chrono::steady_clock;

constexpr const char* kPassword = "bench-password";

// `tavro-host serve` of a fresh data directory whose user "dev" has a password hashed as for
// real users, on a free port.
class ServedHost {
  public:
    ServedHost() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tavro-flood-XXXXXX").string();
        dir_ = mkdtemp(pattern.data());
        tavro::InitStore(dir_, "dev", kPassword);
        int out[2];
        if (pipe(out) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(out[1], STDOUT_FILENO);
            close(out[0]);
            execl(TAVRO_HOST, "tavro-host", "serve", dir_.c_str(), "--port", "0",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        close(out[1]);
        std::string text;
        char c = 0;
        while (text.find('\n') == std::string::npos && read(out[0], &c, 1) == 1) text += c;
        close(out[0]);
        std::size_t at = text.find("tcp:");
        if (at != std::string::npos) address_ = text.substr(at, text.find('\n') - at);
    }
    ~ServedHost() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    ServedHost(const ServedHost&) = delete;
    ServedHost& operator=(const ServedHost&) = delete;

    const std::string& address() const { return address_; }
    // The most memory the process has held, in MB.
    double PeakMegabytes() const {
        std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
        }
        return 0;
    }

  private:
    std::string dir_;
    std::string address_;
    pid_t pid_ = -1;
};

int RawConnect(const std::string& text) {
    automation::rpc::detail::Address address;
    std::string error;
    if (!automation::rpc::detail::ParseAddress(text, address, error)) return -1;
    return automation::rpc::detail::ConnectSocket(address, std::chrono::seconds(10), error);
}

// Hello and `count` failing logins, alternately of an unknown user and with a wrong password.
std::string FailingLogins(int count) {
    std::string out;
    Message hello;
    hello.type = MessageType::Hello;
    hello.requestId = 1;
    hello.text = automation::rpc::kHelloMagic;
    hello.count = automation::rpc::kProtocolVersion;
    EncodeFrame(hello, out);
    for (int i = 0; i < count; ++i) {
        Message login;
        login.type = MessageType::Call;
        login.requestId = static_cast<std::uint32_t>(i + 2);
        login.handle = 1;
        login.byName = true;
        login.text = "Login";
        std::string user = i % 2 == 0 ? "nobody" + std::to_string(i) : "dev";
        login.values = {std::string("USER"), user, "guess" + std::to_string(i)};
        EncodeFrame(login, out);
    }
    return out;
}

double SecondsOfLogin(const std::string& address, const std::string& user,
                      const std::string& password) {
    auto start = Clock::now();
    try {
        automation::ObjectRef root = automation::rpc::Connect(address);
        automation::CallByName(root, "Login", {"USER", user, password});
    } catch (const automation::AutomationError&) {
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A user's login while 1,000 failing logins are queued, spread over range(0) connections
// (0: none); the flood starts with the first login measured and goes on through the rest.
void LoginDuringFlood(benchmark::State& state) {
    ServedHost host;
    int connections = static_cast<int>(state.range(0));
    std::vector<int> fds;
    for (int c = 0; c < connections; ++c) {
        int fd = RawConnect(host.address());
        std::string frames = FailingLogins(1000 / connections);
        [[maybe_unused]] ssize_t n = send(fd, frames.data(), frames.size(), MSG_NOSIGNAL);
        fds.push_back(fd);
    }
    for (auto _ : state) state.SetIterationTime(SecondsOfLogin(host.address(), "dev", kPassword));
    for (int fd : fds) close(fd);
}
BENCHMARK(LoginDuringFlood)
    ->Arg(0)
    ->Arg(1)
    ->Arg(10)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The answer to a failed login: range(0) 0 for an unknown user, 1 for a wrong password. The
// first three failures are not held back, so each run has a server of its own.
void FailedLogin(benchmark::State& state) {
    ServedHost host;
    std::string user = state.range(0) == 0 ? "nobody" : "dev";
    for (auto _ : state) state.SetIterationTime(SecondsOfLogin(host.address(), user, "guess"));
}
BENCHMARK(FailedLogin)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The server's peak memory while range(0) connections each hold a request of nearly the
// size allowed before login, unfinished.
void PeakMemoryWithPartialRequests(benchmark::State& state) {
    ServedHost host;
    double before = host.PeakMegabytes();
    std::vector<int> fds;
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c) {
            int fd = RawConnect(host.address());
            // A length prefix of 4,000 bytes and 3,990 of them: the rest never comes.
            std::string partial("\xa0\x0f\0\0", 4);
            partial += std::string(3990, 'x');
            [[maybe_unused]] ssize_t n = send(fd, partial.data(), partial.size(), MSG_NOSIGNAL);
            fds.push_back(fd);
        }
        // A partial request of 16 MB, refused before it is read.
        int big = RawConnect(host.address());
        std::string huge("\0\0\0\x01", 4);
        [[maybe_unused]] ssize_t n = send(big, huge.data(), huge.size(), MSG_NOSIGNAL);
        fds.push_back(big);
        // Answered once the server has read what came before (no login: its hash alone
        // takes 64 MB).
        automation::rpc::Connect(host.address());
    }
    state.counters["peak_MB_before"] = before;
    state.counters["peak_MB_after"] = host.PeakMegabytes();
    for (int fd : fds) close(fd);
}
BENCHMARK(PeakMemoryWithPartialRequests)->Arg(250)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
