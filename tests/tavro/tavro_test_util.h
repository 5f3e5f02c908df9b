// Helpers that build data directories for the tavro-host tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "tests/support/support.h"

namespace tavro_test {

inline constexpr const char* kDeveloper = testsupport::kTestUser;
inline constexpr const char* kDeveloperPassword = testsupport::kTestPassword;
inline constexpr const char* kViewer = "viewer";
inline constexpr const char* kViewerPassword = "viewer-secret";

// A fresh data directory with the user "dev" (Development) and "viewer" (without),
// removed when the test ends.
class DataDir {
  public:
    DataDir() {
        tavro::InitStore(path(), kDeveloper, kDeveloperPassword, tavro::HashCost::Minimal);
        auto store = tavro::OpenStore(path());
        tavro::AddUser(*store, kViewer, kViewerPassword, /*development=*/false,
                       tavro::HashCost::Minimal);
    }
    DataDir(const DataDir&) = delete;
    DataDir& operator=(const DataDir&) = delete;
    const std::string& path() const { return temp_.path(); }

  private:
    testsupport::TempDir temp_{"tavro-test"};
};

// The session object of a user of the namespace USER.
inline automation::ObjectRef Connect(const DataDir& dir, const char* user = kDeveloper,
                                     const char* password = kDeveloperPassword) {
    return tavro::NewSessionObject(tavro::OpenSession(dir.path(), "USER", user, password));
}

// The description of the automation error `action` raises, or "<no error>".
inline std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const automation::AutomationError& error) {
        return error.Description();
    }
    return "<no error>";
}

// A new object of class `className` through the session's factory, `id` naming it if given.
inline automation::ObjectRef NewObject(const automation::ObjectRef& factory, const char* className,
                                       const char* id = nullptr) {
    automation::Args args{className};
    if (id) args.push_back(id);
    return automation::CallByName(factory, "NewObject", args).ToObject();
}

// The class definition `name` through `operation` ("LoadObjectById" or "OpenObjectById").
inline automation::ObjectRef ClassDefinition(const automation::ObjectRef& factory, const char* name,
                                             const char* operation = "LoadObjectById") {
    return automation::CallByName(factory, operation, {"%Dictionary.ClassDefinition", name})
        .ToObject();
}

}  // namespace tavro_test
