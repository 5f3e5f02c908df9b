#include "cli_world.h"

#include <cstdlib>
#include <filesystem>

#include "automation/automation.h"
#include "hosts/rose/host/host.h"
#include "hosts/rose/petal/petal.h"
#include "hosts/tavro/objects/objects.h"
#include "install/vocabulary.h"
#include "model/rose.h"
#include "platform/objects.h"
#include "platform/platform.h"
#include "platform/tavro_factory.h"
#include "server/server.h"
#include "tests/support/defaults.h"
#include "tests/support/support.h"

namespace cli_test {

namespace {

constexpr const char* kUser = testsupport::kTestUser;
constexpr const char* kPassword = testsupport::kTestPassword;

void ForgetConnections() {
    server::ServerFactory = nullptr;
    server::ServerNamespace.clear();
    server::ServerClassTypes.Clear();
    rose::RoseApp = nullptr;
}

}  // namespace

CliWorld::CliWorld() {
    tavro::InitStore(dataDir, kUser, kPassword, tavro::HashCost::Minimal);
    {
        auto store = tavro::OpenStore(dataDir);
        tavro::AddUser(*store, "viewer", kPassword, /*development=*/false,
                       tavro::HashCost::Minimal);
    }
    ForgetConnections();

    platform::ResetUi();
    platform::ResetObjects();
    platform::ResetTavro();
    std::string dir = dataDir;
    platform::Tavro().connectRoot = [dir](const std::string&) {
        return tavro::NewLoginObject(dir);
    };
    platform::InstallTavroFactory();
    platform::Objects().getActiveObject = [this](const std::string& progId) {
        if (progId != "Rose.Application" || !roseRunning_ || !host) {
            throw automation::AutomationError("ActiveX component can't create object");
        }
        return rosehost::ApplicationObject(host);
    };
    ::setenv("TAVRO_CONNECTION", "127.0.0.1:48100:USER", 1);
    ::setenv("TAVRO_USER", kUser, 1);
    ::setenv("TAVRO_PASSWORD", kPassword, 1);
    ::setenv("CORVANSIL_ROSE_SOCKET", "/nonexistent/rose.sock", 1);
    ::setenv("CORVANSIL_REGISTRY", "/nonexistent/registry.reg", 1);
    ServeEmptyModel();
}

CliWorld::~CliWorld() {
    ForgetConnections();
    platform::ResetUi();
    platform::ResetObjects();
    platform::ResetTavro();
}

bool CliWorld::ServeShop(bool withDefaults) {
    return ServeFile(std::string(CORVANSIL_SOURCE_DIR) + "/examples/shop.mdl", withDefaults);
}

bool CliWorld::ServeFile(const std::string& path, bool withDefaults) {
    petal::Document document;
    if (!document.Load(path).ok) return false;
    model = rosehost::LoadModel(document);
    if (withDefaults) testsupport::DeclareInstalledDefaults(*model);
    rosehost::SetModel(*host, model);
    return true;
}

void CliWorld::ServeEmptyModel() {
    model = rosehost::NewModel("");
    testsupport::DeclareInstalledDefaults(*model);
    // A second modelling tool, as a second rose-host would be.
    host = rosehost::NewHost(model);
}

int CliWorld::Run(const std::vector<std::string>& args) {
    cli::ParseResult parsed = cli::ParseArguments(args);
    if (!parsed.ok) {
        err = parsed.message;
        return cli::kExitUnreachable;
    }
    // Each run is a new process: no connection is left from the one before.
    ForgetConnections();
    std::ostringstream outStream;
    std::ostringstream errStream;
    int status = cli::RunCommand(parsed.options, outStream, errStream, /*live=*/false);
    out = outStream.str();
    err = errStream.str();
    return status;
}

std::shared_ptr<rosehost::Class> CliWorld::FindClass(const std::string& name) const {
    for (const auto& cls : rosehost::AllClasses(*model)) {
        if (cls->name == name) return cls;
    }
    return nullptr;
}

bool CliWorld::Load(const std::string& className, tavro::ClassDef& def) const {
    auto store = tavro::OpenStore(dataDir);
    def = tavro::ClassDef{};
    return tavro::LoadClass(*store, "USER", className, def);
}

std::vector<std::string> LinesStartingWith(const std::string& text, const std::string& prefix) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(prefix, 0) == 0) lines.push_back(line);
    }
    return lines;
}

}  // namespace cli_test
