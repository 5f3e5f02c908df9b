// Writing a class diagram back: its name, and the class views drawn on it with their places.
#include <algorithm>
#include <set>

#include "hosts/rose/host/host_internal.h"

namespace rosehost::binding {
namespace {

// Size of a newly drawn class's box; the modelling tool resizes it when it next draws it.
constexpr int kViewWidth = 300;
constexpr int kViewHeight = 150;
constexpr int kFillColor = 13434879;
constexpr int kLineColor = 3342489;

int TagOf(const petal::Value& value) {
    if (value.kind != petal::ValueKind::Tag) return 0;
    try {
        return std::stoi(value.text);
    } catch (const std::exception&) {
        return 0;
    }
}

int HighestTag(const petal::Value& items) {
    int highest = 0;
    for (const petal::Value& item : items.items) {
        if (item.kind != petal::ValueKind::Object || !item.object) continue;
        petal::VisitObjects(*item.object,
                            [&](const petal::Object& o) { highest = std::max(highest, o.tag); });
    }
    return highest;
}

// True when the item, or an object inside it, connects to one of `tags`.
bool RefersTo(const petal::Object& item, const std::set<int>& tags) {
    bool found = false;
    petal::VisitObjects(item, [&](const petal::Object& o) {
        for (const petal::Field& field : o.fields) {
            if ((field.key == "client" || field.key == "supplier") &&
                tags.contains(TagOf(field.value))) {
                found = true;
            }
        }
    });
    return found;
}

// Removes the views in `gone` and, with them, every line or label attached to them (and the
// lines attached to those), as the modelling tool does when a class leaves a diagram.
void RemoveViews(petal::Value& items, const std::set<const petal::Object*>& gone) {
    std::set<int> tags;
    for (const petal::Object* view : gone) tags.insert(view->tag);
    std::erase_if(items.items, [&](const petal::Value& item) {
        return item.kind == petal::ValueKind::Object && gone.contains(item.object.get());
    });
    for (bool again = !tags.empty(); again;) {
        again = false;
        std::erase_if(items.items, [&](const petal::Value& item) {
            if (item.kind != petal::ValueKind::Object || !item.object) return false;
            if (!RefersTo(*item.object, tags)) return false;
            if (item.object->tag != 0) tags.insert(item.object->tag);
            again = true;
            return true;
        });
    }
}

petal::Object NewViewObject(const Class& cls, int tag, std::int16_t x, std::int16_t y) {
    petal::Object view = petal::NewObject("ClassView", "Class");
    view.names.push_back(QualifiedName(cls));
    view.tag = tag;
    view.fields.push_back({"ShowCompartmentStereotypes", petal::MakeBoolean(true)});
    view.fields.push_back({"IncludeAttribute", petal::MakeBoolean(true)});
    view.fields.push_back({"IncludeOperation", petal::MakeBoolean(true)});
    view.fields.push_back({"location", petal::MakePoint(x, y)});
    petal::Object label = petal::NewObject("ItemLabel");
    label.fields.push_back({"Parent_View", petal::MakeTag(tag)});
    label.fields.push_back(
        {"location", petal::MakePoint(x - kViewWidth / 2 + 9, y - kViewHeight / 2 + 12)});
    label.fields.push_back({"fill_color", petal::MakeInteger(kFillColor)});
    label.fields.push_back({"nlines", petal::MakeInteger(1)});
    label.fields.push_back({"max_width", petal::MakeInteger(kViewWidth - 18)});
    label.fields.push_back({"justify", petal::MakeInteger(0)});
    label.fields.push_back({"label", petal::MakeString(cls.name)});
    view.fields.push_back({"label", petal::MakeObject(std::move(label))});
    view.fields.push_back({"icon_style", petal::MakeString("Icon")});
    view.fields.push_back({"line_color", petal::MakeInteger(kLineColor)});
    view.fields.push_back({"fill_color", petal::MakeInteger(kFillColor)});
    view.fields.push_back({"quidu", petal::MakeString(cls.quid)});
    view.fields.push_back({"width", petal::MakeInteger(kViewWidth)});
    view.fields.push_back({"height", petal::MakeInteger(kViewHeight)});
    view.fields.push_back({"annotation", petal::MakeInteger(8)});
    view.fields.push_back({"autoResize", petal::MakeBoolean(true)});
    return view;
}

// Moves a view, its name label moving with it.
void MoveView(petal::Object& view, std::int16_t x, std::int16_t y) {
    std::int16_t oldX = 0, oldY = 0;
    bool had = ProjectLocation(view, oldX, oldY);
    petal::SetField(view, "location", petal::MakePoint(x, y));
    petal::Value* label = petal::FindField(view, "label");
    if (!had || label == nullptr || label->kind != petal::ValueKind::Object) return;
    petal::Value* at = petal::FindField(*label->object, "location");
    if (at == nullptr || at->kind != petal::ValueKind::Point) return;
    at->x += x - oldX;
    at->y += y - oldY;
}

}  // namespace

void SyncDiagram(SyncContext& context, Diagram& diagram, petal::Object& object) {
    Diagram was;
    ProjectDiagram(object, was, context.enums);
    if (was.name != diagram.name) {
        if (object.names.empty()) object.names.emplace_back();
        object.names[0] = diagram.name;
        petal::SetField(object, "title", petal::MakeString(diagram.name));
    }
    if (was.documentation != diagram.documentation) {
        WriteText(object, "documentation", diagram.documentation);
    }
    WriteProperties(object, diagram.properties, context.enums);

    petal::Value* items = petal::FindField(object, "items");
    if (items == nullptr && diagram.views.empty()) return;
    if (items == nullptr || items->kind != petal::ValueKind::List) {
        items = &petal::EnsureList(object, "items", "diagram_item_list");
    }
    std::set<const petal::Object*> kept;
    for (const auto& view : diagram.views) kept.insert(static_cast<petal::Object*>(view->origin));
    std::vector<petal::Object*> unused;  // views of model classes the model no longer draws
    for (petal::Value& item : items->items) {
        if (item.kind != petal::ValueKind::Object || !item.object) continue;
        petal::Object* v = item.object.get();
        if (v->kind == "ClassView" && !kept.contains(v) && ClassOfView(context.model, *v)) {
            unused.push_back(v);
        }
    }
    // A class taken off and drawn again gets its old view back, with its lines and looks.
    for (auto& view : diagram.views) {
        auto cls = view->cls.lock();
        if (view->origin != nullptr || !cls) continue;
        for (auto it = unused.begin(); it != unused.end(); ++it) {
            if (ClassOfView(context.model, **it) != cls) continue;
            view->origin = *it;
            unused.erase(it);
            break;
        }
    }
    RemoveViews(*items, std::set<const petal::Object*>(unused.begin(), unused.end()));

    int tag = HighestTag(*items);
    for (auto& view : diagram.views) {
        auto cls = view->cls.lock();
        if (view->origin != nullptr || !cls) continue;
        view->origin = &petal::AppendObject(
            *items, NewViewObject(*cls, ++tag, view->placementA, view->placementB));
    }
    for (auto& view : diagram.views) {
        if (view->origin == nullptr) continue;
        auto& v = *static_cast<petal::Object*>(view->origin);
        std::int16_t x = 0, y = 0;
        if (ProjectLocation(v, x, y) && x == view->placementA && y == view->placementB) continue;
        MoveView(v, view->placementA, view->placementB);
    }
}

}  // namespace rosehost::binding
