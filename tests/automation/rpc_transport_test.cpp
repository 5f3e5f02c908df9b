#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
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
using automation::ObjectRef;
using automation::Variant;
using automation::rpc::ClientOptions;
using automation::rpc::Connect;
using automation::rpc::ConnectionInfo;
using automation::rpc::EncodeFrame;
using automation::rpc::Message;
using automation::rpc::MessageType;
using automation::rpc::Server;
using rpctest::Describe;
using rpctest::ErrorOf;
using testsupport::TempDir;

namespace {

std::unique_ptr<Server> StartServer(const std::string& address, ObjectRef root) {
    auto server = std::make_unique<Server>([root](const ConnectionInfo&) { return root; });
    server->Listen(address);
    server->Start();
    return server;
}

std::string Frame(const Message& m) {
    std::string out;
    EncodeFrame(m, out);
    return out;
}

Message HelloOf(std::uint32_t version) {
    Message m;
    m.type = MessageType::Hello;
    m.requestId = 1;
    m.text = automation::rpc::kHelloMagic;
    m.count = version;
    return m;
}

Message CallOn(std::uint32_t handle) {
    Message m;
    m.type = MessageType::Call;
    m.requestId = 2;
    m.handle = handle;
    m.kind = CallKind::Get;
    m.dispid = 100;
    return m;
}

}  // namespace

TEST(Server, RefusesBadFramesWithoutDisturbingOtherClients) {
    std::string callFrame = Frame(CallOn(1));
    Message reply;
    reply.requestId = 3;
    struct Case {
        const char* name;
        std::string bytes;
        const char* answer;
    } cases[] = {
        {"length beyond the limit", std::string("\xff\xff\xff\x7f", 4),
         "Error 0: malformed request at byte 0: frame exceeds the size limit\n"},
        {"unknown message type", std::string("\x05\0\0\0\x09\x01\0\0\0", 9),
         "Error 0: malformed request at byte 4: unknown message type\n"},
        {"field past the end", std::string("\x09\0\0\0\x03\x01\0\0\0\x01\0\0\0", 13),
         "Error 0: malformed request at byte 13: field runs past the end of the frame\n"},
        {"reply sent by a client", Frame(reply), "Error 0: a client sent a reply\n"},
        {"truncated frame, then hang-up", callFrame.substr(0, 10), ""},
        {"handle never given out",
         Frame(HelloOf(automation::rpc::kProtocolVersion)) + Frame(CallOn(99)),
         "Reply 1\nError 2: unknown object handle 99\n"},
        {"call before hello", callFrame, "Error 2: unknown object handle 1\n"},
        {"earlier protocol version",
         Frame(HelloOf(automation::rpc::kProtocolVersion - 1)) + callFrame,
         "Error 1: unsupported protocol\n"},
    };

    TempDir dir;
    auto server = StartServer("unix:" + dir.path() + "/host.sock", rpctest::MakeApplication());
    ObjectRef good = Connect(server->Address());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        int fd = rpctest::RawConnect(server->Address());
        ASSERT_GE(fd, 0);
        ASSERT_EQ(send(fd, c.bytes.data(), c.bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(c.bytes.size()));
        shutdown(fd, SHUT_WR);
        EXPECT_EQ(Describe(rpctest::ReadUntilClosed(fd)), c.answer);
        close(fd);
        EXPECT_EQ(automation::CallByName(good, "Echo", {"still here"}).ToString(), "still here");
    }
    EXPECT_TRUE([&] {
        for (int i = 0; i < 1000 && server->HandleCount() != 1; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return server->HandleCount() == 1;  // only the good client's root is left
    }());
}

TEST(Server, RefusesAResultLargerThanAFrame) {
    TempDir dir;
    auto root = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    root->Define(1, "Big", [](CallKind, const Args&) { return Variant(std::string(5000, 'x')); });
    automation::rpc::ServerOptions options;
    options.maxFrameSize = 4096;
    Server server([root](const ConnectionInfo&) { return root; }, options);
    server.Listen("unix:" + dir.path() + "/host.sock");
    server.Start();
    ObjectRef app = Connect(server.Address());
    EXPECT_EQ(ErrorOf([&] { automation::Get(app, 1); }), "the result is too large to send");
    EXPECT_EQ(ErrorOf([&] { automation::Get(app, 2); }), "Member not found");
}

TEST(Connect, FailsTheNextCallWhenTheServerHasGone) {
    TempDir dir;
    auto server = StartServer("unix:" + dir.path() + "/host.sock", rpctest::MakeApplication());
    ObjectRef app = Connect(server->Address());
    ObjectRef model = automation::Get(app, 209).AsObject();
    server.reset();
    EXPECT_EQ(ErrorOf([&] { automation::Get(model, 100); }), "the server closed the connection");
    EXPECT_EQ(ErrorOf([&] { automation::Get(app, 209); }), "the server closed the connection");
}

TEST(Connect, GivesUpOnAServerThatDoesNotAnswer) {
    // A socket that accepts connections (the kernel does, up to its backlog) but whose
    // owner never reads: a hung host.
    TempDir dir;
    std::string path = dir.path() + "/hung.sock";
    int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::strcpy(sa.sun_path, path.c_str());
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    ClientOptions options;
    options.timeout = std::chrono::milliseconds(200);
    EXPECT_EQ(ErrorOf([&] { Connect("unix:" + path, options); }),
              "the server did not answer within 0.2 s");
    close(listener);
}

TEST(Server, SerialisesTheCallsOfConcurrentClients) {
    // The counter is read and written in two steps with a yield between: calls that ran
    // side by side would lose increments.
    auto counter = std::make_shared<std::int32_t>(0);
    auto root = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    root->Define(1, "Increment", [counter](CallKind, const Args&) {
        std::int32_t seen = *counter;
        std::this_thread::yield();
        *counter = seen + 1;
        return Variant(seen + 1);
    });
    TempDir dir;
    auto server = StartServer("unix:" + dir.path() + "/host.sock", root);
    constexpr int kClients = 4;
    constexpr int kCalls = 300;
    ObjectRef shared = Connect(server->Address());
    std::vector<std::thread> threads;
    std::vector<std::string> errors(kClients + 1);
    for (int t = 0; t < kClients; ++t) {
        threads.emplace_back([&, t] {
            try {
                ObjectRef own = Connect(server->Address());
                for (int i = 0; i < kCalls; ++i) automation::Call(own, 1);
            } catch (const AutomationError& e) {
                errors[static_cast<std::size_t>(t)] = e.Description();
            }
        });
    }
    // Two threads on one connection: their round trips must not interleave either.
    threads.emplace_back([&] {
        try {
            for (int i = 0; i < kCalls; ++i) automation::Call(shared, 1);
        } catch (const AutomationError& e) {
            errors[kClients] = e.Description();
        }
    });
    for (int i = 0; i < kCalls; ++i) automation::Call(shared, 1);
    for (std::thread& t : threads) t.join();
    for (const std::string& e : errors) EXPECT_EQ(e, "");
    EXPECT_EQ(automation::Call(shared, 1).ToInt32(), (kClients + 2) * kCalls + 1);
}

TEST(ServerListen, GuardsTheUnixSocket) {
    TempDir dir;
    std::string path = dir.path() + "/a/b/host.sock";
    Server first([](const ConnectionInfo&) { return rpctest::MakeApplication(); });
    first.Listen("unix:" + path);
    struct stat st {};
    ASSERT_EQ(stat((dir.path() + "/a/b").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);  // connecting takes write permission

    first.Start();
    Server second([](const ConnectionInfo&) { return rpctest::MakeApplication(); });
    EXPECT_EQ(ErrorOf([&] { second.Listen("unix:" + path); }),
              "another server is listening on unix:" + path);
    first.Stop();
    first.Join();
}

TEST(ServerListen, ReplacesAStaleSocketFile) {
    TempDir dir;
    std::string path = dir.path() + "/host.sock";
    {
        // A server that died leaves its socket file behind.
        int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un sa{};
        sa.sun_family = AF_UNIX;
        std::strcpy(sa.sun_path, path.c_str());
        ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
        close(fd);
    }
    auto server = StartServer("unix:" + path, rpctest::MakeApplication());
    ObjectRef app = Connect("unix:" + path);
    EXPECT_EQ(automation::CallByName(app, "Echo", {7}).ToInt32(), 7);
    server.reset();
    EXPECT_NE(access(path.c_str(), F_OK), 0);  // removed by the server that made it
}

TEST(ServerListen, RefusesWhatItCannotListenOn) {
    TempDir dir;
    std::string file = dir.path() + "/plain";
    fclose(fopen(file.c_str(), "w"));
    auto server = StartServer("tcp:127.0.0.1:0", rpctest::MakeApplication());
    Server other([](const ConnectionInfo&) { return ObjectRef{}; });
    EXPECT_EQ(ErrorOf([&] { other.Listen("unix:" + file); }), file + " exists and is not a socket");
    EXPECT_EQ(ErrorOf([&] { other.Listen(server->Address()); }),
              "cannot listen on " + server->Address() + ": Address already in use");
    EXPECT_EQ(ErrorOf([&] { other.Listen("unix:"); }),
              "malformed address \"unix:\": no socket path");
}
