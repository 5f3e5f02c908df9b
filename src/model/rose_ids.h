// The contract with the modelling tool: the interface identifier of each object kind and the
// dispatch ids of each kind's operations. An id means something only on its own kind.
#pragma once

#include <cstdint>

namespace rose {

// Interface identifiers, one per object kind.
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

// Dispatch ids, one table per object kind: an id means something only on its own kind.
namespace ids {
struct Application {
    static constexpr std::int32_t ActiveModel = 209;
};
struct Model {
    static constexpr std::int32_t Name = 100, TopCategory = 417, AllClasses = 432,
                                  AllCategories = 433, ClassesByPath = 12474,
                                  ClassByUniqueKey = 12475, CategoriesByPath = 12476,
                                  CurrentDiagram = 12527;
};
struct Category {
    static constexpr std::int32_t Name = 100, QualifiedName = 12555, ClassDiagrams = 416,
                                  OwnedClasses = 419, CreateClass = 421, CreateCategory = 423;
};
struct Class {
    static constexpr std::int32_t Name = 100, UniqueKey = 102, DocText = 203, QualifiedName = 12555,
                                  AsElement = 207, IsAbstract = 412, IsPersistent = 414,
                                  OwningCategory = 415, Attributes = 416, Operations = 417,
                                  SuperclassLinks = 423, Associations = 425, CreateOperation = 427,
                                  CreateAttribute = 428, CreateAssociation = 429,
                                  DeleteAssociation = 433, DeleteOperation = 434,
                                  DeleteAttribute = 435, CreateSuperclassLink = 437,
                                  DeleteSuperclassLink = 438;
    static constexpr const char* GetQualifiedName = "GetQualifiedName";
};
struct Element {
    static constexpr std::int32_t Name = 100, DocText = 203;
};
// Every element that carries tool properties (class, attribute, operation, association).
struct AnyElement {
    static constexpr std::int32_t GetToolProperty = 119, SetToolProperty = 110,
                                  ToolProperties = 123, HasOwnToolProperty = 124;
};
struct ToolProperty {
    static constexpr std::int32_t Name = 202;
};
struct Attribute {
    static constexpr std::int32_t Name = 100, DocText = 203, TypeName = 413, ExportControl = 415;
    static constexpr const char* GetTypeClass = "GetTypeClass";
};
struct Operation {
    static constexpr std::int32_t Name = 100, DocText = 203, ReturnTypeName = 412,
                                  ParameterList = 413, ExportControl = 414, CreateParameter = 416;
};
struct Parameter {
    static constexpr std::int32_t AsElement = 207, TypeName = 413, DefaultValue = 414;
};
struct ExportControl {
    static constexpr std::int32_t Value = 202;
};
struct SuperclassLink {
    static constexpr std::int32_t SuperclassOf = 12601, SuperclassNameText = 412;
};
struct Association {
    static constexpr std::int32_t DocText = 203, Kind = 212, RoleOf = 416, OtherRoleOf = 417;
};
struct Role {
    static constexpr std::int32_t Name = 100, RoleClassName = 412, IsAggregate = 614,
                                  IsNavigable = 616, Multiplicity = 617, ExportControl = 618,
                                  RoleClass = 621;
};
struct Diagram {
    static constexpr std::int32_t KindName = 12668, SelectedItems = 12525;
};
struct ClassDiagram {
    static constexpr std::int32_t AddClass = 412, ShownClasses = 416, RemoveClass = 419,
                                  ClassViewOf = 427, Redraw = 205;
    static constexpr const char* AddClassByName = "AddClass";
};
struct ClassView {
    static constexpr std::int32_t PlacementA = 203, PlacementB = 202;
};
struct Collection {
    static constexpr std::int32_t Count = 202, ItemAt = 203, ContainsItem = 204, IndexOfName = 205;
};
}  // namespace ids

}  // namespace rose
