// Puts sent ahead without waiting: a failure stops every call sent after it, and its error
// comes out of the next call that waits, or of Sync.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc.h"
#include "rpc_test_support.h"

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;
using automation::rpc::ClientOptions;
using automation::rpc::Connect;
using automation::rpc::Server;
using rpctest::ErrorOf;
using rpctest::TempDir;

namespace {

// A host object whose "Slot" puts are recorded in order; a put of "bad" fails, and "Log" gives
// what was recorded, one value per line.
struct Recorder {
    std::vector<std::string> puts;
    int gets = 0;

    ObjectRef Object() {
        auto object = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
        object->Define(0, "Slot", [this](CallKind kind, const Args& args) {
            if (kind != CallKind::Put) {
                ++gets;
                return Variant(puts.empty() ? std::string() : puts.back());
            }
            std::string value = args.back().ToString();
            if (value == "bad") throw AutomationError("slot refused " + value);
            puts.push_back(value);
            return Variant();
        });
        object->Define(0, "Log", [this](CallKind, const Args&) {
            ++gets;
            std::string log;
            for (const auto& put : puts) log += put + "\n";
            return Variant(log);
        });
        return object;
    }
};

struct Served {
    explicit Served(Recorder& recorder) : server([&recorder](const auto&) {
                                              return recorder.Object();
                                          }) {
        server.Listen("unix:" + dir.path + "/pipe.sock");
        server.Start();
    }
    ~Served() { server.Stop(); }
    TempDir dir;
    Server server;
};

ClientOptions Pipelined() {
    ClientOptions options;
    options.pipelinePuts = true;
    return options;
}

void Put(const ObjectRef& object, const std::string& value) {
    automation::PutByName(object, "Slot", {value});
}

TEST(Pipelining, FailedPutStopsTheCallsSentAfterItAndSurfacesAtTheNextWait) {
    struct Case {
        const char* name;
        std::vector<std::string> puts;
        std::string log;    // what the host holds afterwards
        std::string error;  // raised by the call that waits
    };
    const Case cases[] = {
        {"all succeed", {"1", "2", "3", "4", "5"}, "1\n2\n3\n4\n5\n", ""},
        {"third fails", {"1", "2", "bad", "4", "5"}, "1\n2\n", "slot refused bad"},
        {"first fails", {"bad", "2"}, "", "slot refused bad"},
        {"last fails", {"1", "bad"}, "1\n", "slot refused bad"},
        {"two fail, the first counts", {"bad", "bad"}, "", "slot refused bad"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Recorder recorder;
        Served served(recorder);
        ObjectRef root = Connect(served.server.Address(), Pipelined());
        std::uint64_t waitsBefore = automation::rpc::WaitCount();
        for (const auto& value : c.puts) EXPECT_EQ(ErrorOf([&] { Put(root, value); }), "");
        EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore);
        EXPECT_EQ(ErrorOf([&] { automation::GetByName(root, "Log"); }), c.error);
        // The call that raised the error was not run either; the next one is.
        EXPECT_EQ(recorder.gets, c.error.empty() ? 1 : 0);
        EXPECT_EQ(automation::CallByName(root, "Log").ToString(), c.log);
    }
}

TEST(Pipelining, SyncRaisesTheFirstErrorOnceAndLaterCallsRunAgain) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address(), Pipelined());
    Put(root, "1");
    Put(root, "bad");
    Put(root, "3");
    EXPECT_EQ(ErrorOf([&] { automation::rpc::Sync(root); }), "slot refused bad");
    EXPECT_EQ(ErrorOf([&] { automation::rpc::Sync(root); }), "");
    Put(root, "4");
    automation::rpc::Sync(root);
    EXPECT_EQ(automation::CallByName(root, "Log").ToString(), "1\n4\n");
}

TEST(Pipelining, WithoutItEveryPutWaitsAndRaisesItsOwnError) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address());
    std::uint64_t waitsBefore = automation::rpc::WaitCount();
    Put(root, "1");
    EXPECT_EQ(ErrorOf([&] { Put(root, "bad"); }), "slot refused bad");
    Put(root, "3");
    EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore + 3);
    EXPECT_EQ(automation::CallByName(root, "Log").ToString(), "1\n3\n");
}

TEST(Pipelining, PutsQueuedWhenTheLastProxyGoesStillReachTheHost) {
    Recorder recorder;
    Served served(recorder);
    {
        ObjectRef root = Connect(served.server.Address(), Pipelined());
        Put(root, "1");
        Put(root, "2");
    }
    // The host reads the two connections in its own order: wait, boundedly, for the first's.
    ObjectRef again = Connect(served.server.Address());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::string log;
    while ((log = automation::CallByName(again, "Log").ToString()) != "1\n2\n" &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(log, "1\n2\n");
}

TEST(Pipelining, ManyPutsAheadAreAllAnswered) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address(), Pipelined());
    for (int i = 0; i < 10000; ++i) Put(root, std::to_string(i));
    EXPECT_EQ(automation::GetByName(root, "Slot").ToString(), "9999");
    EXPECT_EQ(recorder.puts.size(), 10000u);
}

}  // namespace
