// Puts sent ahead without waiting: a failure stops every call sent after it, and its error
// comes out of the next call that waits, or of Sync.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc.h"
#include "rpc_test_support.h"
#include "tests/support/support.h"

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;
using automation::rpc::ClientOptions;
using automation::rpc::Connect;
using automation::rpc::Server;
using rpctest::ErrorOf;
using testsupport::TempDir;

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
        // A method whose result callers drop: records like a put, refuses "bad".
        object->Define(0, "Add", [this](CallKind, const Args& args) {
            std::string value = args.at(0).ToString();
            if (value == "bad") throw AutomationError("add refused " + value);
            puts.push_back(value);
            return Variant(true);
        });
        // A read that fails.
        object->Define(0, "Broken", [this](CallKind, const Args&) -> Variant {
            ++gets;
            throw AutomationError("broken read");
        });
        // An object of a kind with one interface, new on each call.
        object->Define(0, "Child", [](CallKind, const Args&) {
            return Variant(std::make_shared<automation::LocalObject>(
                std::vector<std::string>{rpctest::kClassIid}));
        });
        // Another object that records here ("self"), or what is no object for the caller.
        object->Define(0, "Make", [this](CallKind, const Args& args) -> Variant {
            std::string what = args.at(0).ToString();
            if (what == "self") return Object();
            if (what == "text") return Variant(what);
            if (what == "bad") throw AutomationError("make refused bad");
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
    explicit Served(Recorder& recorder)
        : server([&recorder](const auto&) { return recorder.Object(); }) {
        server.Listen("unix:" + dir.path() + "/pipe.sock");
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

void Add(const ObjectRef& object, const std::string& value) {
    automation::CallByNameNoResult(object, "Add", {value});
}

TEST(Pipeline, MethodsWithoutResultGoAheadAndAFailureStopsTheCallsAfterIt) {
    struct Case {
        const char* name;
        std::vector<std::string> adds;
        std::string log;
        std::string error;  // raised by Sync
    };
    const Case cases[] = {
        {"all succeed", {"1", "2", "3"}, "1\n2\n3\n", ""},
        {"second fails", {"1", "bad", "3"}, "1\n", "add refused bad"},
        {"first fails", {"bad", "2"}, "", "add refused bad"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Recorder recorder;
        Served served(recorder);
        ObjectRef root = Connect(served.server.Address());
        std::uint64_t waitsBefore = automation::rpc::WaitCount();
        std::string error = ErrorOf([&] {
            automation::rpc::Pipeline pipeline;
            for (const auto& value : c.adds) Add(root, value);
            EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore);
            pipeline.Sync();
        });
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(automation::CallByName(root, "Log").ToString(), c.log);
    }
}

// An object result the caller only calls goes ahead under a handle the client names; whatever
// would make using it fail in this process fails the call there, with the same text.
TEST(Pipeline, ObjectResultsGoAheadAndFailAsTheirUseWouldInProcess) {
    struct Case {
        const char* name;
        const char* made;
        const char* iid;
        std::string error;
    };
    const Case cases[] = {
        {"an object", "self", "", ""},
        {"refused", "bad", "", "make refused bad"},
        {"no object", "none", "", std::string(automation::kErrObjectNotSet)},
        {"a text", "text", "", std::string(automation::kErrTypeMismatch)},
        {"another interface", "self", rpctest::kAppIid, std::string(automation::kErrNoInterface)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto run = [&](const ObjectRef& root) {
            return ErrorOf([&] {
                automation::rpc::Pipeline pipeline;
                Add(root, "1");
                ObjectRef made = automation::CallByNameForObject(root, "Make", c.iid, {c.made});
                Add(made, "2");
                Add(root, "3");
                pipeline.Sync();
            });
        };
        Recorder local;
        std::string localError = run(local.Object());
        Recorder recorder;
        Served served(recorder);
        ObjectRef root = Connect(served.server.Address());
        std::size_t handles = served.server.HandleCount();
        std::uint64_t waitsBefore = automation::rpc::WaitCount();
        EXPECT_EQ(run(root), c.error);
        EXPECT_EQ(localError, c.error);
        // The sync, and after a failure the request that ends the failed batch.
        EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore + (c.error.empty() ? 1 : 2));
        EXPECT_EQ(recorder.puts, local.puts);
        automation::CallByName(root, "Log");
        EXPECT_EQ(served.server.HandleCount(), handles);
    }
}

TEST(Pipeline, OutsideAScopeEveryCallWaitsAndRaisesItsOwnError) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address());
    std::uint64_t waitsBefore = automation::rpc::WaitCount();
    Add(root, "1");
    EXPECT_EQ(ErrorOf([&] { Add(root, "bad"); }), "add refused bad");
    Put(root, "3");
    EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore + 3);
    EXPECT_EQ(automation::CallByName(root, "Log").ToString(), "1\n3\n");
}

TEST(Pipeline, ConnectionThatSendsNothingAheadWaitsInsideAScope) {
    Recorder recorder;
    Served served(recorder);
    ClientOptions options;
    options.sendAhead = false;
    ObjectRef root = Connect(served.server.Address(), options);
    automation::rpc::Pipeline pipeline;
    EXPECT_EQ(ErrorOf([&] { Add(root, "bad"); }), "add refused bad");
    Put(root, "2");
    pipeline.Sync();
    EXPECT_EQ(automation::CallByName(root, "Log").ToString(), "2\n");
}

// Two servers: a call sent ahead to A fails; what happens to the next call on B.
TEST(Pipeline, FailureAheadOnOneConnectionStopsWritesOnAnother) {
    struct Case {
        const char* name;
        std::function<void(const ObjectRef&)> call;  // on B
        std::string error;                           // raised by that call
        std::string logB;                            // what B holds afterwards
        int readsB;                                  // reads B ran
    };
    const Case cases[] = {
        {"a put on B", [](const ObjectRef& b) { Put(b, "x"); }, "slot refused bad", "", 0},
        {"a method on B", [](const ObjectRef& b) { automation::CallByName(b, "Add", {"x"}); },
         "slot refused bad", "", 0},
        {"a method without result on B", [](const ObjectRef& b) { Add(b, "x"); },
         "slot refused bad", "", 0},
        // A read changes nothing: it may run, but a failing one raises the earlier error.
        {"a read on B", [](const ObjectRef& b) { automation::GetByName(b, "Slot"); }, "", "", 1},
        {"a failing read on B", [](const ObjectRef& b) { automation::GetByName(b, "Broken"); },
         "slot refused bad", "", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Recorder recorderA, recorderB;
        Served servedA(recorderA), servedB(recorderB);
        ObjectRef a = Connect(servedA.server.Address());
        ObjectRef b = Connect(servedB.server.Address());
        std::string error;
        {
            automation::rpc::Pipeline pipeline;
            Put(a, "1");
            Put(a, "bad");
            error = ErrorOf([&] { c.call(b); });
            if (c.error.empty()) {
                EXPECT_EQ(ErrorOf([&] { pipeline.Sync(); }), "slot refused bad");
            }
        }
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(automation::CallByName(a, "Log").ToString(), "1\n");
        EXPECT_EQ(automation::CallByName(b, "Log").ToString(), c.logB);
        EXPECT_EQ(recorderB.gets, c.readsB + 1);  // + the Log just read
    }
}

TEST(Pipeline, RunRaisesTheErrorOfAnEarlierCallBeforeTheBodysOwn) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address());
    automation::rpc::Pipeline pipeline;
    std::string error = ErrorOf([&] {
        pipeline.Run([&] {
            Put(root, "bad");
            throw AutomationError("raised by the body");
        });
    });
    EXPECT_EQ(error, "slot refused bad");
    EXPECT_EQ(ErrorOf([&] { pipeline.Run([&] { throw AutomationError("own"); }); }), "own");
    EXPECT_EQ(pipeline.Run([&] { return 7; }), 7);
}

TEST(InterfaceCast, ObjectsOfAToldKindAnswerCastsWithoutARoundTrip) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address());
    ObjectRef first = automation::GetByName(root, "Child").ToObject();
    ObjectRef second = automation::GetByName(root, "Child").ToObject();
    std::uint64_t waitsBefore = automation::rpc::WaitCount();
    std::uint64_t castsBefore = automation::rpc::WaitCountsByKind().casts;
    for (const ObjectRef& child : {first, second}) {
        EXPECT_TRUE(child->Implements(rpctest::kClassIid));
        EXPECT_TRUE(child->Implements(
            "{bc57d1c0-863e-11cf-b3d4-00a0241db1d0}"));  // letter case does not matter
        EXPECT_FALSE(child->Implements(rpctest::kAppIid));
    }
    EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore);
    // The root offers no interface of its own, so its casts are still asked.
    EXPECT_FALSE(root->Implements(rpctest::kAppIid));
    EXPECT_EQ(automation::rpc::WaitCount(), waitsBefore + 1);
    EXPECT_EQ(automation::rpc::WaitCountsByKind().casts, castsBefore + 1);
}

TEST(InterfaceCast, ObjectResultOfACallSentAheadIsReleased) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef root = Connect(served.server.Address());
    std::size_t before = served.server.HandleCount();
    {
        automation::rpc::Pipeline pipeline;
        for (int i = 0; i < 3; ++i) automation::CallByNameNoResult(root, "Child");
        pipeline.Sync();
    }
    // Releases travel with the next request.
    automation::CallByName(root, "Log");
    EXPECT_EQ(served.server.HandleCount(), before);
    ObjectRef child = automation::GetByName(root, "Child").ToObject();
    EXPECT_TRUE(child->Implements(rpctest::kClassIid));
}

}  // namespace

namespace {

// Reads walked ahead go out together; what a ReadScope keeps answers the same read again, an
// error as much as a result, until a write on the connection or the scope's end.
TEST(ReadScope, KeptReadsAnswerWithoutTheHostUntilAWriteOrTheScopeEnds) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef object = Connect(served.server.Address());
    Put(object, "a");
    auto slot = [&] { return automation::GetByName(object, "Slot").ToString(); };
    auto broken = [&] {
        return ErrorOf([&] { automation::CallByNameReadOnly(object, "Broken"); });
    };
    {
        automation::ReadScope reads;
        std::uint64_t waits = automation::rpc::WaitCount();
        automation::AnnounceReads([&] {
            for (auto read : std::vector<std::function<void()>>{slot, broken}) {
                try {
                    read();
                } catch (const automation::NotYetRead&) {
                }
            }
        });
        EXPECT_EQ(automation::rpc::WaitCount() - waits, 1u);
        EXPECT_EQ(recorder.gets, 2);
        EXPECT_EQ(slot(), "a");
        EXPECT_EQ(broken(), "broken read");
        EXPECT_EQ(recorder.gets, 2);
        Put(object, "b");
        EXPECT_EQ(slot(), "b");
        EXPECT_EQ(slot(), "b");
        EXPECT_EQ(recorder.gets, 3);
    }
    EXPECT_EQ(slot(), "b");
    EXPECT_EQ(recorder.gets, 4);
}

// Later rounds of a walk pass over a branch that read everything from what is kept, but only
// one that stands where it stood: a branch after a loop that grew is walked again.
TEST(AnnounceReads, PassesOverBranchesReadWhollyFromWhatIsKept) {
    Recorder recorder;
    Served served(recorder);
    ObjectRef object = Connect(served.server.Address());
    Put(object, "a");
    auto read = [&](const char* name) { return automation::GetByName(object, name).ToString(); };
    automation::ReadScope reads;
    read("Slot");  // kept before the walk starts
    int slotWalks = 0;
    std::uint64_t waits = automation::rpc::WaitCount();
    automation::AnnounceReads([&] {
        automation::WalkBranch([&] {
            // Two steps deep: the log ("a\n"), then a read for each of its two characters.
            std::string log = read("Log");
            const char* names[] = {"Broken", "Child"};
            for (std::size_t at = 0; at < log.size() && at < 2; ++at) {
                automation::WalkBranch([&] { automation::CallByNameReadOnly(object, names[at]); });
            }
            automation::WalkBranch([&] { read("Slot"); });
        });
        automation::WalkBranch([&] {
            ++slotWalks;
            read("Slot");
        });
    });
    EXPECT_EQ(slotWalks, 1);
    EXPECT_EQ(automation::rpc::WaitCount() - waits, 2u);  // the log, then the broken reads
    EXPECT_EQ(read("Log"), "a\n");
    EXPECT_EQ(ErrorOf([&] { automation::CallByNameReadOnly(object, "Broken"); }), "broken read");
    EXPECT_EQ(automation::rpc::WaitCount() - waits, 2u);
}

}  // namespace
