// What one connection may cost the server: its share of the serving thread, its memory before
// it logs in, the connections and descriptors of all of them.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc.h"
#include "automation/rpc_frame.h"
#include "rpc_test_support.h"
#include "tests/support/support.h"

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::LocalObject;
using automation::ObjectRef;
using automation::Variant;
using automation::rpc::Connect;
using automation::rpc::ConnectionInfo;
using automation::rpc::Message;
using automation::rpc::MessageType;
using automation::rpc::Server;
using automation::rpc::ServerOptions;
using rpctest::Describe;
using rpctest::ErrorOf;
using testsupport::TempDir;

namespace {

std::string Hello(std::uint32_t id = 1) {
    Message m;
    m.type = MessageType::Hello;
    m.requestId = id;
    m.text = automation::rpc::kHelloMagic;
    m.count = automation::rpc::kProtocolVersion;
    std::string out;
    EncodeFrame(m, out);
    return out;
}

// A call of member `dispid` of the root object (handle 1) that the client waits for.
std::string CallFrame(std::uint32_t id, std::int32_t dispid, std::string argument = "") {
    Message m;
    m.type = MessageType::Call;
    m.requestId = id;
    m.handle = 1;
    m.kind = CallKind::Method;
    m.dispid = dispid;
    if (!argument.empty()) m.values.push_back(std::move(argument));
    std::string out;
    EncodeFrame(m, out);
    return out;
}

// Sends `bytes` on a new connection, says it sends nothing more, and gives the answer.
std::string Exchange(const std::string& address, const std::string& bytes) {
    int fd = rpctest::RawConnect(address);
    if (fd < 0) return "<no connection>";
    if (send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
        return "<not sent>";
    shutdown(fd, SHUT_WR);
    std::string answer = Describe(rpctest::ReadUntilClosed(fd));
    close(fd);
    return answer;
}

// Polls `done` for up to 10 s.
bool Eventually(const std::function<bool()>& done) {
    for (int i = 0; i < 1000; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

}  // namespace

TEST(Server, LimitsAConnectionUntilItLogsIn) {
    // A new root object per hello, as a host's login object is.
    auto makeRoot = [](const ConnectionInfo&) {
        auto root = std::make_shared<LocalObject>(std::vector<std::string>{});
        root->Define(1, "Login", [](CallKind, const Args& args) {
            if (args.at(0).ToString() != "secret") throw AutomationError("access denied");
            automation::rpc::Authenticate();
            return Variant(true);
        });
        root->Define(2, "Echo", [](CallKind, const Args& args) { return args.at(0); });
        return ObjectRef(root);
    };
    ServerOptions options;
    options.loginLimit = 256;
    Server server(makeRoot, options);
    TempDir dir;
    server.Listen("unix:" + dir.path() + "/host.sock");
    server.Start();

    std::string large(300, 'x');
    std::string hellos, hellosAnswer;
    for (int i = 0; i < 17; ++i) hellos += Hello();
    for (int i = 0; i < 16; ++i) hellosAnswer += "Reply 1\n";
    struct Case {
        const char* name;
        std::string bytes;
        std::string answer;
    } cases[] = {
        {"large request before login", Hello() + CallFrame(2, 2, large),
         "Reply 1\nError 0: a request before login may hold at most 256 bytes\n"},
        {"objects before login", hellos, hellosAnswer + "Error 1: too many objects before login\n"},
        {"large request after login",
         Hello() + CallFrame(2, 1, "secret") + CallFrame(3, 2, large) + hellos,
         "Reply 1\nReply 2\nReply 3\n" + hellosAnswer + "Reply 1\n"},
        {"failed login", Hello() + CallFrame(2, 1, "guess") + CallFrame(3, 2, large),
         "Reply 1\nError 2: access denied\n"
         "Error 0: a request before login may hold at most 256 bytes\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Exchange(server.Address(), c.bytes), c.answer);
    }
}

TEST(Server, AnswersDeferredCallsInOrderWhileServingOthers) {
    std::mutex mutex;
    std::condition_variable opened;
    bool open = false;
    auto root = std::make_shared<LocalObject>(std::vector<std::string>{});
    root->Define(1, "Wait", [&](CallKind, const Args&) {
        return automation::rpc::Defer([&] {
            std::unique_lock lock(mutex);
            opened.wait(lock, [&] { return open; });
            return Variant(std::string("late"));
        });
    });
    root->Define(2, "Refuse", [](CallKind, const Args&) {
        return automation::rpc::Defer([]() -> Variant {
            throw automation::rpc::HeldError("refused", std::chrono::milliseconds(50));
        });
    });
    root->Define(3, "Echo", [](CallKind, const Args& args) { return args.at(0); });
    TempDir dir;
    Server server([root](const ConnectionInfo&) { return root; });
    server.Listen("unix:" + dir.path() + "/host.sock");
    server.Start();

    std::string answer;
    std::thread waiting([&] {
        answer = Exchange(server.Address(), Hello() + CallFrame(2, 1) + CallFrame(3, 3, "a") +
                                                CallFrame(4, 2) + CallFrame(5, 3, "b"));
    });
    // Served while the call above waits on its worker thread.
    ObjectRef other = Connect(server.Address());
    EXPECT_EQ(automation::Call(other, 3, {"meanwhile"}).ToString(), "meanwhile");
    {
        std::lock_guard lock(mutex);
        open = true;
    }
    opened.notify_all();
    waiting.join();
    EXPECT_EQ(answer, "Reply 1\nReply 2\nReply 3\nError 4: refused\nReply 5\n");
}

TEST(Server, ServesConnectionsByTurnsAndDropsTheWorkOfOneThatHasGone) {
    std::atomic<int> runs{0};
    auto root = std::make_shared<LocalObject>(std::vector<std::string>{});
    root->Define(1, "Slow", [&](CallKind, const Args&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return Variant(static_cast<std::int32_t>(++runs));
    });
    root->Define(2, "Runs", [&](CallKind, const Args&) {
        return Variant(static_cast<std::int32_t>(runs.load()));
    });
    TempDir dir;
    Server server([root](const ConnectionInfo&) { return root; });
    server.Listen("unix:" + dir.path() + "/host.sock");
    server.Start();

    // One client queues a second's worth of calls, and another comes after it.
    constexpr int kQueued = 1000;
    std::string queue = Hello();
    for (int i = 0; i < kQueued; ++i) queue += CallFrame(static_cast<std::uint32_t>(i + 2), 1);
    int busy = rpctest::RawConnect(server.Address());
    ASSERT_GE(busy, 0);
    ASSERT_EQ(send(busy, queue.data(), queue.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(queue.size()));
    ObjectRef other = Connect(server.Address());
    EXPECT_LT(automation::Call(other, 2).ToInt32(), kQueued / 2);

    // The busy client goes away; what it queued is not worked off for nobody.
    close(busy);
    EXPECT_TRUE(Eventually([&] { return server.HandleCount() == 1; }));
    EXPECT_LT(automation::Call(other, 2).ToInt32(), kQueued / 2);
}

TEST(Server, TellsClientsBeyondItsLimitThatItIsBusy) {
    TempDir dir;
    ServerOptions options;
    options.maxConnections = 2;
    Server server([](const ConnectionInfo&) { return rpctest::MakeApplication(); }, options);
    server.Listen("unix:" + dir.path() + "/host.sock");
    server.Start();
    ObjectRef first = Connect(server.Address());
    ObjectRef second = Connect(server.Address());
    EXPECT_EQ(ErrorOf([&] { Connect(server.Address()); }),
              "the server closed the connection: the server is busy: it serves 2 connections, "
              "its limit");
    first.reset();
    EXPECT_TRUE(Eventually([&] { return ErrorOf([&] { Connect(server.Address()); }).empty(); }));
}

// The processor time of process `pid` so far, in clock ticks.
long CpuTicks(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string field;
    long ticks = 0;
    for (int i = 3; i <= 15 && fields >> field; ++i) {
        if (i >= 14) ticks += std::stol(field);  // utime, stime
    }
    return ticks;
}

TEST(Server, RefusesClientsWithoutSpinningWhenOutOfDescriptors) {
    TempDir dir;
    std::string address = "unix:" + dir.path() + "/host.sock";
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        // A server with room for a few connections only, in a process of its own.
        rlimit limit{32, 32};
        setrlimit(RLIMIT_NOFILE, &limit);
        Server server([](const ConnectionInfo&) { return rpctest::MakeApplication(); });
        server.Listen(address);
        [[maybe_unused]] ssize_t n = write(ready[1], "k", 1);
        server.Run();
        _exit(0);
    }
    close(ready[1]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);

    std::vector<int> idle;
    for (int i = 0; i < 40; ++i) idle.push_back(rpctest::RawConnect(address));
    automation::rpc::ClientOptions quick;
    quick.timeout = std::chrono::seconds(20);
    EXPECT_EQ(ErrorOf([&] { Connect(address, quick); }),
              "the server closed the connection: the server is busy: it has no file descriptors "
              "left");
    // Idle connections, and a listening socket it cannot accept from: nothing to do.
    long before = CpuTicks(pid);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    long used = CpuTicks(pid) - before;
    EXPECT_LT(used, sysconf(_SC_CLK_TCK) / 4) << "ticks of processor time in 1 s";

    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    for (int fd : idle) close(fd);
}
