// rose-host's automation objects: the application object "Rose.Application" and every object
// reached from it, each answering the dispatch ids and interface identifiers of its kind.
//
// The same model element always comes back as the same object while anyone holds it, so that
// identity comparisons and `ContainsItem` work. Collections are snapshots taken when they are
// fetched: removing elements afterwards does not change a collection already handed out.
#pragma once

#include <memory>

#include "automation/automation.h"
#include "model.h"

namespace rosehost {

// What the objects share: the model open in the host and the table of live objects.
struct Host;

std::shared_ptr<Host> NewHost(std::shared_ptr<Model> model);
// Opens another model; objects of the earlier model keep answering for their elements.
void SetModel(Host& host, std::shared_ptr<Model> model);
const std::shared_ptr<Model>& ModelOf(const Host& host);
// The model as it stands outside a trial: the one a save writes.
const std::shared_ptr<Model>& ModelOutsideTrial(const Host& host);

// A trial, for a client's dry run: the application's `BeginTrial` (reachable by name only)
// makes the host serve a copy of its model (CopyModel) and returns a trial object; the
// application's `EndTrial`, or the last release of the trial object (a client that went away
// included), serves the model again and throws the copy away. A save during a trial writes
// the model, not the copy. A second BeginTrial during a trial is refused.
void BeginTrial(Host& host);
void EndTrial(Host& host);

// The application object, the root of everything the add-in reaches.
automation::ObjectRef ApplicationObject(const std::shared_ptr<Host>& host);

// The interface identifiers of the object kinds.
namespace iid {
inline constexpr const char* kApplication = "{D7BC1B40-8618-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kModel = "{E38942A0-8621-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kCategory = "{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kClass = "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kElement = "{BC57D1C2-863E-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kAttribute = "{C78E7024-86E4-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kOperation = "{C78E7020-86E4-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kParameter = "{C78E7028-86E4-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kAssociation = "{C78E7026-86E4-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kRole = "{BA242E00-8961-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kSuperclassLink = "{00C99560-9200-11CF-B1B0-D227D5210B2C}";
inline constexpr const char* kExportControl = "{EB7AAB60-939C-11CF-B091-00A0241E3F73}";
inline constexpr const char* kToolProperty = "{93461A23-8811-11CF-B1B0-D227D5210B2C}";
inline constexpr const char* kDiagram = "{3FD9D000-93B0-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kClassDiagram = "{3FD9D002-93B0-11CF-B3D4-00A0241DB1D0}";
inline constexpr const char* kClassView = "{5F735F36-F9EA-11CF-BBD3-00A024C67143}";
inline constexpr const char* kClassCollection = "{97B38349-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kAttributeCollection = "{97B3834C-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kOperationCollection = "{97B3834D-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kAssociationCollection = "{97B3834E-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kSuperclassLinkCollection = "{97B38354-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kCategoryCollection = "{97B3835B-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kClassDiagramCollection = "{97B38343-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kToolPropertyCollection = "{97B3835D-A4E3-11D0-BFF0-00AA003DEF5B}";
inline constexpr const char* kElementCollection = "{0DD9ACF8-D06E-11D0-BC0B-00A024C67143}";
}  // namespace iid

}  // namespace rosehost
