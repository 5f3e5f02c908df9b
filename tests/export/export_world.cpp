#include "export_world.h"

#include <cstdlib>
#include <filesystem>

#include "automation/local_object.h"
#include "hosts/tavro/store/store.h"
#include "install/vocabulary.h"
#include "model/rose.h"
#include "server/server.h"
#include "tests/support/defaults.h"
#include "tests/support/support.h"

namespace export_test {

namespace {

constexpr const char* kNamespace = "USER";
constexpr const char* kDeveloper = testsupport::kTestUser;
constexpr const char* kViewer = "viewer";
constexpr const char* kPassword = testsupport::kTestPassword;

// The client factory as the add-in uses it once connected: object operations forwarded to the
// server session.
automation::ObjectRef NewFactory(automation::ObjectRef sessionObject) {
    auto factory = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    for (const char* name :
         {"NewObject", "OpenObjectById", "LoadObjectById", "ClassHandle", "OpenQuery"}) {
        factory->Define(
            0, name,
            [sessionObject, name](automation::CallKind kind, const automation::Args& args) {
                return sessionObject->InvokeByName(name, kind, args);
            });
    }
    factory->Define(0, "ConnectionIsOpen", [](automation::CallKind, const automation::Args&) {
        return automation::Variant(true);
    });
    return factory;
}

std::shared_ptr<rosehost::Category> FindOrAddCategory(rosehost::Model& model,
                                                      const std::string& path) {
    std::shared_ptr<rosehost::Category> category = model.top;
    std::size_t start = 0;
    while (start < path.size()) {
        std::size_t end = path.find("::", start);
        if (end == std::string::npos) end = path.size();
        std::string name = path.substr(start, end - start);
        std::shared_ptr<rosehost::Category> next;
        for (const auto& child : category->categories) {
            if (child->name == name) next = child;
        }
        if (!next) next = rosehost::CreateCategory(model, category, name);
        category = next;
        start = end + 2;
    }
    return category;
}

std::string Value(tavro::ItemKind kind, const tavro::Values& values, std::string_view keyword) {
    const tavro::Keyword* found = tavro::FindKeyword(kind, keyword);
    return found ? tavro::ValueOf(values, *found) : "?";
}

const tavro::Item* FindItem(const std::vector<tavro::Item>& items, std::string_view name) {
    for (const tavro::Item& item : items) {
        if (item.name == name) return &item;
    }
    return nullptr;
}

}  // namespace

ExportWorld::ExportWorld(const char* user) {
    tavro::InitStore(dataDir_.path(), kDeveloper, kPassword, tavro::HashCost::Minimal);
    {
        auto store = tavro::OpenStore(dataDir_.path());
        tavro::AddUser(*store, kViewer, kPassword, /*development=*/false, tavro::HashCost::Minimal);
    }
    session_ = tavro::OpenSession(dataDir_.path(), kNamespace, kDeveloper, kPassword);
    factory = NewFactory(tavro::NewSessionObject(
        std::string(user) == kDeveloper
            ? session_
            : tavro::OpenSession(dataDir_.path(), kNamespace, user, kPassword)));
    server::ServerFactory = factory;
    server::ConnectionNamespace = kNamespace;
    server::ServerClassTypes.Clear();

    model = rosehost::NewModel("Shop");
    testsupport::DeclareInstalledDefaults(*model);
    host = rosehost::NewHost(model);
    rose::RoseApp = rosehost::ApplicationObject(host);

    window::frmImportExport = &window;
    window.SetCheckValue(window::CheckBox::Override, 0);
    platform::ResetUi();
    platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
        boxes.push_back(request);
        return platform::Answer::Ok;
    };
    platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
}

ExportWorld::~ExportWorld() {
    platform::ResetUi();
    window::frmImportExport = nullptr;
    rose::RoseApp = nullptr;
    server::ServerFactory = nullptr;
    server::ConnectionNamespace.clear();
    server::ServerClassTypes.Clear();
    session_.reset();
}

void ExportWorld::UseModel(std::shared_ptr<rosehost::Model> other) {
    model = std::move(other);
    testsupport::DeclareInstalledDefaults(*model);
    rosehost::SetModel(*host, model);
}

std::shared_ptr<rosehost::Class> ExportWorld::AddClass(const std::string& categoryPath,
                                                       const std::string& name) {
    return rosehost::CreateClass(*model, FindOrAddCategory(*model, categoryPath), name);
}

std::shared_ptr<rosehost::Attribute> ExportWorld::AddAttribute(rosehost::Class& cls,
                                                               const std::string& name,
                                                               const std::string& type) {
    auto attribute = rosehost::CreateAttribute(*model, cls, name, type, "");
    attribute->exportControl = rosehost::kPublic;
    return attribute;
}

std::shared_ptr<rosehost::Operation> ExportWorld::AddOperation(rosehost::Class& cls,
                                                               const std::string& name,
                                                               const std::string& returnType) {
    return rosehost::CreateOperation(*model, cls, name, returnType);
}

std::shared_ptr<rosehost::Association> ExportWorld::Associate(rosehost::Class& from,
                                                              const rosehost::Class& to,
                                                              const std::string& fromRole,
                                                              const std::string& toRole) {
    auto association = rosehost::CreateAssociation(*model, from, "", rosehost::QualifiedName(to));
    association->roles[0]->name = fromRole;
    association->roles[1]->name = toRole;
    return association;
}

automation::ObjectRef ExportWorld::ClassObject(const rosehost::Class& cls) {
    return rose::GetRoseClassByKey(cls.quid);
}

automation::ObjectRef ExportWorld::AttributeObject(const rosehost::Class& cls, std::int16_t index) {
    return rose::AttributeAt(rose::Attributes(ClassObject(cls)), index);
}

automation::ObjectRef ExportWorld::OperationObject(const rosehost::Class& cls, std::int16_t index) {
    return rose::OperationAt(rose::Operations(ClassObject(cls)), index);
}

void ExportWorld::Select(const rosehost::Class& cls) {
    std::int16_t at = window.lstSelectedClasses().AddItem(cls.name);
    window.lstSelectedClassIDs().InsertItem(at, cls.quid);
}

void ExportWorld::SetOverride(bool checked) {
    window.SetCheckValue(window::CheckBox::Override, checked ? 1 : 0);
}

automation::ObjectRef ExportWorld::NewDefinition(const std::string& className) {
    return automation::CallByName(factory, "NewObject", {"%Dictionary.ClassDefinition", className})
        .ToObject();
}

bool ExportWorld::Load(const std::string& className, tavro::ClassDef& def) {
    def = tavro::ClassDef{};
    return tavro::LoadClass(*session_->store, kNamespace, className, def);
}

void ExportWorld::Store(const tavro::ClassDef& def) {
    tavro::SaveClass(*session_->store, kNamespace, def, tavro::Actor{kDeveloper},
                     /*replace=*/true);
}

std::string ClassValue(const tavro::ClassDef& def, std::string_view keyword) {
    return Value(tavro::ItemKind::Class, def.values, keyword);
}

const tavro::Item* FindProperty(const tavro::ClassDef& def, std::string_view name) {
    return FindItem(def.properties, name);
}

const tavro::Item* FindMethod(const tavro::ClassDef& def, std::string_view name) {
    return FindItem(def.methods, name);
}

std::string PropertyValue(const tavro::Item& item, std::string_view keyword) {
    return Value(tavro::ItemKind::Property, item.values, keyword);
}

std::string MethodValue(const tavro::Item& item, std::string_view keyword) {
    return Value(tavro::ItemKind::Method, item.values, keyword);
}

}  // namespace export_test
