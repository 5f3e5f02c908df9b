// What one automation call costs: in process, over the RPC transport, and a bare socket
// ping-pong of the same frame sizes beside it, each with sleeping waits ("block") and with
// a short busy poll before sleeping ("poll"). The RPC/bare ratio is the transport's overhead.
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc.h"
#include "automation/rpc_frame.h"

using automation::ObjectRef;
using automation::Variant;

namespace {

constexpr std::chrono::microseconds kSpin{100};

ObjectRef MakeClass() {
    auto cls = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    cls->DefineValue(100, "Name", Variant("Person"));
    return cls;
}

// The sizes of a Get by dispatch id without arguments and of its reply "Person".
std::size_t RequestSize() {
    automation::rpc::Message m;
    m.type = automation::rpc::MessageType::Call;
    m.kind = automation::CallKind::Get;
    m.dispid = 100;
    std::string out;
    automation::rpc::EncodeFrame(m, out);
    return out.size();
}

std::size_t ReplySize() {
    automation::rpc::Message m;
    m.values.push_back(std::string("Person"));
    std::string out;
    automation::rpc::EncodeFrame(m, out);
    return out.size();
}

void BM_InProcessCall(benchmark::State& state) {
    ObjectRef cls = MakeClass();
    for (auto _ : state) benchmark::DoNotOptimize(automation::Get(cls, 100));
}
BENCHMARK(BM_InProcessCall);

// range(0): 0 unix, 1 tcp; range(1): 0 block, 1 poll.
void BM_RpcCall(benchmark::State& state) {
    bool polling = state.range(1) == 1;
    std::string address = state.range(0) == 0
                              ? "unix:/tmp/corvansil-bench-" + std::to_string(getpid()) + ".sock"
                              : "tcp:127.0.0.1:0";
    ObjectRef cls = MakeClass();
    automation::rpc::ServerOptions serverOptions;
    serverOptions.spin = polling ? kSpin : std::chrono::microseconds(0);
    automation::rpc::Server server([cls](const automation::rpc::ConnectionInfo&) { return cls; },
                                   serverOptions);
    server.Listen(address);
    server.Start();
    automation::rpc::ClientOptions clientOptions;
    clientOptions.spin = serverOptions.spin;
    ObjectRef remote = automation::rpc::Connect(server.Address(), clientOptions);
    for (auto _ : state) benchmark::DoNotOptimize(automation::Get(remote, 100));
    remote.reset();
    server.Stop();
    server.Join();
}
BENCHMARK(BM_RpcCall)
    ->ArgNames({"tcp", "poll"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1});

// Reads exactly `n` bytes; polls without sleeping for kSpin first when `polling`.
bool ReadExactly(int fd, char* buf, std::size_t n, bool polling) {
    std::size_t got = 0;
    auto spinEnd = std::chrono::steady_clock::now() + kSpin;
    while (got < n) {
        ssize_t r = recv(fd, buf + got, n - got, polling ? MSG_DONTWAIT : 0);
        if (r > 0) {
            got += static_cast<std::size_t>(r);
            continue;
        }
        if (r == 0) return false;
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) return false;
        if (std::chrono::steady_clock::now() < spinEnd) {
            sched_yield();  // as the transport does: see CpuRelax
            continue;
        }
        pollfd p{fd, POLLIN, 0};
        poll(&p, 1, -1);
    }
    return true;
}

// Two connected sockets: a Unix pair, or both ends of a loopback TCP connection.
void SocketPair(bool tcp, int fds[2]) {
    if (!tcp) {
        socketpair(AF_UNIX, SOCK_STREAM, 0, fds);
        return;
    }
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    bind(listener, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
    listen(listener, 1);
    getsockname(listener, reinterpret_cast<sockaddr*>(&sa), &len);
    fds[0] = socket(AF_INET, SOCK_STREAM, 0);
    connect(fds[0], reinterpret_cast<sockaddr*>(&sa), sizeof sa);
    fds[1] = accept(listener, nullptr, nullptr);
    close(listener);
    int one = 1;
    setsockopt(fds[0], IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    setsockopt(fds[1], IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

void BM_BarePingPong(benchmark::State& state) {
    bool tcp = state.range(0) == 1;
    bool polling = state.range(1) == 1;
    const std::size_t requestSize = RequestSize();
    const std::size_t replySize = ReplySize();
    int fds[2];
    SocketPair(tcp, fds);
    std::thread echo([&] {
        std::string in(requestSize, '\0');
        std::string out(replySize, 'r');
        while (ReadExactly(fds[1], in.data(), requestSize, polling)) {
            send(fds[1], out.data(), out.size(), MSG_NOSIGNAL);
        }
    });
    std::string request(requestSize, 'q');
    std::string reply(replySize, '\0');
    for (auto _ : state) {
        send(fds[0], request.data(), request.size(), MSG_NOSIGNAL);
        if (!ReadExactly(fds[0], reply.data(), replySize, polling)) {
            state.SkipWithError("echo thread gone");
            break;
        }
    }
    shutdown(fds[0], SHUT_RDWR);
    echo.join();
    close(fds[0]);
    close(fds[1]);
}
BENCHMARK(BM_BarePingPong)
    ->ArgNames({"tcp", "poll"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1});

}  // namespace

BENCHMARK_MAIN();
