// The member objects: attributes, operations, parameters, associations and their roles,
// superclass links, export controls and tool properties.
#include "objects.h"
#include "objects_internal.h"

namespace rosehost {
namespace {

template <class T>
Variant ExportControlMember(const Call<T>& c) {
    return ExportControlObject(c);
}

// --- Attribute ---

Variant AttributeTypeName(const Call<Attribute>& c) { return c.target->type; }

Variant AttributeGetTypeClass(const Call<Attribute>& c) {
    return ObjectFor(c.host, TypeClassOf(c.model(), *c.target), ClassKind());
}

// --- Operation ---

Variant OperationReturnTypeName(const Call<Operation>& c) { return c.target->returnType; }

Variant OperationParameterList(const Call<Operation>& c) {
    return CollectionFor(c.host, nullptr, c.target->parameters, ParameterKind());
}

Variant OperationCreateParameter(const Call<Operation>& c) {
    auto parameter = CreateParameter(c.model(), *c.target, c.Arg(0).ToString(), c.Arg(1).ToString(),
                                     c.Arg(2).ToString(), c.Arg(3).ToInt16());
    return ObjectFor(c.host, parameter, ParameterKind());
}

// --- Parameter ---

// A parameter is its own generic element, like a class.
Variant ParameterAsElement(const Call<Parameter>& c) {
    return ObjectFor(c.host, c.target, ParameterKind());
}

Variant ParameterTypeName(const Call<Parameter>& c) { return c.target->type; }

Variant ParameterDefaultValue(const Call<Parameter>& c) { return c.target->defaultValue; }

// --- Association ---

Variant AssociationKindText(const Call<Association>& c) {
    if (c.put) {
        c.target->kind = c.Value().ToString();
        return {};
    }
    return c.target->kind;
}

Variant AssociationRoleOf(const Call<Association>& c) {
    auto cls = ArgTarget<Class>(c.Arg(0));
    return ObjectFor(c.host, RoleOf(c.model(), *c.target, *cls), RoleKind());
}

Variant AssociationOtherRoleOf(const Call<Association>& c) {
    auto cls = ArgTarget<Class>(c.Arg(0));
    return ObjectFor(c.host, OtherRoleOf(c.model(), *c.target, *cls), RoleKind());
}

// --- Role ---

// The class at this end as the end names it: the class's current qualified name when the
// class exists, else the name written on the end.
Variant RoleClassName(const Call<Role>& c) {
    auto cls = ResolveClass(c.model(), c.target->className, c.target->classQuid);
    return cls ? QualifiedName(*cls) : c.target->className;
}

Variant RoleIsAggregate(const Call<Role>& c) {
    if (c.put) {
        c.target->isAggregate = c.Value().ToBool();
        return {};
    }
    return c.target->isAggregate;
}

Variant RoleIsNavigable(const Call<Role>& c) {
    if (c.put) {
        c.target->isNavigable = c.Value().ToBool();
        return {};
    }
    return c.target->isNavigable;
}

Variant RoleMultiplicity(const Call<Role>& c) {
    if (c.put) {
        c.target->multiplicity = c.Value().ToString();
        return {};
    }
    return c.target->multiplicity;
}

Variant RoleClass(const Call<Role>& c) {
    auto cls = ResolveClass(c.model(), c.target->className, c.target->classQuid);
    return ObjectFor(c.host, cls, ClassKind());
}

// --- Superclass link ---

Variant SuperclassOf(const Call<SuperclassLink>& c) {
    auto cls = ResolveClass(c.model(), c.target->className, c.target->classQuid);
    return ObjectFor(c.host, cls, ClassKind());
}

Variant SuperclassNameText(const Call<SuperclassLink>& c) { return c.target->className; }

// --- Export control ---

Variant ExportControlValue(const Call<std::int16_t>& c) {
    if (c.put) {
        *c.target = c.Value().ToInt16();
        return {};
    }
    return *c.target;
}

Kind<Attribute> MakeAttributeKind() {
    Kind<Attribute> kind{kTagAttribute,
                         {iid::kAttribute},
                         {
                             {100, "Name", Access::Read, NameMember<Attribute>},
                             {203, "DocText", Access::ReadWrite, DocTextMember<Attribute>},
                             {413, "TypeName", Access::Read, AttributeTypeName},
                             {415, "ExportControl", Access::Read, ExportControlMember<Attribute>},
                             {0, "GetTypeClass", Access::Method, AttributeGetTypeClass},
                         }};
    AddToolPropertyMembers<Attribute, ElementKind::Attribute>(kind.members);
    return kind;
}

Kind<Operation> MakeOperationKind() {
    Kind<Operation> kind{kTagOperation,
                         {iid::kOperation},
                         {
                             {100, "Name", Access::Read, NameMember<Operation>},
                             {203, "DocText", Access::ReadWrite, DocTextMember<Operation>},
                             {412, "ReturnTypeName", Access::Read, OperationReturnTypeName},
                             {413, "ParameterList", Access::Read, OperationParameterList},
                             {414, "ExportControl", Access::Read, ExportControlMember<Operation>},
                             {416, "CreateParameter", Access::Method, OperationCreateParameter},
                         }};
    AddToolPropertyMembers<Operation, ElementKind::Operation>(kind.members);
    return kind;
}

Kind<Association> MakeAssociationKind() {
    Kind<Association> kind{kTagAssociation,
                           {iid::kAssociation},
                           {
                               {203, "DocText", Access::ReadWrite, DocTextMember<Association>},
                               {212, "Kind", Access::ReadWrite, AssociationKindText},
                               {416, "RoleOf", Access::Method, AssociationRoleOf},
                               {417, "OtherRoleOf", Access::Method, AssociationOtherRoleOf},
                           }};
    AddToolPropertyMembers<Association, ElementKind::Association>(kind.members);
    return kind;
}

Kind<Role> MakeRoleKind() {
    Kind<Role> kind{kTagRole,
                    {iid::kRole},
                    {
                        {100, "Name", Access::ReadWrite, NameMember<Role>},
                        {412, "RoleClassName", Access::Read, RoleClassName},
                        {614, "IsAggregate", Access::ReadWrite, RoleIsAggregate},
                        {616, "IsNavigable", Access::ReadWrite, RoleIsNavigable},
                        {617, "Multiplicity", Access::ReadWrite, RoleMultiplicity},
                        {618, "ExportControl", Access::Read, ExportControlMember<Role>},
                        {621, "RoleClass", Access::Read, RoleClass},
                    }};
    AddToolPropertyMembers<Role, ElementKind::Role>(kind.members);
    return kind;
}

}  // namespace

const Kind<Attribute>& AttributeKind() {
    static const Kind<Attribute> kind = MakeAttributeKind();
    return kind;
}

const Kind<Operation>& OperationKind() {
    static const Kind<Operation> kind = MakeOperationKind();
    return kind;
}

const Kind<Parameter>& ParameterKind() {
    static const Kind<Parameter> kind{
        kTagParameter,
        {iid::kParameter, iid::kElement},
        {
            {100, "Name", Access::Read, NameMember<Parameter>},
            {203, "DocText", Access::ReadWrite, DocTextMember<Parameter>},
            {207, "AsElement", Access::Read, ParameterAsElement},
            {413, "TypeName", Access::Read, ParameterTypeName},
            {414, "DefaultValue", Access::Read, ParameterDefaultValue},
        }};
    return kind;
}

const Kind<Association>& AssociationKind() {
    static const Kind<Association> kind = MakeAssociationKind();
    return kind;
}

const Kind<Role>& RoleKind() {
    static const Kind<Role> kind = MakeRoleKind();
    return kind;
}

const Kind<SuperclassLink>& SuperclassLinkKind() {
    static const Kind<SuperclassLink> kind{
        kTagSuperclassLink,
        {iid::kSuperclassLink},
        {
            {12601, "SuperclassOf", Access::Read, SuperclassOf},
            {412, "SuperclassNameText", Access::Read, SuperclassNameText},
        }};
    return kind;
}

const Kind<std::int16_t>& ExportControlKind() {
    static const Kind<std::int16_t> kind{kTagExportControl,
                                         {iid::kExportControl},
                                         {
                                             {202, "Value", Access::ReadWrite, ExportControlValue},
                                         }};
    return kind;
}

// Tool properties are handed out as fresh snapshots: only their names are asked for.
const Kind<Element>& ToolPropertyKind() {
    static const Kind<Element> kind{kTagNone,
                                    {iid::kToolProperty},
                                    {
                                        {202, "Name", Access::Read, NameMember<Element>},
                                    }};
    return kind;
}

}  // namespace rosehost
