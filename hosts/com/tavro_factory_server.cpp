// tavro-factory.exe: the server's client-side factory "TavroActiveX.Factory" as a COM local
// server, for the Windows build's runs under Wine. Each object it makes is the factory object
// of the socket build: its connection dialog answers from TAVRO_CONNECTION, TAVRO_USER and
// TAVRO_PASSWORD, and its connections reach tavro-host over TCP.
//
//   tavro-factory.exe --register   registers the class with this program as its server
//   tavro-factory.exe              serves one object (COM starts it so), until it is gone
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "automation/com.h"
#include "hosts/com/com_host.h"
#include "platform/tavro_factory.h"

namespace {

constexpr const char* kFactoryClass = "{8E3A7C20-5D1B-4F6A-9C2E-7B4D1A0F3E51}";

// Ticks of the serving loop: how long to wait for the first object, and how long to stay
// once the last one is gone (a caller that creates the next one at once finds us still here).
constexpr auto kTick = std::chrono::milliseconds(100);
constexpr int kFirstObjectTicks = 600;
constexpr int kIdleTicks = 20;

// The factory object of the socket build, which also tells why its last OpenConnection
// failed ("LastConnectionFailure"), for the add-in's messages.
class Factory : public automation::Object {
  public:
    automation::Variant Invoke(std::int32_t dispid, automation::CallKind kind,
                               const automation::Args& args) override {
        return inner_->Invoke(dispid, kind, args);
    }
    automation::Variant InvokeByName(std::string_view name, automation::CallKind kind,
                                     const automation::Args& args) override {
        if (name == "LastConnectionFailure") return platform::LastConnectionFailure();
        return inner_->InvokeByName(name, kind, args);
    }
    bool Implements(std::string_view iid) const override { return inner_->Implements(iid); }

  private:
    automation::ObjectRef inner_ = platform::NewTavroFactory();
};

int Register() {
    comhost::RegisterClassName(platform::kTavroFactoryProgId, kFactoryClass, comhost::ModulePath());
    return 0;
}

int ServeFactory() {
    std::uint32_t registration =
        automation::com::RegisterFactory(kFactoryClass, [] { return std::make_shared<Factory>(); });
    bool served = false;
    int ticks = 0;
    comhost::Serve(
        [&] {
            if (automation::com::AdapterCount() > 0) {
                served = true;
                ticks = 0;
                return false;
            }
            ++ticks;
            return served ? ticks >= kIdleTicks : ticks >= kFirstObjectTicks;
        },
        kTick);
    automation::com::RevokeFactory(registration);
    automation::com::ServedCounts counts = automation::com::ServedCallCounts();
    std::fprintf(stderr, "tavro-factory: served %llu calls and %llu casts\n",
                 static_cast<unsigned long long>(counts.calls),
                 static_cast<unsigned long long>(counts.casts));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    automation::com::InitializeApartment();
    try {
        if (argc == 2 && std::string(argv[1]) == "--register") return Register();
        return ServeFactory();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tavro-factory: %s\n", error.what());
        return 1;
    }
}
