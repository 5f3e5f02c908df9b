// Running the project's real programs from a test: each child gets its own environment, its
// standard output and error go to files in a temporary directory (read while it runs), every
// wait is bounded, and whatever a test started is killed and reaped when it goes out of scope.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/support.h"

namespace e2e {

using Env = std::map<std::string, std::string>;

// How a finished child ended.
struct Exit {
    bool finished = false;  // false: still running when the wait gave up (it was then killed)
    bool signalled = false;
    int status = -1;  // exit status, or the signal number when signalled
    std::string out;
    std::string err;
};

using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::WriteFile;

// The path of a program built by this build tree ("tavro-host", "rose-host", "corvansil-cli").
std::string Program(const std::string& name);
// The first of the three programs that is not built, or "" when all are.
std::string MissingProgram();

// One running program.
class Child {
  public:
    // `env` is added to (and overrides) the test's own environment; `input` is written to a
    // file that becomes the child's standard input.
    Child(const TempDir& dir, const std::vector<std::string>& argv, const Env& env = {},
          const std::string& input = "");
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // What the child has written so far.
    std::string Out() const;
    std::string Err() const;
    // Polls until `ready` holds for the output so far, or the child ends, or `limit` passes.
    bool WaitForOutput(const std::function<bool(const std::string&)>& ready,
                       std::chrono::milliseconds limit);
    void Signal(int signal);
    // Waits for the end; a child still running after `limit` is killed and reported unfinished.
    Exit Wait(std::chrono::milliseconds limit);
    bool Running();

  private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    int rawStatus_ = 0;
    std::string outPath_, errPath_;
};

// Runs a program to its end.
Exit Run(const TempDir& dir, const std::vector<std::string>& argv, const Env& env = {},
         const std::string& input = "", std::chrono::milliseconds limit = std::chrono::seconds(60));
// `corvansil-cli ARGS...`, run to its end or started.
Exit Cli(const TempDir& dir, const std::vector<std::string>& args, const Env& env);
std::unique_ptr<Child> StartCli(const TempDir& dir, const std::vector<std::string>& args,
                                const Env& env);

// The add-in installed into DIR/addin with the registry file DIR/registry.reg, which stays the
// process's registry while the object lives; the earlier setting is put back afterwards.
class Installation {
  public:
    explicit Installation(const TempDir& dir);
    ~Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

  private:
    bool had_ = false;
    std::string saved_;
};

// How many times `needle` occurs in `text`.
std::size_t CountOf(const std::string& text, const std::string& needle);

// --- The two hosts and the add-in's command line, set up the way a user would ---

// A tavro-host data directory with the developer "dev" and, when asked, "viewer" without
// "Development", served on a free port of 127.0.0.1.
class TavroServer {
  public:
    explicit TavroServer(const TempDir& dir, bool withViewer = false);
    // Starts (or starts again) serving the data directory; false when it did not come up.
    bool Start();
    // Kills the server without letting it finish anything.
    void Kill();
    const std::string& dataDir() const { return dataDir_; }
    // "127.0.0.1:PORT:NS".
    std::string Connection(const std::string& ns = "USER") const;
    // `tavro-host --data DIR ARGS...`.
    Exit Command(const std::vector<std::string>& args) const;
    static constexpr const char* kPassword = "e2e-password";

  private:
    const TempDir& dir_;
    std::string dataDir_;
    std::string address_;  // "127.0.0.1:PORT" once served
    std::unique_ptr<Child> child_;
};

// A rose-host serving one model on its own socket, with the add-in installed in a registry
// file of the test's own (so the model gets the add-in's property defaults).
class RoseHost {
  public:
    // `socketName` tells two hosts of one test apart.
    explicit RoseHost(const TempDir& dir, const std::string& socketName = "rose.sock");
    ~RoseHost();
    // `rose-host open FILE`, or `rose-host new` for "". False when the socket never answered.
    bool Start(const std::string& modelFile, const Env& extra = {});
    void Kill();
    // `rose-host ARGS...` against this host's socket.
    Exit Command(const std::vector<std::string>& args) const;
    Env environment() const;
    Child* child() { return child_.get(); }

  private:
    const TempDir& dir_;
    std::string socket_;
    std::unique_ptr<Child> child_;
};

// The environment corvansil-cli needs to reach both sides.
Env CliEnvironment(const TavroServer& server, const RoseHost& rose, const std::string& user = "dev",
                   const std::string& password = TavroServer::kPassword);

}  // namespace e2e
