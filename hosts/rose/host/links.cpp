// Links from one element to a class carry the class's quid (`quidu`) beside its qualified
// name (`supplier`), as the modelling tool writes them; readers that go by quid find nothing
// without it. A link made before its class existed (an import makes a subclass before its
// superclass) has no quid yet: at save it gets one, found by the qualified name.
#include <map>

#include "hosts/rose/host/host_internal.h"

namespace rosehost::binding {
namespace {

// The kinds of relationship whose `supplier` names a class.
constexpr std::string_view kLinkKinds[] = {"Inheritance_Relationship", "Role",
                                           "Realize_Relationship", "Uses_Relationship"};
// The kinds of object a relationship may point at.
constexpr std::string_view kClassKinds[] = {"Class", "Class_Utility", "Parameterized_Class",
                                            "Instantiated_Class"};

// Qualified names hold "::" between parts; a "::" inside a name is written "\:\:".
std::string PathPart(const std::string& name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name.compare(i, 2, "::") == 0) {
            out += "\\:\\:";
            ++i;
            continue;
        }
        out += name[i];
    }
    return out;
}

template <class List>
bool IsOneOf(const List& list, std::string_view kind) {
    for (std::string_view k : list) {
        if (k == kind) return true;
    }
    return false;
}

struct ClassTable {
    std::map<std::string, std::vector<std::string>> quidsByPath;
    std::map<std::string, int> quids;
};

void CollectClasses(const petal::Object& category, const std::string& path, ClassTable& table) {
    const petal::Value* models = petal::FindField(category, "logical_models");
    if (models == nullptr || models->kind != petal::ValueKind::List) return;
    for (const petal::Value& item : models->items) {
        if (item.kind != petal::ValueKind::Object || !item.object) continue;
        const petal::Object& o = *item.object;
        if (o.names.empty()) continue;
        std::string inner = path + "::" + PathPart(o.names[0]);
        if (o.kind == "Class_Category") CollectClasses(o, inner, table);
        if (!IsOneOf(kClassKinds, o.kind)) continue;
        std::string quid = petal::GetText(o, "quid");
        if (quid.empty()) continue;
        table.quidsByPath[inner].push_back(quid);
        ++table.quids[quid];
    }
}

void CollectRoot(const petal::Object& design, std::string_view key, ClassTable& table) {
    const petal::Value* root = petal::FindField(design, key);
    if (root == nullptr || root->kind != petal::ValueKind::Object || !root->object) return;
    const petal::Object& category = *root->object;
    if (category.names.empty()) return;
    CollectClasses(category, PathPart(category.names[0]), table);
}

// The quid a link should carry, or "" when its own resolves or its name finds no single class.
std::string MissingQuid(const ClassTable& table, const std::string& path, const std::string& quid) {
    if (!quid.empty() && table.quids.contains(quid)) return "";
    auto it = table.quidsByPath.find(path);
    if (it == table.quidsByPath.end() || it->second.size() != 1) return "";
    return it->second.front() == quid ? "" : it->second.front();
}

void ResolveModelLink(const Model& model, const std::string& path, std::string& quid) {
    if (!quid.empty() && ClassByUniqueKey(model, quid)) return;
    auto found = ClassesByPath(model, path);
    if (found.size() == 1) quid = found.front()->quid;
}

}  // namespace

void ResolveLinks(Model& model) {
    for (const auto& cls : AllClasses(model)) {
        for (auto& link : cls->superclassLinks) {
            ResolveModelLink(model, link->className, link->classQuid);
        }
    }
    for (const auto& category : AllCategories(model)) {
        for (auto& association : category->associations) {
            for (auto& role : association->roles) {
                ResolveModelLink(model, role->className, role->classQuid);
            }
        }
    }
    ForgetIndex(model);
}

void ResolveLinks(petal::Object& design) {
    ClassTable table;
    CollectRoot(design, "root_usecase_package", table);
    CollectRoot(design, "root_category", table);
    petal::VisitObjects(design, [&](petal::Object& o) {
        if (!IsOneOf(kLinkKinds, o.kind)) return;
        const petal::Value* supplier = petal::FindField(o, "supplier");
        if (supplier == nullptr || supplier->kind != petal::ValueKind::String) return;
        std::string quid = MissingQuid(table, supplier->text, petal::GetText(o, "quidu"));
        if (quid.empty()) return;
        if (petal::Value* quidu = petal::FindField(o, "quidu")) {
            *quidu = petal::MakeString(quid);
            return;
        }
        petal::InsertFieldAfter(o, "supplier", "quidu", petal::MakeString(quid));
    });
}

}  // namespace rosehost::binding
