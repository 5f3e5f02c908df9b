// What the import tests run against: rose-host's model and tavro-host's objects linked
// in-process, a display-less transfer window that records every change of its log, scripted
// message boxes, and a proxy that makes the modelling tool fail on its Nth call.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "automation/automation.h"
#include "automation/rpc.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "platform/platform.h"
#include "tests/support/support.h"
#include "window/plain_window.h"

namespace import_test {

using automation::ObjectRef;

// --- Server class definitions, built as the server stores them ---

tavro::Item Property(const std::string& name, const std::string& type, tavro::Values values = {},
                     std::map<std::string, std::string> parameters = {});
tavro::Item Method(const std::string& name, tavro::Values values = {});
tavro::ClassDef Class(const std::string& name, tavro::Values values = {},
                      std::vector<tavro::Item> properties = {},
                      std::vector<tavro::Item> methods = {});

// One change of a log row, as the window showed it.
struct RowChange {
    std::int16_t logId;
    std::int16_t icon;
    std::string className;
    std::string status;
    bool operator==(const RowChange&) const = default;
};
std::ostream& operator<<(std::ostream& out, const RowChange& change);

class RecordingWindow : public window::PlainWindow {
  public:
    void RowChanged(std::int16_t logId) override;
    std::vector<RowChange> changes;
    // Called after each recorded change (a test acts between two steps of a run here).
    std::function<void(const RowChange&)> onChange;
};

// Counts calls through every proxy of one plan; the call numbered `failAt` (1-based; 0
// never) raises "fault injected".
struct FaultPlan {
    int calls = 0;
    int failAt = 0;
    // Every call of this member fails ("KIND:DISPID" or "KIND:NAME"); and the members called.
    std::string failMember;
    std::set<std::string> members;
};
// `inner` behind a proxy that counts its calls and those of every object reached through it.
ObjectRef FaultProxy(ObjectRef inner, std::shared_ptr<FaultPlan> plan);

// The whole setting of one test: an empty model "Test" whose top category has the class
// diagram "Main" open, an empty namespace USER on a fresh data directory, the transfer window,
// and the process-wide objects of the add-in pointing at them. The destructor puts the
// process-wide objects back.
class Harness {
  public:
    Harness();
    ~Harness();
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    // Stores definitions on the server, replacing those of the same names.
    void Save(const std::vector<tavro::ClassDef>& defs);
    void DeleteOnServer(const std::string& name);
    // The definition as the import opens it.
    ObjectRef Open(const std::string& name);
    // Fills the server's class table as a run does.
    void LoadClassTypes();
    // Puts the modelling tool behind a proxy that fails on the call numbered `failAt`.
    std::shared_ptr<FaultPlan> InjectRoseFault(int failAt);
    // Serves the modelling tool and the server's factory from RPC servers on threads of this
    // process and points the add-in at them over sockets. The modelling tool (or, with
    // `serverFails`, the factory) sits behind a proxy that fails on the call numbered
    // `failAt`, and on every call of `failMember`. `sendAhead` false: every call waits for its
    // reply; `readAhead` false: no read is announced or kept.
    std::shared_ptr<FaultPlan> ServeOverSockets(int failAt, bool sendAhead,
                                                bool serverFails = false,
                                                const std::string& failMember = "",
                                                bool readAhead = true);

    // The model class at a path ("Logical View::Shop::Order"), nullptr when none.
    std::shared_ptr<rosehost::Class> ModelClass(const std::string& path) const;
    // The same class as the import's routines take it.
    ObjectRef RoseClass(const std::string& path) const;
    // A class made directly in the model, categories created along the path.
    std::shared_ptr<rosehost::Class> MakeModelClass(const std::string& path);
    // Own values of one tool on an element, in the order they were set.
    static std::vector<std::pair<std::string, std::string>> OwnProperties(
        const rosehost::Element& element, const std::string& tool);

    void Select(const std::vector<std::string>& names);

    rosehost::Model& model() { return *model_; }
    std::shared_ptr<rosehost::Model> modelRef() { return model_; }
    std::shared_ptr<rosehost::Diagram> mainDiagram() { return main_; }
    tavro::Store& store() { return *store_; }
    const std::string& dataDir() const { return dataDir_.path(); }
    RecordingWindow form;
    std::vector<platform::MessageBoxRequest> boxes;
    // Replaces the factory's OpenQuery (nullptr: the session's own).
    std::function<ObjectRef(const std::string& className, const std::string& query)> openQuery;

  private:
    testsupport::TempDir dataDir_{"import-test"};
    std::unique_ptr<tavro::Store> store_;
    std::shared_ptr<rosehost::Model> model_;
    std::shared_ptr<rosehost::Host> host_;
    std::shared_ptr<rosehost::Diagram> main_;
    ObjectRef session_;
    // Last, so that they stop before the model and the store go.
    std::unique_ptr<testsupport::TempDir> socketDir_;
    std::unique_ptr<automation::rpc::Server> roseServer_;
    std::unique_ptr<automation::rpc::Server> factoryServer_;
};

}  // namespace import_test
