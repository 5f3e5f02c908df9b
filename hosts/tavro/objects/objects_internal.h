// The object classes behind objects.h, shared by the folder's files.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/xml/dictionary.h"

namespace tavro::objects_internal {

using automation::Args;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;

// An object whose members are found by name, without regard to letter case. Dispatch ids
// mean nothing on this side: every call comes by name.
// A refusal of the store reaches the caller as an automation error with the store's text.
class NamedObject : public automation::Object {
  public:
    Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) override;
    Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) final;
    bool Implements(std::string_view iid) const override;

  protected:
    virtual Variant Dispatch(std::string_view name, CallKind kind, const Args& args) = 0;
};

// Argument `index` of a call, raising "Invalid number of parameters" when it is missing.
const Variant& Arg(const Args& args, std::size_t index);
// The argument at `index` as text, "" when it was left out.
std::string OptionalText(const Args& args, std::size_t index);
// Raises the automation layer's "Member not found".
[[noreturn]] void MemberNotFound();
// Raises an error with the store's text, as the server reports a refused operation.
[[noreturn]] void Refuse(const std::string& text);

// Editing locks. A class definition opened or created for editing belongs to its session
// until the session saves or closes it, or ends; another session's open, delete or save of it
// is refused with "class NAME is locked by user USER". The server's own classes take none.
// Takes the lock for one more holder of the session (refused when another session holds it).
void TakeClassLock(const SessionRef& session, const std::string& className);
// One holder fewer; the lock goes with its last holder unless the session keeps it.
void DropClassLock(const SessionRef& session, const std::string& className);
// Keeps the session's lock without a holder (a class it deleted or stored from XML and is
// about to save), or stops keeping it (the class is saved). The lock must be held.
void KeepClassLock(const SessionRef& session, const std::string& className, bool keep);

// Bytes a character stream holds at most: far beyond any class definition's XML, and a bound
// on what one client can make the server keep.
inline constexpr std::size_t kMaxStreamSize = 16u * 1024u * 1024u;

// A character stream: text written in pieces and read back whole, up to kMaxStreamSize.
class StreamObject : public NamedObject {
  public:
    Variant Dispatch(std::string_view name, CallKind kind, const Args& args) override;
    std::string data;
};

// A definition of a property or method, the item it edits shared with its parameter array.
class ItemObject : public NamedObject {
  public:
    ItemObject(SessionRef session, ItemKind kind, std::string parent, std::string name);
    Variant Dispatch(std::string_view name, CallKind kind, const Args& args) override;

    SessionRef session;
    std::string parent;  // the class the member belongs to
    std::shared_ptr<Item> item;
    ObjectRef parameters;  // the property's type parameters (no object for a method)
    // Came with the stored definition and was not inserted since: a member inserted under a
    // name that differs only in letter case takes its place (a rename), where it would clash
    // with one the client inserted.
    bool fromStore = false;
};

// The Properties or Methods of a class definition.
class CollectionObject : public NamedObject {
  public:
    explicit CollectionObject(ItemKind kind) : kind_(kind) {}
    Variant Dispatch(std::string_view name, CallKind kind, const Args& args) override;

    ItemKind kind_;
    std::string owner;  // the class name, given to inserted members as their parent
    std::vector<std::shared_ptr<ItemObject>> items;
};

// How a class definition object came to be: created, opened for editing (it holds the class's
// lock) or loaded to be read (it takes the lock only to save or delete).
enum class ClassOrigin { New, Opened, Loaded };

// A %Dictionary.ClassDefinition, new or from the store. A new one with a name the dictionary
// would not store is refused here, where it is created.
class ClassObject : public NamedObject {
  public:
    ClassObject(SessionRef session, ClassDef def, ClassOrigin origin);
    ~ClassObject() override;
    Variant Dispatch(std::string_view name, CallKind kind, const Args& args) override;
    // The definition as it stands, members included.
    ClassDef Current() const;

  private:
    Variant Save();
    Variant Delete(const Args& args);
    void Rename(const std::string& name);
    void Release();

    SessionRef session_;
    ClassDef def_;
    std::string openedId_;    // "" until the definition exists in the store
    std::string lockedName_;  // the class whose lock this object holds, "" for none
    std::shared_ptr<CollectionObject> properties_;
    std::shared_ptr<CollectionObject> methods_;
};

// Builds the object of an item loaded from the store.
std::shared_ptr<ItemObject> ItemObjectOf(SessionRef session, const std::string& parent,
                                         const Item& item);

// The result set of the query "Summary".
ObjectRef NewSummaryResultSet(SessionRef session);

// An unsaved instance of the utility class, and the handle for its class methods.
ObjectRef NewUtilityObject(SessionRef session);
ObjectRef NewUtilityClassHandle(SessionRef session);
// The handle of any other class: it has no class methods the add-in calls.
ObjectRef NewPlainClassHandle();

}  // namespace tavro::objects_internal
