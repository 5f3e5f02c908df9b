// An export run in one process: rose-host's model in the place of the modelling tool, a
// tavro-host store in a temporary directory behind a factory object, and a transfer window
// without a display. Built inside each test; everything is put back when it goes.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/automation.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "platform/platform.h"
#include "tests/support/support.h"
#include "window/plain_window.h"

namespace export_test {

// A transfer window that keeps every state a log row went through.
class RecordingWindow : public window::PlainWindow {
  public:
    struct Change {
        std::int16_t logId;
        std::size_t rowCount;  // rows in the log at the time
        window::LogRow row;
    };
    void RowChanged(std::int16_t logId) override {
        changes.push_back({logId, Rows().size(), Rows()[static_cast<std::size_t>(logId - 1)]});
    }
    std::vector<Change> changes;
};

class ExportWorld {
  public:
    // `user` "dev" may change classes, "viewer" may not.
    explicit ExportWorld(const char* user = "dev");
    ~ExportWorld();
    ExportWorld(const ExportWorld&) = delete;
    ExportWorld& operator=(const ExportWorld&) = delete;

    // --- the model ---
    // Puts `other` in the place of the model, with the add-in's declared defaults.
    void UseModel(std::shared_ptr<rosehost::Model> other);
    // A class in the category `categoryPath` ("Shop", "Shop::Order"; "" for the top).
    std::shared_ptr<rosehost::Class> AddClass(const std::string& categoryPath,
                                              const std::string& name);
    std::shared_ptr<rosehost::Attribute> AddAttribute(rosehost::Class& cls, const std::string& name,
                                                      const std::string& type);
    std::shared_ptr<rosehost::Operation> AddOperation(rosehost::Class& cls, const std::string& name,
                                                      const std::string& returnType);
    // An association between `from` and `to`; roles[0] is at `from`, roles[1] at `to`.
    std::shared_ptr<rosehost::Association> Associate(rosehost::Class& from,
                                                     const rosehost::Class& to,
                                                     const std::string& fromRole,
                                                     const std::string& toRole);
    // The automation objects of a class and its members, as the add-in reaches them.
    automation::ObjectRef ClassObject(const rosehost::Class& cls);
    automation::ObjectRef AttributeObject(const rosehost::Class& cls, std::int16_t index);
    automation::ObjectRef OperationObject(const rosehost::Class& cls, std::int16_t index);

    // --- the window ---
    void Select(const rosehost::Class& cls);
    void SetOverride(bool checked);

    // --- the server ---
    // A new, unsaved class definition from the factory.
    automation::ObjectRef NewDefinition(const std::string& className);
    // The stored definition; false when there is none.
    bool Load(const std::string& className, tavro::ClassDef& def);
    // Stores a definition as it stands (replacing one of the same name).
    void Store(const tavro::ClassDef& def);

    std::shared_ptr<rosehost::Model> model;
    std::shared_ptr<rosehost::Host> host;
    RecordingWindow window;
    std::vector<platform::MessageBoxRequest> boxes;
    automation::ObjectRef factory;

  private:
    testsupport::TempDir dataDir_{"export-test"};
    tavro::SessionRef session_;
};

// Reading stored definitions back.
std::string ClassValue(const tavro::ClassDef& def, std::string_view keyword);
// The member of that name, or nullptr.
const tavro::Item* FindProperty(const tavro::ClassDef& def, std::string_view name);
const tavro::Item* FindMethod(const tavro::ClassDef& def, std::string_view name);
std::string PropertyValue(const tavro::Item& item, std::string_view keyword);
std::string MethodValue(const tavro::Item& item, std::string_view keyword);

}  // namespace export_test
