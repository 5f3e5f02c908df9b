// Automation objects carried by COM between two processes: this program runs itself a second
// time as the server ("--serve"), which offers one object in the running object table.
#include "automation/com.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "automation/automation.h"
#include "automation/local_object.h"

using automation::AutomationError;
using automation::CallKind;
using automation::LocalObject;
using automation::ObjectRef;
using automation::Variant;

namespace {

constexpr const char* kServerClass = "{6F1C2A10-3B4D-4E5F-8A9B-0C1D2E3F4A5B}";
constexpr const char* kLibrary = "{6F1C2A11-3B4D-4E5F-8A9B-0C1D2E3F4A5B}";
constexpr const char* kRootIid = "{6F1C2A12-3B4D-4E5F-8A9B-0C1D2E3F4A5B}";
constexpr const char* kChildIid = "{6F1C2A13-3B4D-4E5F-8A9B-0C1D2E3F4A5B}";
constexpr const char* kPeer = "the test server";

// The dispatch ids of the served object.
enum : std::int32_t { kEcho = 1, kValue = 2, kChild = 3, kIsChild = 4, kRefuse = 5, kStop = 9 };

std::string ErrorOf(const std::function<void()>& fn) {
    try {
        fn();
    } catch (const AutomationError& e) {
        return e.Description();
    }
    return "";
}

// The server's side: echoes, a stored value, a child object it recognises when it comes back,
// a refusal with its own text, and a by-name member.
int Serve() {
    std::string library = std::string(CORVANSIL_BINARY_DIR) + "/tests/automation/com_test.tlb";
    automation::com::RegisterInterfaces(kLibrary, library, {kRootIid, kChildIid});
    bool stop = false;
    auto child = std::make_shared<LocalObject>(std::vector<std::string>{kChildIid});
    auto root = std::make_shared<LocalObject>(std::vector<std::string>{kRootIid});
    root->Define(kEcho, "EchoByName", [](CallKind, const automation::Args& args) {
        return args.empty() ? Variant() : args[0];
    });
    root->DefineValue(kValue, "", Variant());
    root->Define(kChild, "", [child](CallKind, const automation::Args&) { return child; });
    root->Define(kIsChild, "", [child](CallKind, const automation::Args& args) {
        return args.size() == 1 && args[0].ToObject() == child;
    });
    root->Define(kRefuse, "", [](CallKind, const automation::Args&) -> Variant {
        throw AutomationError("the server refused: no such class 'Shop.Nothing'");
    });
    root->Define(kStop, "", [&stop](CallKind, const automation::Args&) {
        stop = true;
        return Variant();
    });
    // A Wine prefix made a moment ago may still be starting the service behind the table.
    std::uint32_t registration = 0;
    for (int attempt = 1;; ++attempt) {
        try {
            registration = automation::com::RegisterActive(kServerClass, root);
            break;
        } catch (const AutomationError&) {
            if (attempt == 100) throw;
            ::Sleep(200);
        }
    }
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (!stop && std::chrono::steady_clock::now() < end) {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) ::DispatchMessageW(&message);
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 200, QS_ALLINPUT);
    }
    automation::com::RevokeActive(registration);
    return 0;
}

// A second process serving the object, and a client object for it.
struct Server {
    PROCESS_INFORMATION process{};
    ObjectRef root;

    // In a Wine prefix made a moment ago the first server can stall while Wine sets up the
    // running object table; a second one then comes up at once.
    Server() {
        for (int attempt = 0; attempt < 3 && !root; ++attempt) {
            if (attempt > 0) Stop();
            Start(std::chrono::seconds(20));
        }
    }
    ~Server() { Stop(); }

    void Start(std::chrono::seconds patience) {
        wchar_t self[MAX_PATH];
        ::GetModuleFileNameW(nullptr, self, MAX_PATH);
        std::wstring line = L"\"" + std::wstring(self) + L"\" --serve";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        process = PROCESS_INFORMATION{};
        if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &process)) {
            return;
        }
        auto end = std::chrono::steady_clock::now() + patience;
        while (!root && std::chrono::steady_clock::now() < end &&
               ::WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT) {
            try {
                root = automation::com::ActiveObject(kServerClass, kPeer);
            } catch (const AutomationError&) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
        }
    }

    void Stop() {
        if (process.hProcess == nullptr) return;
        DWORD patience = root ? 10000 : 0;
        if (root) ErrorOf([&] { automation::Call(root, kStop); });
        root.reset();
        if (::WaitForSingleObject(process.hProcess, patience) != WAIT_OBJECT_0) {
            ::TerminateProcess(process.hProcess, 1);
        }
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
        process = PROCESS_INFORMATION{};
    }
};

}  // namespace

TEST(ComObject, CarriesValuesAndErrorsBetweenProcesses) {
    Server server;
    ASSERT_TRUE(server.root);
    ObjectRef root = server.root;
    struct Case {
        const char* name;
        Variant value;
    } cases[] = {
        {"empty", Variant()},
        {"true", Variant(true)},
        {"false", Variant(false)},
        {"int16", Variant(std::int16_t{-32768})},
        {"int32", Variant(std::int32_t{70000})},
        {"empty text", Variant("")},
        {"text beyond ASCII", Variant("Gr\xc3\xbc\xc3\x9f"
                                      "e \xe2\x82\xac 1\r\n")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(automation::Call(root, kEcho, {c.value}), c.value);
        EXPECT_EQ(automation::CallByName(root, "EchoByName", {c.value}), c.value);
        automation::Put(root, kValue, c.value);
        EXPECT_EQ(automation::Get(root, kValue), c.value);
    }
    // A Boolean travels as -1 and 0, and a put value comes back as it went.
    EXPECT_EQ(automation::Call(root, kEcho, {true}).Type(), automation::VariantType::Bool);

    // An object of the server comes back to it as itself; a cast asks the object.
    ObjectRef child = automation::Get(root, kChild).ToObject();
    ASSERT_TRUE(child);
    EXPECT_EQ(automation::Call(root, kIsChild, {child}), Variant(true));
    EXPECT_EQ(automation::Call(root, kIsChild, {root}), Variant(false));
    struct Cast {
        const char* iid;
        bool root;
        bool child;
    } casts[] = {
        {kRootIid, true, false},
        {"{6f1c2a13-3b4d-4e5f-8a9b-0c1d2e3f4a5b}", false, true},
        {"{00000000-1111-2222-3333-444444444444}", false, false},
    };
    for (const Cast& c : casts) {
        SCOPED_TRACE(c.iid);
        EXPECT_EQ(root->Implements(c.iid), c.root);
        EXPECT_EQ(child->Implements(c.iid), c.child);
    }

    struct Failure {
        const char* name;
        std::function<void()> call;
        const char* error;
    } failures[] = {
        {"refusal", [&] { automation::Call(root, kRefuse); },
         "the server refused: no such class 'Shop.Nothing'"},
        {"unknown id", [&] { automation::Call(root, 77); }, "Member not found"},
        {"unknown name", [&] { automation::CallByName(root, "NoSuchMember"); }, "Member not found"},
        {"cast", [&] { automation::Cast(child, kRootIid); }, "No such interface supported"},
    };
    for (const Failure& f : failures) {
        SCOPED_TRACE(f.name);
        EXPECT_EQ(ErrorOf(f.call), f.error);
    }
}

TEST(ComObject, NamesTheServerThatHasGone) {
    Server server;
    ASSERT_TRUE(server.root);
    ObjectRef child = automation::Get(server.root, kChild).ToObject();
    ::TerminateProcess(server.process.hProcess, 1);
    ::WaitForSingleObject(server.process.hProcess, 10000);
    EXPECT_EQ(ErrorOf([&] { automation::Get(child, 1); }),
              std::string(kPeer) + " closed the connection");
    server.root.reset();
}

int main(int argc, char** argv) {
    automation::com::InitializeApartment();
    if (argc == 2 && std::string(argv[1]) == "--serve") return Serve();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
