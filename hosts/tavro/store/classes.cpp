#include "hosts/tavro/store/store.h"
#include "hosts/tavro/store/store_internal.h"
#include "hosts/tavro/xml/class_xml.h"
#include "strings/strings.h"

namespace tavro {

namespace si = store_internal;

namespace {

std::string KeywordValue(const ClassDef& def, std::string_view name) {
    return ValueOf(def.values, *FindKeyword(ItemKind::Class, name));
}

// Moves the current definition of a class into the history, then removes it.
void RetireCurrent(Store& store, const std::string& home, const std::string& name,
                   const std::string& user, const std::string& reason) {
    si::Statement keep(
        store,
        "INSERT INTO history (namespace, name, xml, saved_at, saved_by, replaced_at, "
        "replaced_by, reason) SELECT namespace, name, xml, saved_at, saved_by, ?, ?, ? "
        "FROM classes WHERE namespace = ? AND name = ?");
    keep.Bind(1, si::Now()).Bind(2, user).Bind(3, reason).Bind(4, home).Bind(5, name).Run();
    si::Statement drop(store, "DELETE FROM classes WHERE namespace = ? AND name = ?");
    drop.Bind(1, home).Bind(2, name).Run();
}

bool ReadXml(Store& store, const std::string& home, const std::string& name, std::string& xml) {
    si::Statement query(store, "SELECT xml FROM classes WHERE namespace = ? AND name = ?");
    query.Bind(1, home).Bind(2, name);
    if (!query.Step()) return false;
    xml = query.Text(0);
    return true;
}

ClassDef ParseStored(const std::string& xml, const std::string& name) {
    XmlParseResult parsed = ParseClassXml(xml);
    if (!parsed.ok)
        throw StoreError("stored definition of " + name + " is unreadable: " + parsed.message);
    return std::move(parsed.def);
}

// A definition must come back from the store exactly as it went in, and be found again by its
// qualified name; one that could not (a member with a bad or doubled name, a class name
// without a package or beyond the limit) is refused before anything is written.
void RequireStorable(const ClassDef& def) {
    std::string problem = ClassNameProblem(def.name);
    if (!problem.empty()) throw StoreError(problem);
    XmlParseResult parsed = ParseClassXml(RenderClassXml(def));
    if (!parsed.ok) throw StoreError("class " + def.name + " cannot be saved: " + parsed.message);
}

void RequireUserNamespace(Store& store, const std::string& ns) {
    if (strings::EqualNoCase(ns, kSystemNamespace) || !NamespaceExists(store, ns)) {
        throw StoreError("no namespace " + ns);
    }
}

// Stamps the times the server keeps on every definition it stores.
ClassDef Stamped(const ClassDef& def, const std::string& created) {
    ClassDef stamped = def;
    std::string now = si::Now();
    stamped.values["TimeChanged"] = now;
    stamped.values["TimeCreated"] = created.empty() ? now : created;
    return stamped;
}

std::string CreatedTime(Store& store, const std::string& home, const std::string& name) {
    std::string xml;
    if (!ReadXml(store, home, name, xml)) return "";
    return KeywordValue(ParseStored(xml, name), "TimeCreated");
}

}  // namespace

namespace store_internal {

void RequireWriteAccess(Store& store, const Actor& actor, const std::string& ns,
                        const std::string& className) {
    if (!className.empty() && className[0] == '%') {
        throw StoreError("class " + className + " belongs to the server and cannot be changed");
    }
    if (actor.isOperator || !NamespaceEnforcesSecurity(store, ns)) return;
    if (!HasDevelopment(store, actor.user)) {
        throw StoreError("access denied: user " + actor.user +
                         " lacks the 'Development' permission");
    }
}

void InsertClassRow(Store& store, const std::string& ns, const ClassDef& def,
                    const std::string& user) {
    Statement insert(
        store,
        "INSERT INTO classes (namespace, name, super, class_type, hidden, final, "
        "sql_table_name, xml, saved_at, saved_by) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    std::string savedAt = KeywordValue(def, "TimeChanged");
    insert.Bind(1, ns)
        .Bind(2, def.name)
        .Bind(3, KeywordValue(def, "super"))
        .Bind(4, KeywordValue(def, "ClassType"))
        .Bind(5, KeywordValue(def, "Hidden") == "1" ? 1 : 0)
        .Bind(6, KeywordValue(def, "Final") == "1" ? 1 : 0)
        .Bind(7, KeywordValue(def, "SqlTableName"))
        .Bind(8, RenderClassXml(def))
        .Bind(9, savedAt.empty() ? Now() : savedAt)
        .Bind(10, user)
        .Run();
}

}  // namespace store_internal

bool LoadClass(Store& store, const std::string& ns, const std::string& name, ClassDef& def) {
    std::string xml;
    if (!ReadXml(store, si::HomeOf(ns, name), name, xml)) return false;
    def = ParseStored(xml, name);
    return true;
}

std::vector<ClassDef> LoadClasses(Store& store, const std::string& ns) {
    std::vector<ClassDef> defs;
    si::Statement query(store, "SELECT name, xml FROM classes WHERE namespace = ? ORDER BY name");
    query.Bind(1, ns);
    while (query.Step()) defs.push_back(ParseStored(query.Text(1), query.Text(0)));
    return defs;
}

bool ClassExists(Store& store, const std::string& ns, const std::string& name) {
    si::Statement query(store, "SELECT count(*) FROM classes WHERE namespace = ? AND name = ?");
    query.Bind(1, si::HomeOf(ns, name)).Bind(2, name);
    return query.Step() && query.Int(0) > 0;
}

void SaveClass(Store& store, const std::string& ns, const ClassDef& def, const Actor& actor,
               bool replace) {
    RequireStorable(def);
    si::Transaction transaction(store);
    si::RequireWriteAccess(store, actor, ns, def.name);
    RequireUserNamespace(store, ns);
    bool exists = ClassExists(store, ns, def.name);
    if (exists && !replace) throw StoreError("class " + def.name + " already exists");
    std::string created = exists ? CreatedTime(store, ns, def.name) : "";
    if (exists) RetireCurrent(store, ns, def.name, actor.user, "replaced");
    si::InsertClassRow(store, ns, Stamped(def, created), actor.user);
    transaction.Commit();
}

void SaveClasses(Store& store, const std::string& ns, const std::vector<ClassDef>& defs,
                 const Actor& actor) {
    for (const ClassDef& def : defs) RequireStorable(def);
    si::Transaction transaction(store);
    RequireUserNamespace(store, ns);
    for (const ClassDef& def : defs) {
        si::RequireWriteAccess(store, actor, ns, def.name);
        bool exists = ClassExists(store, ns, def.name);
        std::string created = exists ? CreatedTime(store, ns, def.name) : "";
        if (exists) RetireCurrent(store, ns, def.name, actor.user, "replaced");
        si::InsertClassRow(store, ns, Stamped(def, created), actor.user);
    }
    transaction.Commit();
}

void DeleteClass(Store& store, const std::string& ns, const std::string& name, const Actor& actor) {
    si::Transaction transaction(store);
    si::RequireWriteAccess(store, actor, ns, name);
    RequireUserNamespace(store, ns);
    if (!ClassExists(store, ns, name)) throw StoreError("class " + name + " does not exist");
    RetireCurrent(store, ns, name, actor.user, "deleted");
    transaction.Commit();
}

std::vector<HistoryEntry> ClassHistory(Store& store, const std::string& ns,
                                       const std::string& name) {
    std::vector<HistoryEntry> entries;
    si::Statement query(
        store,
        "SELECT saved_at, saved_by, replaced_at, replaced_by, reason, xml FROM history "
        "WHERE namespace = ? AND name = ? ORDER BY id");
    query.Bind(1, si::HomeOf(ns, name)).Bind(2, name);
    while (query.Step()) {
        HistoryEntry entry;
        entry.version = static_cast<int>(entries.size()) + 1;
        entry.savedAt = query.Text(0);
        entry.savedBy = query.Text(1);
        entry.replacedAt = query.Text(2);
        entry.replacedBy = query.Text(3);
        entry.reason = query.Text(4);
        entry.xml = query.Text(5);
        entries.push_back(std::move(entry));
    }
    return entries;
}

void RestoreClass(Store& store, const std::string& ns, const std::string& name, int version,
                  const Actor& actor) {
    std::vector<HistoryEntry> entries = ClassHistory(store, ns, name);
    if (entries.empty()) throw StoreError("no kept definition of " + name);
    if (version < 0 || version > static_cast<int>(entries.size())) {
        throw StoreError("no version " + std::to_string(version) + " of " + name);
    }
    const HistoryEntry& entry =
        entries[static_cast<std::size_t>(version == 0 ? entries.size() : version) - 1];
    ClassDef def = ParseStored(entry.xml, name);
    si::Transaction transaction(store);
    si::RequireWriteAccess(store, actor, ns, def.name);
    RequireUserNamespace(store, ns);
    bool exists = ClassExists(store, ns, name);
    std::string created = KeywordValue(def, "TimeCreated");
    if (exists) RetireCurrent(store, ns, name, actor.user, "restored");
    si::InsertClassRow(store, ns, Stamped(def, created), actor.user);
    transaction.Commit();
}

}  // namespace tavro
