#include "tests/import/import_harness.h"

#include <cstdlib>
#include <ostream>

#include "automation/local_object.h"
#include "import/import.h"
#include "model/rose.h"
#include "platform/objects.h"
#include "server/server.h"
#include "tests/support/support.h"

namespace import_test {

using automation::Args;
using automation::CallKind;
using automation::Variant;

namespace {

constexpr const char* kUser = testsupport::kTestUser;
constexpr const char* kPassword = testsupport::kTestPassword;
constexpr const char* kNamespace = "USER";

class Proxy : public automation::Object {
  public:
    Proxy(ObjectRef inner, std::shared_ptr<FaultPlan> plan)
        : inner_(std::move(inner)), plan_(std::move(plan)) {}

    Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) override {
        Count(std::to_string(static_cast<int>(kind)) + ":" + std::to_string(dispid));
        return Wrap(inner_->Invoke(dispid, kind, Unwrap(args)));
    }
    Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) override {
        Count(std::to_string(static_cast<int>(kind)) + ":" + std::string(name));
        return Wrap(inner_->InvokeByName(name, kind, Unwrap(args)));
    }
    bool Implements(std::string_view iid) const override { return inner_->Implements(iid); }

    const ObjectRef& inner() const { return inner_; }

  private:
    void Count(const std::string& member) {
        plan_->members.insert(member);
        if (member == plan_->failMember) throw automation::AutomationError("fault injected");
        if (++plan_->calls == plan_->failAt) throw automation::AutomationError("fault injected");
    }
    Variant Wrap(const Variant& result) const {
        if (!result.IsObject() || !result.AsObject()) return result;
        return ObjectRef(std::make_shared<Proxy>(result.AsObject(), plan_));
    }
    static Args Unwrap(const Args& args) {
        Args plain = args;
        for (Variant& arg : plain) {
            if (!arg.IsObject()) continue;
            if (auto proxy = std::dynamic_pointer_cast<Proxy>(arg.AsObject())) arg = proxy->inner();
        }
        return plain;
    }

    ObjectRef inner_;
    std::shared_ptr<FaultPlan> plan_;
};

// The factory the add-in would get from the client library, talking to an in-process session.
ObjectRef NewFactory(ObjectRef session, Harness& harness) {
    auto factory = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    for (const char* name : {"NewObject", "OpenObjectById", "LoadObjectById", "ClassHandle"}) {
        factory->Define(0, name, [session, name](CallKind kind, const Args& args) {
            return session->InvokeByName(name, kind, args);
        });
    }
    factory->Define(0, "OpenQuery", [session, &harness](CallKind kind, const Args& args) {
        if (harness.openQuery) {
            return Variant(harness.openQuery(args.at(0).ToString(), args.at(1).ToString()));
        }
        return session->InvokeByName("OpenQuery", kind, args);
    });
    factory->Define(0, "ConnectionIsOpen", [](CallKind, const Args&) { return Variant(true); });
    return factory;
}

void InstallApplication(ObjectRef app) {
    rose::RoseApp = app;
    platform::Objects().getActiveObject = [app](const std::string& progId) {
        if (progId != "Rose.Application") {
            throw automation::AutomationError("ActiveX component can't create object");
        }
        return app;
    };
}

}  // namespace

tavro::Item Property(const std::string& name, const std::string& type, tavro::Values values,
                     std::map<std::string, std::string> parameters) {
    values["Type"] = type;
    return tavro::Item{tavro::ItemKind::Property, name, std::move(values), std::move(parameters)};
}

tavro::Item Method(const std::string& name, tavro::Values values) {
    return tavro::Item{tavro::ItemKind::Method, name, std::move(values), {}};
}

tavro::ClassDef Class(const std::string& name, tavro::Values values,
                      std::vector<tavro::Item> properties, std::vector<tavro::Item> methods) {
    tavro::ClassDef def;
    def.name = name;
    def.values = std::move(values);
    def.properties = std::move(properties);
    def.methods = std::move(methods);
    return def;
}

std::ostream& operator<<(std::ostream& out, const RowChange& change) {
    return out << "{" << change.logId << ", " << change.icon << ", \"" << change.className
               << "\", \"" << change.status << "\"}";
}

void RecordingWindow::RowChanged(std::int16_t logId) {
    const window::LogRow& row = Rows().at(static_cast<std::size_t>(logId - 1));
    changes.push_back(RowChange{logId, row.icon, row.className, row.status});
    if (onChange) onChange(changes.back());
}

ObjectRef FaultProxy(ObjectRef inner, std::shared_ptr<FaultPlan> plan) {
    return std::make_shared<Proxy>(std::move(inner), std::move(plan));
}

Harness::Harness() {
    tavro::InitStore(dataDir(), kUser, kPassword, tavro::HashCost::Minimal);
    store_ = tavro::OpenStore(dataDir());
    session_ = tavro::NewSessionObject(tavro::OpenSession(dataDir(), kNamespace, kUser, kPassword));

    model_ = rosehost::NewModel("Test");
    main_ = rosehost::CreateClassDiagram(*model_, *model_->top, "Main");
    model_->currentDiagram = main_;
    host_ = rosehost::NewHost(model_);

    platform::ResetObjects();
    platform::ResetUi();
    platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
        boxes.push_back(request);
        return platform::Answer::Ok;
    };
    platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
    InstallApplication(rosehost::ApplicationObject(host_));
    platform::Objects().createObject = [](const std::string&) -> ObjectRef {
        throw automation::AutomationError("ActiveX component can't create object");
    };

    server::ServerFactory = NewFactory(session_, *this);
    server::ServerNamespace = kNamespace;
    server::ServerClassTypes.Clear();
    importing::NewRoseClasses.Clear();
    window::frmImportExport = &form;
    window::LinkMode = window::RunMode::Import;
}

Harness::~Harness() {
    window::frmImportExport = nullptr;
    window::LinkMode = window::RunMode::None;
    importing::NewRoseClasses.Clear();
    server::ServerClassTypes.Clear();
    server::ServerFactory = nullptr;
    server::ServerNamespace.clear();
    rose::RoseApp = nullptr;
    platform::ResetObjects();
    platform::ResetUi();
    roseServer_.reset();
    factoryServer_.reset();
    store_.reset();
}

void Harness::Save(const std::vector<tavro::ClassDef>& defs) {
    tavro::SaveClasses(*store_, kNamespace, defs, tavro::Actor{"", /*isOperator=*/true});
}

void Harness::DeleteOnServer(const std::string& name) {
    tavro::DeleteClass(*store_, kNamespace, name, tavro::Actor{"", /*isOperator=*/true});
}

ObjectRef Harness::Open(const std::string& name) { return server::OpenClassDefinition(name); }

void Harness::LoadClassTypes() {
    server::ServerClassTypes.Clear();
    server::LoadServerClassTypes(server::ServerClassTypes);
}

std::shared_ptr<FaultPlan> Harness::InjectRoseFault(int failAt) {
    auto plan = std::make_shared<FaultPlan>();
    plan->failAt = failAt;
    InstallApplication(FaultProxy(rosehost::ApplicationObject(host_), plan));
    return plan;
}

std::shared_ptr<FaultPlan> Harness::ServeOverSockets(int failAt, bool sendAhead, bool serverFails,
                                                     const std::string& failMember,
                                                     bool readAhead) {
    auto plan = std::make_shared<FaultPlan>();
    plan->failAt = failAt;
    plan->failMember = failMember;
    socketDir_ = std::make_unique<testsupport::TempDir>("import-test");
    ObjectRef app = rosehost::ApplicationObject(host_);
    ObjectRef factory = server::ServerFactory;
    if (serverFails) {
        factory = FaultProxy(factory, plan);
    } else {
        app = FaultProxy(app, plan);
    }
    roseServer_ = std::make_unique<automation::rpc::Server>([app](const auto&) { return app; });
    roseServer_->Listen("unix:" + *socketDir_ / "rose.sock");
    roseServer_->Start();
    factoryServer_ =
        std::make_unique<automation::rpc::Server>([factory](const auto&) { return factory; });
    factoryServer_->Listen("unix:" + *socketDir_ / "server.sock");
    factoryServer_->Start();
    automation::rpc::ClientOptions options;
    options.sendAhead = sendAhead;
    options.readAhead = readAhead;
    InstallApplication(automation::rpc::Connect(roseServer_->Address(), options));
    server::ServerFactory = automation::rpc::Connect(factoryServer_->Address(), options);
    return plan;
}

std::shared_ptr<rosehost::Class> Harness::ModelClass(const std::string& path) const {
    auto found = rosehost::ClassesByPath(*model_, path);
    return found.empty() ? nullptr : found.front();
}

ObjectRef Harness::RoseClass(const std::string& path) const {
    ObjectRef found = rose::ClassesByPath(rose::ActiveModel(rose::RoseApp), path);
    return rose::Count(found) == 0 ? nullptr : rose::ClassAt(found, 1);
}

std::shared_ptr<rosehost::Class> Harness::MakeModelClass(const std::string& path) {
    std::vector<std::string> parts;
    std::string rest = path;
    for (std::size_t at; (at = rest.find("::")) != std::string::npos;) {
        parts.push_back(rest.substr(0, at));
        rest.erase(0, at + 2);
    }
    std::shared_ptr<rosehost::Category> category = model_->top;
    std::string categoryPath = parts.empty() ? "" : parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) {
        categoryPath += "::" + parts[i];
        auto found = rosehost::CategoriesByPath(*model_, categoryPath);
        category =
            found.empty() ? rosehost::CreateCategory(*model_, category, parts[i]) : found.front();
    }
    return rosehost::CreateClass(*model_, category, rest);
}

std::vector<std::pair<std::string, std::string>> Harness::OwnProperties(
    const rosehost::Element& element, const std::string& tool) {
    std::vector<std::pair<std::string, std::string>> own;
    for (const auto& property : element.properties) {
        if (property.tool == tool) own.emplace_back(property.name, property.value);
    }
    return own;
}

void Harness::Select(const std::vector<std::string>& names) {
    for (const std::string& name : names) form.lstSelectedClasses().AddItem(name);
}

}  // namespace import_test
