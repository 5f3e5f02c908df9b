// rose-host's binding of a Petal document to the in-memory model, the tool-property defaults
// of installed add-ins, the printed form of a model, and the service that the command line
// and the add-in talk to.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation/automation.h"
#include "hosts/rose/model/model.h"
#include "hosts/rose/model/objects.h"
#include "hosts/rose/petal/petal.h"

namespace rosehost {

// --- Binding (load.cpp, sync*.cpp) ---

// The model a document holds: the categories, classes, members, associations and class
// diagrams of its logical view, each element's `origin` pointing at its Petal object, and the
// default property sets the file itself carries. The name is the file's base name without
// extension; the current diagram is InitialDiagram's; nothing is selected.
std::shared_ptr<Model> LoadModel(petal::Document& document);
// Writes back into the document what changed in the model since it was loaded (or last
// synced): changed fields in place, new elements as new objects in the modelling tool's own
// layout, deleted elements' objects removed. Fields and objects the model does not cover are
// never touched, so an unchanged model leaves the document as it was read.
void SyncModel(Model& model, petal::Document& document);
// A Petal document for a model that has never been saved: header and an empty logical view.
void NewDocument(petal::Document& document);
// The base name of `path` without its extension ("" for "").
std::string ModelNameOf(const std::string& path);

// --- Tool-property defaults (properties.cpp, property_file.cpp) ---

// The default sets ("default__Class", ...) declared in a `(list Attribute_Set ...)` of tool
// entries, as a model file's Design properties and a property file hold them. A value of an
// enumeration type reads as its literal's name.
std::vector<PropertySet> PropertySetsOf(const petal::Value& attributeSets);
// Reads an add-in's model property file. False with `error` set when it cannot be read or is
// not a property file.
bool ReadPropertyFile(const std::string& path, std::vector<PropertySet>& sets, std::string& error);
// The property files of the add-ins registered under "SOFTWARE\Rational Software\Rose\AddIns"
// with "Active" = "Yes": "InstallDir" + "/" + "PropertyFile", in the registry's order.
std::vector<std::string> InstalledPropertyFiles();
// Adds the defaults of every installed add-in to the model; a set the model file declares
// keeps its own defaults. The registry file and property files that cannot be read are
// reported in `warnings`, each with the reason (a missing registry file too).
void LoadAddInProperties(Model& model, std::vector<std::string>& warnings);

// --- Printing (show.cpp) ---

// The model as an indented tree, elements in model order, with each element's own tool
// properties; the same model always prints the same text.
std::string ShowModel(const Model& model);

// --- Service (service.cpp) ---

// One open model: the document it came from, the model and the automation objects over it.
struct Session {
    petal::Document document;
    std::shared_ptr<Host> host;
    std::vector<std::string> warnings;
};

// Opens a model file into `session`; "" on success, otherwise why the file is no Rose model.
std::string OpenSession(Session& session, const std::string& path);
// An empty, never saved model.
void NewSession(Session& session);
// Writes the model to `path`, or to its own file when `path` is "". "" or the reason.
std::string SaveSession(Session& session, const std::string& path);
// Makes the class diagram `name` current ("Category::Diagram" or the bare name).
std::string SelectDiagram(Session& session, const std::string& name);
// Selects the classes named (qualified or bare names) on the current diagram, and only them.
std::string SelectClasses(Session& session, const std::vector<std::string>& names);
// One line on the model: name, file, counts, current diagram.
std::string SessionStatus(const Session& session);

// The root object of a connection: `Application` gives the application object; `Save`,
// `Stop`, `Status`, `Select`, `Diagram` and `Show` are the command line's control calls.
// `stop(save)` is asked to end the service.
automation::ObjectRef ControlObject(Session& session, std::function<void()> stop);

}  // namespace rosehost
