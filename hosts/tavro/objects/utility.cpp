#include <algorithm>
#include <set>

#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"
#include "hosts/tavro/xml/class_xml.h"
#include "strings/strings.h"

namespace tavro::objects_internal {

namespace m = members;

namespace {

// The members the model still holds, from the lines "a:" (property) and "m:" (method).
struct MemberList {
    std::vector<std::string> properties;
    std::vector<std::string> methods;
};

MemberList ReadMemberList(const std::string& text) {
    MemberList list;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind("a:", 0) == 0) list.properties.push_back(line.substr(2));
        if (line.rfind("m:", 0) == 0) list.methods.push_back(line.substr(2));
    }
    return list;
}

bool Named(const std::vector<std::string>& names, const Item& item) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return strings::EqualNoCase(name, item.name);
    });
}

void KeepNamed(std::vector<Item>& items, const std::vector<std::string>& names) {
    items.erase(std::remove_if(items.begin(), items.end(),
                               [&](const Item& item) { return !Named(names, item); }),
                items.end());
}

bool SupportsFeature(Session& session, const std::string& feature) {
    if (!strings::EqualNoCase(feature, m::kFeatureSecurity)) return false;
    return NamespaceEnforcesSecurity(*session.store, session.ns);
}

// The class methods, answered alike by the class handle and by an instance.
bool ClassMethod(Session& session, std::string_view name, const Args& args, Variant& result) {
    if (strings::EqualNoCase(name, m::kSupportFeature)) {
        result = SupportsFeature(session, Arg(args, 0).ToString());
        return true;
    }
    if (strings::EqualNoCase(name, m::kHasSecurityPermission)) {
        result = HasDevelopment(*session.store, session.user);
        return true;
    }
    return false;
}

class UtilityClassHandle : public NamedObject {
  public:
    explicit UtilityClassHandle(SessionRef session) : session_(std::move(session)) {}
    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        Variant result;
        if (ClassMethod(*session_, name, args, result)) return result;
        MemberNotFound();
    }

  private:
    SessionRef session_;
};

class PlainClassHandle : public NamedObject {
  public:
    Variant Dispatch(std::string_view, CallKind, const Args&) override { MemberNotFound(); }
};

// An unsaved instance of the utility class: the XML transfer of one class.
class UtilityObject : public NamedObject {
  public:
    explicit UtilityObject(SessionRef session)
        : session_(std::move(session)),
          xml_(std::make_shared<StreamObject>()),
          memberList_(std::make_shared<StreamObject>()) {}

    Variant Dispatch(std::string_view name, CallKind kind, const Args& args) override {
        if (strings::EqualNoCase(name, m::kXmlStream)) return ObjectRef(xml_);
        if (strings::EqualNoCase(name, m::kMemberListStream)) return ObjectRef(memberList_);
        if (strings::EqualNoCase(name, m::kNewClassName)) {
            if (kind != CallKind::Put) return newClassName_;
            newClassName_ = Arg(args, args.empty() ? 0 : args.size() - 1).ToString();
            return {};
        }
        if (strings::EqualNoCase(name, m::kLoadToXmlStream))
            return LoadToXmlStream(Arg(args, 0).ToString());
        if (strings::EqualNoCase(name, m::kSaveFromXmlStream)) return SaveFromXmlStream();
        if (strings::EqualNoCase(name, m::kSysClose)) return std::int32_t{1};
        Variant result;
        if (ClassMethod(*session_, name, args, result)) return result;
        MemberNotFound();
    }

  private:
    Variant LoadToXmlStream(const std::string& className) {
        ClassDef def;
        try {
            if (!LoadClass(*session_->store, session_->ns, className, def)) {
                Refuse("class definition " + className + " does not exist");
            }
        } catch (const StoreError& error) {
            Refuse(error.what());
        }
        xml_->data = RenderClassXml(def);
        return std::int32_t{1};
    }

    // Stores the class of the XML under NewClassName with every part that is not a property
    // or method, and of those only the ones the member list names: members the model has
    // dropped are gone, members it still has keep what the model cannot show. The XML is
    // sent first and the members follow: the session keeps the class's lock until it saves
    // the class definition (or ends), so that no other session's edits mix in.
    Variant SaveFromXmlStream() {
        XmlParseResult parsed = ParseClassXml(xml_->data);
        if (!parsed.ok) {
            Refuse("cannot store the class XML: " + parsed.message + " (at offset " +
                   std::to_string(parsed.offset) + ")");
        }
        ClassDef def = std::move(parsed.def);
        if (!newClassName_.empty()) def.name = newClassName_;
        std::string problem = ClassNameProblem(def.name);
        if (!problem.empty()) Refuse("cannot store the class XML: " + problem);
        MemberList list = ReadMemberList(memberList_->data);
        KeepNamed(def.properties, list.properties);
        KeepNamed(def.methods, list.methods);
        TakeClassLock(session_, def.name);
        try {
            SaveClass(*session_->store, session_->ns, def, Actor{session_->user}, /*replace=*/true);
        } catch (const StoreError& error) {
            DropClassLock(session_, def.name);
            Refuse(error.what());
        }
        KeepClassLock(session_, def.name, /*keep=*/true);
        DropClassLock(session_, def.name);
        return std::int32_t{1};
    }

    SessionRef session_;
    std::shared_ptr<StreamObject> xml_;
    std::shared_ptr<StreamObject> memberList_;
    std::string newClassName_;
};

}  // namespace

ObjectRef NewUtilityObject(SessionRef session) {
    return std::make_shared<UtilityObject>(std::move(session));
}

ObjectRef NewUtilityClassHandle(SessionRef session) {
    return std::make_shared<UtilityClassHandle>(std::move(session));
}

ObjectRef NewPlainClassHandle() { return std::make_shared<PlainClassHandle>(); }

}  // namespace tavro::objects_internal
