// The value tree: copying, comparing, building and editing.
#include <algorithm>
#include <array>
#include <cstdio>

#include "hosts/rose/petal/petal.h"

namespace petal {

Value::Value() = default;
Value::Value(Value&& other) noexcept = default;
Value& Value::operator=(Value&& other) noexcept = default;
Value::~Value() = default;

Value::Value(const Value& other)
    : kind(other.kind),
      text(other.text),
      name(other.name),
      boolean(other.boolean),
      block(other.block),
      x(other.x),
      y(other.y),
      object(other.object ? std::make_unique<Object>(*other.object) : nullptr),
      items(other.items) {}

Value& Value::operator=(const Value& other) {
    if (this != &other) *this = Value(other);
    return *this;
}

bool operator==(const Value& a, const Value& b) {
    if (a.kind != b.kind) return false;
    switch (a.kind) {
        case ValueKind::String:
            return a.text == b.text;
        case ValueKind::Integer:
        case ValueKind::Float:
        case ValueKind::Tag:
            return a.text == b.text;
        case ValueKind::Boolean:
            return a.boolean == b.boolean;
        case ValueKind::Point:
            return a.x == b.x && a.y == b.y;
        case ValueKind::Enum:
            return a.text == b.text && a.x == b.x;
        case ValueKind::TypedText:
            return a.name == b.name && a.text == b.text;
        case ValueKind::Object:
            if (!a.object || !b.object) return a.object == b.object;
            return *a.object == *b.object;
        case ValueKind::List:
            return a.name == b.name && a.items == b.items;
    }
    return false;
}

bool operator==(const Field& a, const Field& b) { return a.key == b.key && a.value == b.value; }

bool operator==(const Object& a, const Object& b) {
    return a.kind == b.kind && a.names == b.names && a.tag == b.tag && a.fields == b.fields;
}

Value MakeString(std::string_view utf8) {
    Value v;
    v.kind = ValueKind::String;
    v.text = utf8;
    return v;
}

Value MakeInteger(std::int64_t number) {
    Value v;
    v.kind = ValueKind::Integer;
    v.text = std::to_string(number);
    return v;
}

Value MakeBoolean(bool flag) {
    Value v;
    v.kind = ValueKind::Boolean;
    v.boolean = flag;
    return v;
}

Value MakeTag(int tag) {
    Value v;
    v.kind = ValueKind::Tag;
    v.text = std::to_string(tag);
    return v;
}

Value MakePoint(std::int64_t x, std::int64_t y) {
    Value v;
    v.kind = ValueKind::Point;
    v.x = x;
    v.y = y;
    return v;
}

Value MakeEnum(std::string_view setName, std::int64_t number) {
    Value v;
    v.kind = ValueKind::Enum;
    v.text = setName;
    v.x = number;
    return v;
}

Value MakeTypedText(std::string_view typeName, std::string_view utf8) {
    Value v;
    v.kind = ValueKind::TypedText;
    v.name = typeName;
    v.text = utf8;
    return v;
}

Value MakeList(std::string_view listName) {
    Value v;
    v.kind = ValueKind::List;
    v.name = listName;
    return v;
}

Value MakeObject(Object object) {
    Value v;
    v.kind = ValueKind::Object;
    v.object = std::make_unique<Object>(std::move(object));
    return v;
}

Object NewObject(std::string_view kind, std::string_view name, std::string_view quid) {
    Object o;
    o.kind = kind;
    if (!name.empty()) o.names.emplace_back(name);
    if (!quid.empty()) o.fields.push_back({"quid", MakeString(quid)});
    return o;
}

Value* FindField(Object& object, std::string_view key) {
    for (Field& f : object.fields) {
        if (f.key == key) return &f.value;
    }
    return nullptr;
}

const Value* FindField(const Object& object, std::string_view key) {
    for (const Field& f : object.fields) {
        if (f.key == key) return &f.value;
    }
    return nullptr;
}

std::string GetText(const Object& object, std::string_view key) {
    const Value* v = FindField(object, key);
    if (v == nullptr) return {};
    if (v->kind != ValueKind::String && v->kind != ValueKind::TypedText) return {};
    return v->text;
}

namespace {

struct KeyOrder {
    std::string_view kind;
    std::vector<std::string_view> keys;
};

// The order in which the modelling tool writes the keys of the kinds rose-host edits.
// Keys not listed here keep their place; a new key goes after the last listed key before it.
const std::vector<KeyOrder>& KeyOrders() {
    static const std::vector<KeyOrder> orders = {
        {"Design",
         {"is_unit", "is_loaded", "attributes", "quid", "enforceClosureAutoLoad", "defaults",
          "root_usecase_package", "root_category", "root_subsystem", "process_structure",
          "properties"}},
        {"Class_Category",
         {"is_unit", "is_loaded", "file_name", "attributes", "quid", "documentation", "stereotype",
          "visible_categories", "exportControl", "global", "subsystem", "quidu", "logical_models",
          "logical_presentations"}},
        {"Class",
         {"attributes", "quid", "documentation", "stereotype", "superclasses", "used_nodes",
          "realized_interfaces", "operations", "class_attributes", "module", "quidu", "language",
          "exportControl", "abstract", "nestedClasses"}},
        {"ClassAttribute",
         {"attributes", "quid", "documentation", "stereotype", "type", "quidu", "initv",
          "exportControl", "Containment", "derived", "static"}},
        {"Operation",
         {"attributes", "quid", "documentation", "stereotype", "parameters", "result", "exceptions",
          "protocol", "concurrency", "pre_condition", "semantics", "abstract", "virtual", "const",
          "static", "opExportControl", "uid", "quidu"}},
        {"Parameter", {"attributes", "quid", "documentation", "type", "initv", "quidu"}},
        {"Association",
         {"attributes", "quid", "documentation", "stereotype", "roles", "AssociationClass",
          "derived", "Constraints"}},
        {"Role",
         {"attributes", "quid", "documentation", "label", "supplier", "quidu", "client_cardinality",
          "Constraints", "Containment", "exportControl", "is_navigable", "is_aggregate",
          "is_principal", "static"}},
        {"Inheritance_Relationship",
         {"attributes", "quid", "documentation", "stereotype", "label", "supplier", "quidu",
          "exportControl"}},
        {"Attribute", {"tool", "name", "value"}},
        {"ClassDiagram",
         {"quid", "title", "documentation", "zoom", "max_height", "max_width", "origin_x",
          "origin_y", "items"}},
    };
    return orders;
}

// Rank of `key` for `kind`; -1 when the kind or the key has no known place.
int RankOf(std::string_view kind, std::string_view key) {
    for (const KeyOrder& order : KeyOrders()) {
        if (order.kind != kind) continue;
        auto it = std::find(order.keys.begin(), order.keys.end(), key);
        if (it == order.keys.end()) return -1;
        return static_cast<int>(it - order.keys.begin());
    }
    return -1;
}

}  // namespace

Value& SetField(Object& object, std::string_view key, Value value) {
    if (Value* existing = FindField(object, key)) {
        *existing = std::move(value);
        return *existing;
    }
    int rank = RankOf(object.kind, key);
    size_t at = object.fields.size();
    if (rank >= 0) {
        // Before the first known key that the modelling tool writes later.
        for (size_t i = 0; i < object.fields.size(); ++i) {
            int other = RankOf(object.kind, object.fields[i].key);
            if (other > rank) {
                at = i;
                break;
            }
        }
    }
    auto it = object.fields.insert(object.fields.begin() + static_cast<std::ptrdiff_t>(at),
                                   Field{std::string(key), std::move(value)});
    return it->value;
}

Value& InsertFieldAfter(Object& object, std::string_view after, std::string_view key, Value value) {
    size_t at = after.empty() ? 0 : object.fields.size();
    for (size_t i = 0; i < object.fields.size() && !after.empty(); ++i) {
        if (object.fields[i].key == after) at = i + 1;
    }
    auto it = object.fields.insert(object.fields.begin() + static_cast<std::ptrdiff_t>(at),
                                   Field{std::string(key), std::move(value)});
    return it->value;
}

int RemoveField(Object& object, std::string_view key) {
    auto before = object.fields.size();
    std::erase_if(object.fields, [&](const Field& f) { return f.key == key; });
    return static_cast<int>(before - object.fields.size());
}

Value& EnsureList(Object& object, std::string_view key, std::string_view listName) {
    Value* existing = FindField(object, key);
    if (existing != nullptr && existing->kind == ValueKind::List) return *existing;
    return SetField(object, key, MakeList(listName));
}

Object& AppendObject(Value& list, Object object) {
    list.items.push_back(MakeObject(std::move(object)));
    return *list.items.back().object;
}

int RemoveObject(Value& list, const Object* object) {
    auto before = list.items.size();
    std::erase_if(list.items, [&](const Value& v) {
        return v.kind == ValueKind::Object && v.object.get() == object;
    });
    return static_cast<int>(before - list.items.size());
}

namespace {

template <typename O, typename V, typename F>
void VisitValue(V& value, const F& visit);

template <typename O, typename F>
void VisitObject(O& object, const F& visit) {
    visit(object);
    for (auto& field : object.fields) VisitValue<O>(field.value, visit);
}

template <typename O, typename V, typename F>
void VisitValue(V& value, const F& visit) {
    if (value.kind == ValueKind::Object && value.object) VisitObject<O>(*value.object, visit);
    if (value.kind != ValueKind::List) return;
    for (auto& item : value.items) VisitValue<O>(item, visit);
}

}  // namespace

void VisitObjects(Object& root, const std::function<void(Object&)>& visit) {
    VisitObject<Object>(root, visit);
}

void VisitObjects(const Object& root, const std::function<void(const Object&)>& visit) {
    VisitObject<const Object>(root, visit);
}

std::string MakeQuid(std::time_t time, unsigned counter) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%08X%04X",
                  static_cast<unsigned>(static_cast<std::uint32_t>(time)), counter & 0xFFFFu);
    return buffer;
}

}  // namespace petal
