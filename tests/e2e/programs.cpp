#include "tests/e2e/programs.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "install/install.h"

extern char** environ;

namespace e2e {

namespace {

using namespace std::chrono_literals;

constexpr auto kPoll = 20ms;
constexpr auto kStartLimit = std::chrono::seconds(30);

int counter = 0;

// The test's environment with `extra` laid over it, as "NAME=VALUE" texts.
std::vector<std::string> MergedEnvironment(const Env& extra) {
    Env merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string text = *entry;
        std::size_t eq = text.find('=');
        if (eq == std::string::npos) continue;
        merged[text.substr(0, eq)] = text.substr(eq + 1);
    }
    for (const auto& [name, value] : extra) merged[name] = value;
    std::vector<std::string> texts;
    for (const auto& [name, value] : merged) texts.push_back(name + "=" + value);
    return texts;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::string Program(const std::string& name) {
    static const std::map<std::string, std::string> kWhere = {
        {"tavro-host", "/hosts/tavro/tavro-host"},
        {"rose-host", "/hosts/rose/host/rose-host"},
        {"corvansil-cli", "/src/cli/corvansil-cli"},
        {"corvansil", "/src/run/corvansil"},
    };
    auto found = kWhere.find(name);
    return std::string(CORVANSIL_BINARY_DIR) + (found == kWhere.end() ? "/" + name : found->second);
}

std::string MissingProgram() {
    for (const char* name : {"tavro-host", "rose-host", "corvansil-cli"}) {
        if (::access(Program(name).c_str(), X_OK) != 0) return name;
    }
    return "";
}

std::size_t CountOf(const std::string& text, const std::string& needle) {
    std::size_t count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

Child::Child(const TempDir& dir, const std::vector<std::string>& argv, const Env& env,
             const std::string& input) {
    std::string stem = dir / ("child" + std::to_string(++counter));
    outPath_ = stem + ".out";
    errPath_ = stem + ".err";
    std::string inPath = stem + ".in";
    WriteFile(inPath, input);

    // Everything the child needs is prepared before the fork: it only opens files and execs.
    std::vector<std::string> args = argv;
    args[0] = Program(argv[0]);
    std::vector<char*> argp = Pointers(args);
    std::vector<std::string> envTexts = MergedEnvironment(env);
    std::vector<char*> envp = Pointers(envTexts);

    pid_ = ::fork();
    if (pid_ == 0) {
        int in = ::open(inPath.c_str(), O_RDONLY);
        int out = ::open(outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = ::open(errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0) ::_exit(126);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(err, 2);
        // A child of its own process group, so that a detached host or a helper is not left
        // behind by a kill of the group.
        ::setpgid(0, 0);
        ::execve(argp[0], argp.data(), envp.data());
        ::_exit(127);
    }
    if (pid_ < 0) throw std::runtime_error("cannot fork");
}

Child::~Child() {
    if (reaped_ || pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &rawStatus_, 0);
}

std::string Child::Out() const { return ReadFile(outPath_); }
std::string Child::Err() const { return ReadFile(errPath_); }

bool Child::Running() {
    if (reaped_) return false;
    pid_t done = ::waitpid(pid_, &rawStatus_, WNOHANG);
    if (done == pid_) reaped_ = true;
    return !reaped_;
}

bool Child::WaitForOutput(const std::function<bool(const std::string&)>& ready,
                          std::chrono::milliseconds limit) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        if (ready(Out())) return true;
        if (!Running()) return ready(Out());
        std::this_thread::sleep_for(kPoll);
    }
    return false;
}

void Child::Signal(int signal) {
    if (!reaped_) ::kill(pid_, signal);
}

Exit Child::Wait(std::chrono::milliseconds limit) {
    Exit exit;
    auto end = std::chrono::steady_clock::now() + limit;
    while (Running() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPoll);
    exit.finished = !Running();
    if (!exit.finished) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &rawStatus_, 0);
        reaped_ = true;
    }
    exit.signalled = WIFSIGNALED(rawStatus_);
    exit.status = exit.signalled ? WTERMSIG(rawStatus_) : WEXITSTATUS(rawStatus_);
    exit.out = Out();
    exit.err = Err();
    return exit;
}

Exit Run(const TempDir& dir, const std::vector<std::string>& argv, const Env& env,
         const std::string& input, std::chrono::milliseconds limit) {
    Child child(dir, argv, env, input);
    return child.Wait(limit);
}

Exit Cli(const TempDir& dir, const std::vector<std::string>& args, const Env& env) {
    std::vector<std::string> argv = {"corvansil-cli"};
    argv.insert(argv.end(), args.begin(), args.end());
    return Run(dir, argv, env, "", std::chrono::seconds(120));
}

std::unique_ptr<Child> StartCli(const TempDir& dir, const std::vector<std::string>& args,
                                const Env& env) {
    std::vector<std::string> argv = {"corvansil-cli"};
    argv.insert(argv.end(), args.begin(), args.end());
    return std::make_unique<Child>(dir, argv, env);
}

Installation::Installation(const TempDir& dir) {
    const char* saved = std::getenv("CORVANSIL_REGISTRY");
    had_ = saved != nullptr;
    if (had_) saved_ = saved;
    ::setenv("CORVANSIL_REGISTRY", (dir / "registry.reg").c_str(), 1);
    std::string installDir = dir / "addin";
    std::filesystem::create_directories(installDir);
    install::RegisterAddIn(installDir, "Rose");
    install::WritePropertyFile(installDir);
}

Installation::~Installation() {
    if (had_) {
        ::setenv("CORVANSIL_REGISTRY", saved_.c_str(), 1);
    } else {
        ::unsetenv("CORVANSIL_REGISTRY");
    }
}

// --- tavro-host ---

TavroServer::TavroServer(const TempDir& dir, bool withViewer)
    : dir_(dir), dataDir_(dir / "tavro-data") {
    std::string passwordFile = dir / "password";
    WriteFile(passwordFile, std::string(kPassword) + "\n");
    Exit init = Run(
        dir, {"tavro-host", "init", dataDir_, "--user", "dev", "--password-file", passwordFile});
    if (!init.finished || init.status != 0) {
        throw std::runtime_error("tavro-host init failed: " + init.err);
    }
    if (!withViewer) return;
    Exit viewer = Command({"user", "add", "viewer", "--password-file", passwordFile});
    if (!viewer.finished || viewer.status != 0) {
        throw std::runtime_error("tavro-host user add failed: " + viewer.err);
    }
}

bool TavroServer::Start() {
    // Port 0 the first time; the same port again after a restart, so that the connection
    // string a test holds stays good.
    std::string port = address_.empty() ? "0" : address_.substr(address_.rfind(':') + 1);
    child_ = std::make_unique<Child>(
        dir_, std::vector<std::string>{"tavro-host", "serve", dataDir_, "--port", port});
    std::string marker = " on tcp:";
    bool up = child_->WaitForOutput(
        [&](const std::string& out) {
            return out.find('\n', out.find(marker)) != std::string::npos &&
                   out.find(marker) != std::string::npos;
        },
        kStartLimit);
    if (!up) return false;
    std::string out = child_->Out();
    std::size_t from = out.find(marker) + marker.size();
    address_ = out.substr(from, out.find('\n', from) - from);
    return true;
}

void TavroServer::Kill() {
    if (!child_) return;
    child_->Signal(SIGKILL);
    child_->Wait(kStartLimit);
    child_.reset();
}

std::string TavroServer::Connection(const std::string& ns) const { return address_ + ":" + ns; }

Exit TavroServer::Command(const std::vector<std::string>& args) const {
    std::vector<std::string> argv = {"tavro-host", "--data", dataDir_};
    argv.insert(argv.end(), args.begin(), args.end());
    return Run(dir_, argv);
}

// --- rose-host ---

RoseHost::RoseHost(const TempDir& dir, const std::string& socketName)
    : dir_(dir), socket_(dir / socketName) {
    // The model gets the add-in's property defaults from the registry the installation writes.
    if (!std::filesystem::exists(dir / "registry.reg")) {
        Installation installation(dir);
    }
}

RoseHost::~RoseHost() { Kill(); }

Env RoseHost::environment() const {
    return {{"CORVANSIL_ROSE_SOCKET", socket_}, {"CORVANSIL_REGISTRY", dir_ / "registry.reg"}};
}

bool RoseHost::Start(const std::string& modelFile, const Env& extra) {
    Env env = environment();
    for (const auto& [name, value] : extra) env[name] = value;
    std::vector<std::string> argv = {"rose-host"};
    if (modelFile.empty()) {
        argv.push_back("new");
    } else {
        argv.push_back("open");
        argv.push_back(modelFile);
    }
    child_ = std::make_unique<Child>(dir_, argv, env);
    auto end = std::chrono::steady_clock::now() + kStartLimit;
    while (std::chrono::steady_clock::now() < end) {
        if (!child_->Running()) return false;
        if (Command({"status"}).status == 0) return true;
        std::this_thread::sleep_for(100ms);
    }
    return false;
}

void RoseHost::Kill() {
    if (!child_) return;
    child_->Signal(SIGKILL);
    child_->Wait(kStartLimit);
    child_.reset();
}

Exit RoseHost::Command(const std::vector<std::string>& args) const {
    std::vector<std::string> argv = {"rose-host"};
    argv.insert(argv.end(), args.begin(), args.end());
    return Run(dir_, argv, environment());
}

Env CliEnvironment(const TavroServer& server, const RoseHost& rose, const std::string& user,
                   const std::string& password) {
    Env env = rose.environment();
    env["TAVRO_CONNECTION"] = server.Connection();
    env["TAVRO_USER"] = user;
    env["TAVRO_PASSWORD"] = password;
    return env;
}

}  // namespace e2e
