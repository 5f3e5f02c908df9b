// What one automation call costs: in process, over the RPC transport, and a bare socket
// ping-pong of the same frame sizes beside it, each with sleeping waits ("block") and with
// a short busy poll before sleeping ("poll"). The RPC/bare ratio is the transport's overhead:
// BM_RpcCall measures a bare ping-pong of the same sizes and kind right after its calls and
// reports both and their ratio (rpc_us, bare_us, x_bare), so that one run under one load
// gives the pair.
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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
// At most this many bare round trips follow an RPC benchmark's calls.
constexpr std::int64_t kBareRounds = 20000;

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

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

// A request and reply of the RPC call's sizes over two connected sockets, answered by an
// echo thread.
class PingPong {
  public:
    PingPong(bool tcp, bool polling)
        : polling_(polling), request_(RequestSize(), 'q'), reply_(ReplySize(), '\0'), fds_{-1, -1} {
        SocketPair(tcp, fds_);
        echo_ = std::thread([this, requestSize = request_.size(), replySize = reply_.size()] {
            std::string in(requestSize, '\0');
            std::string out(replySize, 'r');
            while (ReadExactly(fds_[1], in.data(), requestSize, polling_)) {
                send(fds_[1], out.data(), out.size(), MSG_NOSIGNAL);
            }
        });
    }
    ~PingPong() {
        shutdown(fds_[0], SHUT_RDWR);
        echo_.join();
        close(fds_[0]);
        close(fds_[1]);
    }
    PingPong(const PingPong&) = delete;
    PingPong& operator=(const PingPong&) = delete;

    bool Once() {
        send(fds_[0], request_.data(), request_.size(), MSG_NOSIGNAL);
        return ReadExactly(fds_[0], reply_.data(), reply_.size(), polling_);
    }

  private:
    bool polling_;
    std::string request_;
    std::string reply_;
    int fds_[2];
    std::thread echo_;
};

void BM_BarePingPong(benchmark::State& state) {
    PingPong pingPong(/*tcp=*/state.range(0) == 1, /*polling=*/state.range(1) == 1);
    for (auto _ : state) {
        if (!pingPong.Once()) {
            state.SkipWithError("echo thread gone");
            break;
        }
    }
}
BENCHMARK(BM_BarePingPong)
    ->ArgNames({"tcp", "poll"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1});

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
    auto start = std::chrono::steady_clock::now();
    for (auto _ : state) benchmark::DoNotOptimize(automation::Get(remote, 100));
    double rpcSeconds = SecondsSince(start) / static_cast<double>(state.iterations());
    remote.reset();
    server.Stop();
    server.Join();

    // The bare ping-pong of the same sizes, now, under the same load.
    const std::int64_t rounds = std::min<std::int64_t>(state.iterations(), kBareRounds);
    PingPong pingPong(/*tcp=*/state.range(0) == 1, polling);
    start = std::chrono::steady_clock::now();
    for (std::int64_t i = 0; i < rounds; ++i) {
        if (!pingPong.Once()) return state.SkipWithError("echo thread gone");
    }
    double bareSeconds = SecondsSince(start) / static_cast<double>(rounds);
    state.counters["rpc_us"] = rpcSeconds * 1e6;
    state.counters["bare_us"] = bareSeconds * 1e6;
    state.counters["x_bare"] = rpcSeconds / bareSeconds;
}
BENCHMARK(BM_RpcCall)
    ->ArgNames({"tcp", "poll"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1});

}  // namespace

BENCHMARK_MAIN();
