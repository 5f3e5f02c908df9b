#include "automation/rpc.h"
#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/objects/objects_internal.h"
#include "strings/strings.h"

namespace tavro {

namespace m = members;
using namespace objects_internal;

namespace {

// A member id "Class:member" names a member of a class; an id without ':' names the member
// of no class yet (it gets one when it is inserted).
void SplitMemberId(const std::string& id, std::string& parent, std::string& member) {
    std::size_t colon = id.find(':');
    if (colon == std::string::npos) {
        parent.clear();
        member = id;
        return;
    }
    parent = id.substr(0, colon);
    member = id.substr(colon + 1);
}

class SessionObject : public NamedObject {
  public:
    explicit SessionObject(SessionRef session) : session_(std::move(session)) {}

    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        if (strings::EqualNoCase(name, m::kNewObject))
            return NewObject(Arg(args, 0).ToString(), OptionalText(args, 1));
        if (strings::EqualNoCase(name, m::kOpenObjectById) ||
            strings::EqualNoCase(name, m::kLoadObjectById)) {
            return OpenById(Arg(args, 0).ToString(), Arg(args, 1).ToString(),
                            strings::EqualNoCase(name, m::kOpenObjectById) ? ClassOrigin::Opened
                                                                           : ClassOrigin::Loaded);
        }
        if (strings::EqualNoCase(name, m::kClassHandle))
            return ClassHandle(Arg(args, 0).ToString());
        if (strings::EqualNoCase(name, m::kOpenQuery))
            return OpenQuery(Arg(args, 0).ToString(), Arg(args, 1).ToString());
        if (strings::EqualNoCase(name, m::kNamespace)) return session_->ns;
        if (strings::EqualNoCase(name, m::kUserName)) return session_->user;
        if (strings::EqualNoCase(name, m::kBeginTrial)) {
            BeginTrial(*session_->store);
            return true;
        }
        if (strings::EqualNoCase(name, m::kEndTrial)) {
            EndTrial(*session_->store);
            return true;
        }
        MemberNotFound();
    }

  private:
    Variant NewObject(const std::string& className, const std::string& initial) {
        if (strings::EqualNoCase(className, m::kClassDefinition)) {
            ClassDef def;
            def.name = initial;
            return ObjectRef(
                std::make_shared<ClassObject>(session_, std::move(def), ClassOrigin::New));
        }
        if (strings::EqualNoCase(className, m::kPropertyDefinition) ||
            strings::EqualNoCase(className, m::kMethodDefinition)) {
            ItemKind kind = strings::EqualNoCase(className, m::kPropertyDefinition)
                                ? ItemKind::Property
                                : ItemKind::Method;
            std::string parent, member;
            SplitMemberId(initial, parent, member);
            return ObjectRef(std::make_shared<ItemObject>(session_, kind, parent, member));
        }
        if (strings::EqualNoCase(className, m::kUtility)) return NewUtilityObject(session_);
        if (ClassExists(*session_->store, session_->ns, className)) {
            Refuse("instances of " + className + " cannot be created through this connection");
        }
        Refuse("class " + className + " does not exist");
    }

    // Opens an existing definition; an id that names none is an error. A class definition
    // opened (not loaded) is opened for editing and takes the class's lock.
    Variant OpenById(const std::string& className, const std::string& id, ClassOrigin origin) {
        if (strings::EqualNoCase(className, m::kClassDefinition)) {
            ClassDef def;
            if (!LoadClass(*session_->store, session_->ns, id, def)) {
                Refuse("class definition " + id + " does not exist");
            }
            return ObjectRef(std::make_shared<ClassObject>(session_, std::move(def), origin));
        }
        if (strings::EqualNoCase(className, m::kPropertyDefinition) ||
            strings::EqualNoCase(className, m::kMethodDefinition)) {
            bool property = strings::EqualNoCase(className, m::kPropertyDefinition);
            std::string parent, member;
            SplitMemberId(id, parent, member);
            ClassDef def;
            if (LoadClass(*session_->store, session_->ns, parent, def)) {
                for (const Item& item : property ? def.properties : def.methods) {
                    if (strings::EqualNoCase(item.name, member))
                        return ObjectRef(ItemObjectOf(session_, def.name, item));
                }
            }
            Refuse(std::string(property ? "property" : "method") + " definition " + id +
                   " does not exist");
        }
        Refuse("no object of class " + className + " has the id " + id);
    }

    Variant ClassHandle(const std::string& className) {
        if (strings::EqualNoCase(className, m::kUtility)) return NewUtilityClassHandle(session_);
        if (!ClassExists(*session_->store, session_->ns, className))
            Refuse("class " + className + " does not exist");
        return NewPlainClassHandle();
    }

    Variant OpenQuery(const std::string& className, const std::string& queryName) {
        if (strings::EqualNoCase(className, m::kClassDefinition) &&
            strings::EqualNoCase(queryName, m::kSummaryQuery)) {
            return NewSummaryResultSet(session_);
        }
        Refuse("query " + className + ":" + queryName + " does not exist");
    }

    SessionRef session_;
};

class LoginObject : public NamedObject {
  public:
    LoginObject(std::string dataDir, std::string address, std::shared_ptr<LoginGuard> guard)
        : dataDir_(std::move(dataDir)), address_(std::move(address)), guard_(std::move(guard)) {}

    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        if (!strings::EqualNoCase(name, m::kLogin)) MemberNotFound();
        std::string ns = Arg(args, 0).ToString();
        std::string user = Arg(args, 1).ToString();
        std::string password = Arg(args, 2).ToString();
        // The hash takes tens of milliseconds: the server goes on with other clients meanwhile.
        return automation::rpc::Defer([dataDir = dataDir_, address = address_, guard = guard_,
                                       ns = std::move(ns), user = std::move(user),
                                       password = std::move(password)]() -> Variant {
            SessionRef session;
            try {
                session = OpenSession(dataDir, ns, user, password);
            } catch (const automation::AutomationError& e) {
                throw automation::rpc::HeldError(e.Description(), guard->Failed(user, address));
            }
            guard->Succeeded(user);
            automation::rpc::Authenticate();
            return NewSessionObject(std::move(session));
        });
    }

  private:
    std::string dataDir_;
    std::string address_;
    std::shared_ptr<LoginGuard> guard_;
};

}  // namespace

SessionRef OpenSession(const std::string& dataDir, const std::string& ns, const std::string& user,
                       const std::string& password) {
    auto session = std::make_shared<Session>();
    try {
        session->store.db = OpenStore(dataDir);
        Store& store = *session->store.db;
        // The same answer for an unknown user and a wrong password tells a guesser nothing.
        if (!CheckPassword(store, user, password))
            Refuse("access denied: wrong user name or password");
        if (strings::EqualNoCase(ns, kSystemNamespace) || !NamespaceExists(store, ns)) {
            Refuse("access denied: no namespace " + ns);
        }
        session->store.user = user;
        session->store.account = AccountKey(store, user);
    } catch (const StoreError& error) {
        Refuse(std::string("access denied: ") + error.what());
    }
    session->ns = ns;
    session->user = user;
    return session;
}

automation::ObjectRef NewSessionObject(SessionRef session) {
    return std::make_shared<SessionObject>(std::move(session));
}

automation::ObjectRef NewLoginObject(const std::string& dataDir, const std::string& peer,
                                     std::shared_ptr<LoginGuard> guard) {
    if (!guard) guard = std::make_shared<LoginGuard>();
    // "HOST:PORT": failures count per host, whatever port the client came from.
    std::string address = peer.substr(0, peer.rfind(':'));
    return std::make_shared<LoginObject>(dataDir, address, std::move(guard));
}

}  // namespace tavro
