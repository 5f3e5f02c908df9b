// One open model and the control object through which the command line drives it.
#include "automation/local_object.h"
#include "hosts/rose/host/host.h"
#include "hosts/rose/host/host_internal.h"

namespace rosehost {
namespace {

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::Variant;

// The control object's own interface, so that a caller can tell it from other roots.
constexpr const char* kControlIid = "{7C4D2A10-5E3B-4F61-9A2C-0B8E6D1F3A57}";

void Start(Session& session, std::shared_ptr<Model> model) {
    session.warnings = session.document.warnings();
    LoadAddInProperties(*model, session.warnings);
    session.host = NewHost(std::move(model));
}

std::string Where(const petal::ParseResult& result) {
    if (result.line == 0) return "";
    return "line " + std::to_string(result.line) + ", column " + std::to_string(result.column) +
           ": ";
}

void Check(const std::string& error) {
    if (!error.empty()) throw AutomationError(error);
}

}  // namespace

void NewDocument(petal::Document& document) {
    document = petal::Document();
    petal::File& file = document.model();
    file.lineEnd = petal::LineEnd::CrLf;
    file.header = petal::NewObject("Petal");
    file.header.fields.push_back({"version", petal::MakeInteger(42)});
    file.header.fields.push_back({"_written", petal::MakeString("Rose 4.5.8163.3")});
    file.header.fields.push_back({"charSet", petal::MakeInteger(0)});

    petal::Object diagram = petal::NewObject(kClassDiagramKind, "Main", document.NewQuid());
    diagram.fields.push_back({"title", petal::MakeString("Main")});
    diagram.fields.push_back({"zoom", petal::MakeInteger(100)});
    diagram.fields.push_back({"max_height", petal::MakeInteger(28350)});
    diagram.fields.push_back({"max_width", petal::MakeInteger(21600)});
    diagram.fields.push_back({"origin_x", petal::MakeInteger(0)});
    diagram.fields.push_back({"origin_y", petal::MakeInteger(0)});
    diagram.fields.push_back({"items", petal::MakeList("diagram_item_list")});

    petal::Object top = petal::NewObject("Class_Category", kLogicalView, document.NewQuid());
    top.fields.push_back({"exportControl", petal::MakeString("Public")});
    top.fields.push_back({"global", petal::MakeBoolean(true)});
    top.fields.push_back({"logical_models", petal::MakeList("unit_reference_list")});
    petal::Value& presentations =
        petal::EnsureList(top, "logical_presentations", "unit_reference_list");
    petal::AppendObject(presentations, std::move(diagram));

    file.root = petal::NewObject("Design", kLogicalView);
    file.root.fields.push_back({"is_unit", petal::MakeBoolean(true)});
    file.root.fields.push_back({"is_loaded", petal::MakeBoolean(true)});
    file.root.fields.push_back({"quid", petal::MakeString(document.NewQuid())});
    file.root.fields.push_back({"root_category", petal::MakeObject(std::move(top))});
}

std::string OpenSession(Session& session, const std::string& path) {
    petal::ParseResult result = session.document.Load(path);
    if (!result) {
        if (result.line == 0) return result.message;
        return path + " is not a Rose model: " + Where(result) + result.message;
    }
    const petal::Object& root = session.document.model().root;
    if (root.kind != "Design") {
        return path + " is not a Rose model: it holds a " + root.kind +
               " object where a model holds its Design";
    }
    Start(session, LoadModel(session.document));
    return "";
}

void NewSession(Session& session) {
    NewDocument(session.document);
    Start(session, LoadModel(session.document));
}

std::string SaveSession(Session& session, const std::string& path) {
    Model& model = *ModelOutsideTrial(*session.host);
    if (path.empty() && session.document.path().empty()) {
        return "the model has never been saved: give a file name";
    }
    binding::ResolveLinks(model);
    SyncModel(model, session.document);
    // What the file will say must be the model; the document's own writer checks the bytes.
    std::string difference = binding::ModelDifference(model, *LoadModel(session.document));
    if (!difference.empty()) {
        return "nothing saved: the model does not read back from the text written for it (" +
               difference + ")";
    }
    binding::ResolveLinks(session.document.model().root);
    std::string error = path.empty() ? session.document.Save() : session.document.SaveAs(path);
    if (error.empty()) model.name = ModelNameOf(session.document.path());
    return error;
}

std::string SelectDiagram(Session& session, const std::string& name) {
    Model& model = *ModelOf(*session.host);
    std::string wanted = AbsolutePath(model, name);
    std::shared_ptr<Diagram> byName;
    for (const auto& category : AllCategories(model)) {
        for (const auto& diagram : ClassDiagramsOf(*category)) {
            if (QualifiedName(*category) + "::" + diagram->name == wanted) {
                model.currentDiagram = diagram;
                return "";
            }
            if (!byName && diagram->name == name) byName = diagram;
        }
    }
    if (!byName) return "no class diagram \"" + name + "\" in the model";
    model.currentDiagram = byName;
    return "";
}

std::string SelectClasses(Session& session, const std::vector<std::string>& names) {
    Model& model = *ModelOf(*session.host);
    auto diagram = model.currentDiagram.lock();
    if (!diagram) return "no diagram is current";
    std::vector<std::shared_ptr<Class>> shown = ShownClasses(*diagram);
    std::vector<std::weak_ptr<Class>> selected;
    for (const std::string& name : names) {
        std::string wanted = AbsolutePath(model, name);
        std::shared_ptr<Class> found;
        int bare = 0;
        for (const auto& cls : shown) {
            if (QualifiedName(*cls) == wanted) {
                found = cls;
                bare = 1;
                break;
            }
            if (cls->name == name && bare++ == 0) found = cls;
        }
        if (!found) return "class \"" + name + "\" is not on diagram \"" + diagram->name + "\"";
        if (bare > 1) {
            return "class name \"" + name + "\" is ambiguous on diagram \"" + diagram->name +
                   "\"; give its qualified name";
        }
        selected.push_back(found);
    }
    diagram->selected = std::move(selected);
    return "";
}

std::string SessionStatus(const Session& session) {
    const Model& model = *ModelOutsideTrial(*session.host);
    std::size_t diagrams = 0;
    for (const auto& category : AllCategories(model)) {
        diagrams += ClassDiagramsOf(*category).size();
    }
    auto current = model.currentDiagram.lock();
    std::string path = session.document.path();
    return "model \"" + model.name + "\" (" + (path.empty() ? "never saved" : path) +
           "): " + std::to_string(AllCategories(model).size()) + " categories, " +
           std::to_string(AllClasses(model).size()) + " classes, " + std::to_string(diagrams) +
           " class diagrams; current diagram " +
           (current ? "\"" + current->name + "\", " + std::to_string(current->selected.size()) +
                          " selected"
                    : std::string("none"));
}

automation::ObjectRef ControlObject(Session& session, std::function<void()> stop) {
    auto control = std::make_shared<automation::LocalObject>(std::vector<std::string>{kControlIid});
    Session* s = &session;
    control->Define(0, "Application",
                    [s](CallKind, const Args&) -> Variant { return ApplicationObject(s->host); });
    control->Define(0, "Save", [s](CallKind, const Args& args) -> Variant {
        std::string path = args.empty() ? "" : args[0].ToString();
        Check(SaveSession(*s, path));
        return s->document.path();
    });
    control->Define(0, "Stop", [s, stop](CallKind, const Args& args) -> Variant {
        if (!args.empty() && args[0].ToBool()) Check(SaveSession(*s, ""));
        stop();
        return true;
    });
    control->Define(0, "Status",
                    [s](CallKind, const Args&) -> Variant { return SessionStatus(*s); });
    control->Define(0, "Select", [s](CallKind, const Args& args) -> Variant {
        std::vector<std::string> names;
        for (const Variant& arg : args) names.push_back(arg.ToString());
        Check(SelectClasses(*s, names));
        return static_cast<std::int32_t>(names.size());
    });
    control->Define(0, "Diagram", [s](CallKind, const Args& args) -> Variant {
        if (args.empty()) throw AutomationError(std::string(automation::kErrBadArgCount));
        Check(SelectDiagram(*s, args[0].ToString()));
        return {};
    });
    control->Define(0, "Show", [s](CallKind, const Args&) -> Variant {
        return ShowModel(*ModelOutsideTrial(*s->host));
    });
    control->Define(0, "Warnings", [s](CallKind, const Args&) -> Variant {
        std::string text;
        for (const std::string& warning : s->warnings) text += warning + "\n";
        return text;
    });
    return control;
}

}  // namespace rosehost
