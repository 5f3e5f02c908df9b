// Writing the model back into its document: each element's object is projected again and
// only the fields that differ are written, so an unchanged model leaves the document as read.
#include <algorithm>
#include <set>

#include "hosts/rose/host/host_internal.h"

namespace rosehost {
namespace binding {
namespace {

// The header name: a new name replaces it; no name keeps a placeholder or gets a new one.
void WriteHeaderName(SyncContext& context, petal::Object& object, const std::string& name,
                     bool placeholder) {
    if (object.names.empty()) object.names.emplace_back();
    if (!name.empty()) {
        object.names[0] = name;
        return;
    }
    if (placeholder && !IsUnnamed(object.names[0])) object.names[0] = UnnamedName(context);
    if (!placeholder) object.names[0].clear();
}

void WriteVisibility(petal::Object& object, std::string_view key, std::int16_t code,
                     std::int16_t omitted) {
    if (code == omitted) {
        petal::RemoveField(object, key);
        return;
    }
    petal::SetField(object, key, petal::MakeString(VisibilityText(code)));
}

// Name, quid, documentation and tool properties, where they differ from `was`.
void WriteElement(SyncContext& context, petal::Object& object, const Element& was,
                  const Element& now, bool placeholder = false) {
    if (was.name != now.name) WriteHeaderName(context, object, now.name, placeholder);
    if (was.quid != now.quid) WriteText(object, "quid", now.quid);
    if (was.documentation != now.documentation) {
        WriteText(object, "documentation", now.documentation);
    }
    WriteProperties(object, now.properties, context.enums);
}

// Brings the objects of one kind in `owner`'s list `key` in line with `children`: objects of
// deleted children go, new children get an object made by `make`, and the objects stand in
// the children's order in the slots such objects held. Other items keep their places.
template <class T, class Ours, class Make>
void SyncChildren(petal::Object& owner, std::string_view key, std::string_view listName,
                  std::string_view kind, std::vector<std::shared_ptr<T>>& children,
                  const Ours& isOurs, const Make& make, bool dropWhenEmpty) {
    petal::Value* list = petal::FindField(owner, key);
    if (list == nullptr && children.empty()) return;
    if (list == nullptr || list->kind != petal::ValueKind::List) {
        list = &petal::EnsureList(owner, key, listName);
    }
    std::set<const petal::Object*> kept;
    for (const auto& child : children) kept.insert(OriginOf(*child));
    bool removed = false;
    std::erase_if(list->items, [&](const petal::Value& item) {
        bool gone = item.kind == petal::ValueKind::Object && item.object &&
                    item.object->kind == kind && isOurs(*item.object) &&
                    !kept.contains(item.object.get());
        removed = removed || gone;
        return gone;
    });
    for (auto& child : children) {
        if (child->origin != nullptr) continue;
        child->origin = &petal::AppendObject(*list, make(*child));
    }
    // Reorder: the slots of our objects, refilled in the children's order.
    for (auto& child : children) kept.insert(OriginOf(*child));
    std::vector<std::size_t> slots;
    for (std::size_t i = 0; i < list->items.size(); ++i) {
        const petal::Value& item = list->items[i];
        if (item.kind == petal::ValueKind::Object && item.object &&
            kept.contains(item.object.get())) {
            slots.push_back(i);
        }
    }
    std::vector<petal::Value> values;
    for (std::size_t slot : slots) values.push_back(std::move(list->items[slot]));
    for (std::size_t i = 0; i < slots.size() && i < children.size(); ++i) {
        const petal::Object* wanted = OriginOf(*children[i]);
        for (petal::Value& value : values) {
            if (value.object.get() == wanted) {
                list->items[slots[i]] = std::move(value);
                break;
            }
        }
    }
    if (dropWhenEmpty && removed && list->items.empty()) petal::RemoveField(owner, key);
}

bool Always(const petal::Object&) { return true; }

petal::Object Skeleton(std::string_view kind, const Element& element) {
    petal::Object object = petal::NewObject(kind, {}, element.quid);
    object.names.push_back(element.name);
    return object;
}

void SyncParameter(SyncContext& context, Parameter& parameter, petal::Object& object) {
    Parameter was;
    ProjectParameter(object, was, context.enums);
    WriteElement(context, object, was, parameter);
    if (was.type != parameter.type) WriteText(object, "type", parameter.type);
    if (was.defaultValue != parameter.defaultValue) {
        WriteText(object, "initv", parameter.defaultValue);
    }
}

void SyncOperation(SyncContext& context, Operation& operation, petal::Object& object) {
    Operation was;
    ProjectOperation(object, was, context.enums);
    WriteElement(context, object, was, operation);
    SyncChildren(
        object, "parameters", "Parameters", "Parameter", operation.parameters, Always,
        [](const Parameter& p) { return Skeleton("Parameter", p); }, /*dropWhenEmpty=*/true);
    for (auto& parameter : operation.parameters) {
        SyncParameter(context, *parameter, *OriginOf(*parameter));
    }
    if (was.returnType != operation.returnType) WriteText(object, "result", operation.returnType);
    // Operations always carry their visibility.
    if (was.exportControl != operation.exportControl ||
        petal::FindField(object, "opExportControl") == nullptr) {
        petal::SetField(object, "opExportControl",
                        petal::MakeString(VisibilityText(operation.exportControl)));
    }
}

void SyncAttribute(SyncContext& context, Attribute& attribute, petal::Object& object) {
    Attribute was;
    ProjectAttribute(object, was, context.enums);
    WriteElement(context, object, was, attribute);
    if (was.type != attribute.type) WriteText(object, "type", attribute.type);
    if (was.typeQuid != attribute.typeQuid) WriteText(object, "quidu", attribute.typeQuid);
    if (was.initialValue != attribute.initialValue) {
        WriteText(object, "initv", attribute.initialValue);
    }
    if (was.exportControl != attribute.exportControl) {
        WriteVisibility(object, "exportControl", attribute.exportControl, kPrivate);
    }
}

void SyncSuperclassLink(SyncContext& context, SuperclassLink& link, petal::Object& object) {
    SuperclassLink was;
    ProjectSuperclassLink(object, was, context.enums);
    // A link's name is its label; its header carries no name.
    if (was.name != link.name) WriteText(object, "label", link.name);
    was.name = link.name;
    WriteElement(context, object, was, link);
    if (was.className != link.className) WriteText(object, "supplier", link.className);
    if (was.classQuid != link.classQuid) WriteText(object, "quidu", link.classQuid);
}

void SyncClass(SyncContext& context, Class& cls, petal::Object& object) {
    Class was;
    ProjectClass(object, was, context.enums);
    WriteElement(context, object, was, cls);
    SyncChildren(
        object, "superclasses", "inheritance_relationship_list", "Inheritance_Relationship",
        cls.superclassLinks, Always,
        [](const SuperclassLink& l) {
            return petal::NewObject("Inheritance_Relationship", {}, l.quid);
        },
        /*dropWhenEmpty=*/true);
    for (auto& link : cls.superclassLinks) SyncSuperclassLink(context, *link, *OriginOf(*link));
    SyncChildren(
        object, "operations", "Operations", "Operation", cls.operations, Always,
        [](const Operation& o) {
            petal::Object skeleton = Skeleton("Operation", o);
            skeleton.fields.push_back({"concurrency", petal::MakeString("Sequential")});
            skeleton.fields.push_back({"opExportControl", petal::MakeString("Public")});
            skeleton.fields.push_back({"uid", petal::MakeInteger(0)});
            return skeleton;
        },
        /*dropWhenEmpty=*/true);
    for (auto& operation : cls.operations)
        SyncOperation(context, *operation, *OriginOf(*operation));
    SyncChildren(
        object, "class_attributes", "class_attribute_list", "ClassAttribute", cls.attributes,
        Always, [](const Attribute& a) { return Skeleton("ClassAttribute", a); },
        /*dropWhenEmpty=*/true);
    for (auto& attribute : cls.attributes)
        SyncAttribute(context, *attribute, *OriginOf(*attribute));
    if (was.isAbstract != cls.isAbstract) WriteFlag(object, "abstract", cls.isAbstract);
    if (was.isPersistent != cls.isPersistent) {
        WriteText(object, "persistence", cls.isPersistent ? "Persistent" : "");
    }
}

void SyncRole(SyncContext& context, Role& role, petal::Object& object) {
    Role was;
    ProjectRole(object, was, context.enums);
    if (was.name != role.name) {
        WriteText(object, "label", role.name);
        WriteHeaderName(context, object, role.name, /*placeholder=*/true);
    }
    was.name = role.name;
    WriteElement(context, object, was, role);
    if (was.className != role.className) WriteText(object, "supplier", role.className);
    if (was.classQuid != role.classQuid) WriteText(object, "quidu", role.classQuid);
    if (was.multiplicity != role.multiplicity) {
        if (role.multiplicity.empty()) {
            petal::RemoveField(object, "client_cardinality");
        } else {
            petal::SetField(object, "client_cardinality",
                            petal::MakeTypedText("cardinality", role.multiplicity));
        }
    }
    if (was.exportControl != role.exportControl) {
        WriteVisibility(object, "exportControl", role.exportControl, kPublic);
    }
    if (was.isNavigable != role.isNavigable) WriteFlag(object, "is_navigable", role.isNavigable);
    if (was.isAggregate != role.isAggregate) WriteFlag(object, "is_aggregate", role.isAggregate);
}

void SyncAssociation(SyncContext& context, Association& association, petal::Object& object) {
    Association was;
    ProjectAssociation(object, was, context.enums);
    WriteElement(context, object, was, association, /*placeholder=*/true);
    if (was.kind != association.kind) WriteText(object, "stereotype", association.kind);
    auto roles = ListObjects(object, "roles", "Role");
    for (std::size_t i = 0; i < 2; ++i) SyncRole(context, *association.roles[i], *roles[i]);
}

petal::Object NewAssociationObject(SyncContext& context, Association& association) {
    petal::Object object = petal::NewObject(
        "Association", association.name.empty() ? UnnamedName(context) : association.name,
        association.quid);
    petal::Value& roles = petal::EnsureList(object, "roles", "role_list");
    for (auto& role : association.roles) {
        petal::AppendObject(roles, petal::NewObject("Role", UnnamedName(context), role->quid));
    }
    return object;
}

void SyncCategory(SyncContext& context, Category& category, petal::Object& object) {
    Category was;
    ProjectCategory(object, was, context.enums);
    WriteElement(context, object, was, category);
    auto newCategory = [](const Category& c) {
        petal::Object skeleton = Skeleton("Class_Category", c);
        skeleton.fields.push_back({"exportControl", petal::MakeString("Public")});
        skeleton.fields.push_back({"logical_models", petal::MakeList("unit_reference_list")});
        skeleton.fields.push_back(
            {"logical_presentations", petal::MakeList("unit_reference_list")});
        return skeleton;
    };
    SyncChildren(object, "logical_models", "unit_reference_list", "Class_Category",
                 category.categories, Always, newCategory, /*dropWhenEmpty=*/false);
    SyncChildren(
        object, "logical_models", "unit_reference_list", "Class", category.classes, Always,
        [](const Class& c) { return Skeleton("Class", c); }, /*dropWhenEmpty=*/false);
    SyncChildren(
        object, "logical_models", "unit_reference_list", "Association", category.associations,
        IsModelAssociation, [&context](Association& a) { return NewAssociationObject(context, a); },
        /*dropWhenEmpty=*/false);
    // Roles of a new association are bound to the roles its object was made with.
    for (auto& association : category.associations) {
        auto roles = ListObjects(*OriginOf(*association), "roles", "Role");
        for (std::size_t i = 0; i < 2; ++i) {
            if (association->roles[i]->origin == nullptr) association->roles[i]->origin = roles[i];
        }
    }
    for (auto& sub : category.categories) SyncCategory(context, *sub, *OriginOf(*sub));
    for (auto& cls : category.classes) SyncClass(context, *cls, *OriginOf(*cls));
    for (auto& association : category.associations) {
        SyncAssociation(context, *association, *OriginOf(*association));
    }
    SyncChildren(
        object, "logical_presentations", "unit_reference_list", kClassDiagramKind,
        category.diagrams, Always,
        [](const Diagram& d) {
            petal::Object skeleton = Skeleton(kClassDiagramKind, d);
            skeleton.fields.push_back({"title", petal::MakeString(d.name)});
            skeleton.fields.push_back({"zoom", petal::MakeInteger(100)});
            skeleton.fields.push_back({"max_height", petal::MakeInteger(28350)});
            skeleton.fields.push_back({"max_width", petal::MakeInteger(21600)});
            skeleton.fields.push_back({"origin_x", petal::MakeInteger(0)});
            skeleton.fields.push_back({"origin_y", petal::MakeInteger(0)});
            skeleton.fields.push_back({"items", petal::MakeList("diagram_item_list")});
            return skeleton;
        },
        /*dropWhenEmpty=*/false);
    for (auto& diagram : category.diagrams) SyncDiagram(context, *diagram, *OriginOf(*diagram));
}

// The highest "$UNNAMED$n" number the document uses, plus one.
int NextUnnamed(const petal::Object& root) {
    int next = 0;
    petal::VisitObjects(root, [&](const petal::Object& o) {
        if (o.names.empty() || !IsUnnamed(o.names[0])) return;
        try {
            next = std::max(next, std::stoi(o.names[0].substr(9)) + 1);
        } catch (const std::exception&) {
            // A placeholder without a number takes no part in the numbering.
        }
    });
    return next;
}

}  // namespace

std::string UnnamedName(SyncContext& context) {
    return "$UNNAMED$" + std::to_string(context.nextUnnamed++);
}

}  // namespace binding

void SyncModel(Model& model, petal::Document& document) {
    petal::Object& design = document.model().root;
    binding::SyncContext context{model, document, binding::DocumentEnums(design),
                                 binding::NextUnnamed(design)};
    if (model.top->origin == nullptr) {
        petal::Object top = petal::NewObject("Class_Category", model.top->name, model.top->quid);
        top.fields.push_back({"exportControl", petal::MakeString("Public")});
        top.fields.push_back({"global", petal::MakeBoolean(true)});
        top.fields.push_back({"logical_models", petal::MakeList("unit_reference_list")});
        top.fields.push_back({"logical_presentations", petal::MakeList("unit_reference_list")});
        petal::Value& stored = petal::SetField(design, "root_category", petal::MakeObject(top));
        model.top->origin = stored.object.get();
    }
    binding::SyncCategory(context, *model.top, *binding::OriginOf(*model.top));
}

}  // namespace rosehost
