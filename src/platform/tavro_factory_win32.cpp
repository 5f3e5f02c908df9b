// Windows: "TavroActiveX.Factory" is the server's own client-side factory, a COM class that
// its client installs; each CreateObject makes a new one.
#include <cctype>
#include <memory>
#include <string_view>

#include "automation/com.h"
#include "platform/objects.h"
#include "platform/tavro_factory.h"
#include "strings/strings.h"

namespace platform {
namespace {

// How the errors of a lost connection name the other end ("... closed the connection").
constexpr const char* kTavroComPeerName = "the Tavro server (TavroActiveX.Factory)";

// The factory of the server's client, with the reason of a failed OpenConnection learnt from it
// when it can tell one: our stand-in answers "LastConnectionFailure"; a factory that has no such
// member leaves the reason empty, as the connect routine expects of a silent failure.
class ComFactory : public automation::Object {
  public:
    explicit ComFactory(automation::ObjectRef inner) : inner_(std::move(inner)) {}

    automation::Variant Invoke(std::int32_t dispid, automation::CallKind kind,
                               const automation::Args& args) override {
        return inner_->Invoke(dispid, kind, args);
    }

    automation::Variant InvokeByName(std::string_view name, automation::CallKind kind,
                                     const automation::Args& args) override {
        automation::Variant result = inner_->InvokeByName(name, kind, args);
        if (strings::EqualNoCase(name, "OpenConnection")) {
            SetLastConnectionFailure(result.ToBool() ? std::string() : FailureText());
        }
        return result;
    }

    bool Implements(std::string_view iid) const override { return inner_->Implements(iid); }

  private:
    std::string FailureText() {
        try {
            return automation::GetByName(inner_, "LastConnectionFailure").ToString();
        } catch (const automation::AutomationError&) {
            return "";
        }
    }

    automation::ObjectRef inner_;
};

}  // namespace

void InstallTavroFactory() {
    ObjectOps& ops = Objects();
    auto earlier = ops.createObject;
    ops.createObject = [earlier](const std::string& progId) -> automation::ObjectRef {
        if (strings::EqualNoCase(progId, kTavroFactoryProgId)) {
            return std::make_shared<ComFactory>(
                automation::com::NewObject(kTavroFactoryProgId, kTavroComPeerName));
        }
        return earlier(progId);
    };
}

}  // namespace platform
