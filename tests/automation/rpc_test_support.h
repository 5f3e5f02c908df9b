// A small host object model and helpers for the transport tests.
#pragma once

#include <stdlib.h>

#include <memory>
#include <string>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc.h"
#include "tests/support/support.h"

namespace rpctest {

inline constexpr const char* kAppIid = "{D7BC1B40-8618-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kClassIid = "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kCollectionIid = "{97B38349-A4E3-11D0-BFF0-00AA003DEF5B}";

// An application (ActiveModel 209, Echo, Fail) whose model (Name 100, AllClasses 432,
// ClassByUniqueKey 12475) holds a class collection (Count 202, ItemAt 203, ContainsItem 204)
// of the classes "Person" and "Order" (Name 100, IsAbstract 412, GetQualifiedName by name).
automation::ObjectRef MakeApplication();

// The server's frames in `bytes` as "Error 0: text" / "Reply 1" lines.
std::string Describe(std::string bytes);

// The text of the AutomationError `fn` raises, or "" when it raises none.
template <class Fn>
std::string ErrorOf(Fn&& fn) {
    try {
        fn();
    } catch (const automation::AutomationError& e) {
        return e.Description();
    }
    return "";
}

// A raw connection for feeding a server bytes of our choosing.
int RawConnect(const std::string& address);
// Everything the server sends until it closes the connection (or 10 s pass).
std::string ReadUntilClosed(int fd);

}  // namespace rpctest
