#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "automation/rpc.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"
#include "hosts/tavro/objects/objects.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using automation::rpc::Message;
using automation::rpc::MessageType;
using tavro_test::DataDir;
using tavro_test::ErrorOf;
using tavro_test::NewObject;

ObjectRef LoginOver(const automation::rpc::Server& server, const char* user, const char* password) {
    ObjectRef login = automation::rpc::Connect(server.Address());
    return CallByName(login, "Login", {"USER", user, password}).ToObject();
}

// Two clients at once through the network layer: what one saves the other reads, and the
// server refuses the write of a user without "Development" whatever the client does.
TEST(Login, ServesSeveralClientsOverTheNetwork) {
    DataDir dir;
    std::string path = dir.path();
    automation::rpc::Server server(
        [path](const automation::rpc::ConnectionInfo&) { return tavro::NewLoginObject(path); });
    server.Listen("tcp:127.0.0.1:0");
    server.Start();

    ObjectRef writer = LoginOver(server, tavro_test::kDeveloper, tavro_test::kDeveloperPassword);
    ObjectRef reader = LoginOver(server, tavro_test::kViewer, tavro_test::kViewerPassword);
    ObjectRef def = NewObject(writer, "%Dictionary.ClassDefinition", "Shop.Order");
    PutByName(def, "Description", "Orders");
    ObjectRef prop = NewObject(writer, "%Dictionary.PropertyDefinition", "Shop.Order:Total");
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {prop});
    CallByName(def, "sys_Save");

    ObjectRef seen = tavro_test::ClassDefinition(reader, "Shop.Order");
    EXPECT_EQ(GetByName(seen, "Description").ToString(), "Orders");
    EXPECT_EQ(GetByName(GetByName(seen, "Properties").ToObject(), "Count").ToInt32(), 1);
    PutByName(seen, "Description", "mine now");
    EXPECT_EQ(ErrorOf([&] { CallByName(seen, "sys_Save"); }),
              "access denied: user viewer lacks the 'Development' permission");
    EXPECT_EQ(ErrorOf([&] { LoginOver(server, tavro_test::kDeveloper, "guess"); }),
              "access denied: wrong user name or password");
    server.Stop();
    server.Join();
}

// The frames of a client that says hello and then sends `count` logins with wrong passwords,
// without waiting for their answers.
std::string GuessingFrames(int count) {
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
        login.values = {std::string("USER"), std::string(tavro_test::kDeveloper),
                        "guess-" + std::to_string(i)};
        EncodeFrame(login, out);
    }
    return out;
}

// How many of the frames received on `fd` so far are error replies.
int ErrorsReceived(int fd) {
    std::string bytes;
    char buf[4096];
    for (;;) {
        ssize_t n = recv(fd, buf, sizeof buf, MSG_DONTWAIT);
        if (n <= 0) break;
        bytes.append(buf, static_cast<std::size_t>(n));
    }
    int errors = 0;
    Message m;
    for (auto r = automation::rpc::DecodeFrame(bytes, m); r;
         r = automation::rpc::DecodeFrame(bytes, m)) {
        bytes.erase(0, r.size);
        if (m.type == MessageType::Error) ++errors;
    }
    return errors;
}

// Someone guessing passwords on one connection, their guesses queued: the first few failures
// are answered at once, later ones only after a growing wait, and meanwhile the server logs
// in other clients, even from the same address.
TEST(Login, AnswersOtherClientsWhileRepeatedFailuresWait) {
    DataDir dir;
    std::string path = dir.path();
    auto guard = std::make_shared<tavro::LoginGuard>();
    automation::rpc::ServerOptions options;
    options.loginLimit = tavro::kLoginLimit;
    automation::rpc::Server server(
        [path, guard](const automation::rpc::ConnectionInfo& info) {
            return tavro::NewLoginObject(path, info.peer, guard);
        },
        options);
    server.Listen("tcp:127.0.0.1:0");
    server.Start();

    automation::rpc::detail::Address address;
    std::string error;
    ASSERT_TRUE(automation::rpc::detail::ParseAddress(server.Address(), address, error));
    int guesser = automation::rpc::detail::ConnectSocket(address, std::chrono::seconds(10), error);
    ASSERT_GE(guesser, 0) << error;
    constexpr int kGuesses = 30;
    std::string frames = GuessingFrames(kGuesses);
    ASSERT_EQ(send(guesser, frames.data(), frames.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(frames.size()));
    // The first failures are answered at once.
    int errors = 0;
    for (int i = 0; i < 1000 && errors < 3; ++i) {
        pollfd p{guesser, POLLIN, 0};
        poll(&p, 1, 10);
        errors += ErrorsReceived(guesser);
    }
    ASSERT_GE(errors, 3);

    ObjectRef session = LoginOver(server, tavro_test::kDeveloper, tavro_test::kDeveloperPassword);
    EXPECT_EQ(GetByName(session, "UserName").ToString(), tavro_test::kDeveloper);
    EXPECT_LT(errors + ErrorsReceived(guesser), 10);
    close(guesser);
    server.Stop();
    server.Join();
}

// A session belongs to the account it logged in with, not to a user name.
TEST(Session, EndsWithTheAccountItLoggedInWith) {
    DataDir dir;
    ObjectRef before = tavro_test::Connect(dir, tavro_test::kViewer, tavro_test::kViewerPassword);
    auto store = tavro::OpenStore(dir.path());
    auto read = [](const ObjectRef& session) {
        return ErrorOf([&] { tavro_test::ClassDefinition(session, "%Library.Boolean"); });
    };
    EXPECT_EQ(read(before), "<no error>");
    const std::string ended =
        "access denied: the account of user viewer no longer exists; log in again";
    tavro::RemoveUser(*store, tavro_test::kViewer);
    EXPECT_EQ(read(before), ended);
    tavro::AddUser(*store, tavro_test::kViewer, tavro_test::kViewerPassword,
                   /*development=*/false, tavro::HashCost::Minimal);
    EXPECT_EQ(read(before), ended);
    ObjectRef after = tavro_test::Connect(dir, tavro_test::kViewer, tavro_test::kViewerPassword);
    EXPECT_EQ(read(after), "<no error>");
}

TEST(XmlStream, RefusesTextBeyondItsLimit) {
    DataDir dir;
    ObjectRef utility = NewObject(tavro_test::Connect(dir), "%Dictionary.CorvansilUtility");
    ObjectRef stream = GetByName(utility, "XmlStream").ToObject();
    std::string megabyte(1u << 20, 'x');
    for (int i = 0; i < 16; ++i) CallByName(stream, "Write", {megabyte});
    const std::string full = "the stream would exceed its limit of 16777216 bytes";
    EXPECT_EQ(ErrorOf([&] { CallByName(stream, "Write", {"x"}); }), full);
    EXPECT_EQ(ErrorOf([&] { CallByName(stream, "WriteLine", {""}); }), full);
    EXPECT_EQ(GetByName(stream, "Size").ToInt32(), 16 << 20);
}

}  // namespace
