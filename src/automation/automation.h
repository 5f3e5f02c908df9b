// Automation values and objects: what the add-in sees of the modelling tool and the server.
//
// Every object of either side is reached through `Object`: property get, property put and
// method call, each by dispatch id or by member name, and an interface cast by identifier.
// A dispatch id means something only on the kind of object it is called on, so an object
// answers the ids of its own kind and raises `AutomationError` for any other.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace automation {

class Object;
using ObjectRef = std::shared_ptr<Object>;

// An error raised by the modelling tool or the server (or by the automation layer on their
// behalf). Inside a process it is an exception; on the wire it is an error reply.
class AutomationError : public std::runtime_error {
  public:
    explicit AutomationError(const std::string& description) : std::runtime_error(description) {}
    std::string Description() const { return what(); }
};

// Texts of the errors the automation layer raises by itself.
inline constexpr std::string_view kErrTypeMismatch = "Type mismatch";
inline constexpr std::string_view kErrObjectNotSet =
    "Object variable or With block variable not set";
inline constexpr std::string_view kErrMemberNotFound = "Member not found";
inline constexpr std::string_view kErrNoInterface = "No such interface supported";
inline constexpr std::string_view kErrBadArgCount = "Invalid number of parameters";

enum class VariantType : std::uint8_t { Empty, Bool, Int16, Int32, String, Object };

// An automation argument or result: empty, Boolean, 16- or 32-bit integer, UTF-8 string or
// object reference. The To... conversions coerce the way the add-in's callers expect of
// automation values and raise `AutomationError` ("Type mismatch") where no coercion exists.
class Variant {
  public:
    Variant() = default;
    Variant(bool v) : value_(v) {}
    Variant(std::int16_t v) : value_(v) {}
    Variant(std::int32_t v) : value_(v) {}
    Variant(std::string v) : value_(std::move(v)) {}
    Variant(std::string_view v) : value_(std::string(v)) {}
    Variant(const char* v) : value_(std::string(v)) {}
    Variant(ObjectRef v) : value_(std::move(v)) {}
    template <class T>
    requires(std::is_base_of_v<Object, T> && !std::is_same_v<T, Object>)
        Variant(std::shared_ptr<T> v)
        : value_(ObjectRef(std::move(v))) {}

    VariantType Type() const { return static_cast<VariantType>(value_.index()); }
    bool IsEmpty() const { return Type() == VariantType::Empty; }
    bool IsObject() const { return Type() == VariantType::Object; }

    // Exact accessors: the value must be of that type (else "Type mismatch").
    bool AsBool() const;
    std::int16_t AsInt16() const;
    std::int32_t AsInt32() const;
    const std::string& AsString() const;
    const ObjectRef& AsObject() const;

    // Coercions. Booleans give "True"/"False" as text; text gives a Boolean when it is
    // "True" or "False" in any letter case or a number (0 false, any other true); empty
    // gives "", 0 and False; an object converts to nothing but itself.
    std::string ToString() const;
    bool ToBool() const;
    std::int32_t ToInt32() const;
    std::int16_t ToInt16() const;  // "Overflow" outside -32768..32767
    ObjectRef ToObject() const;    // empty gives no object

    bool operator==(const Variant& other) const;

  private:
    std::variant<std::monostate, bool, std::int16_t, std::int32_t, std::string, ObjectRef> value_;
};

using Args = std::vector<Variant>;

enum class CallKind : std::uint8_t { Get = 1, Put = 2, Method = 3 };

// What the caller makes of a call, for objects of another process that can send a call ahead
// without waiting for its reply. `Result`: the caller reads the result (or may). `NoResult`:
// the result is dropped, so the call may travel without waiting. `ReadOnly`: the call reads
// and changes nothing, so it may run while calls sent ahead to another process are still
// unanswered.
enum class CallUse : std::uint8_t { Result, NoResult, ReadOnly };

// A method call by member name that a loop makes on one object each time round (see
// SendLoopAhead); `reads` when the call only reads.
struct LoopCall {
    std::string_view name;
    Args args;
    bool reads;
};

// The dispatch interface. For a put, the value is the last argument.
class Object {
  public:
    virtual ~Object() = default;

    virtual Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) = 0;
    virtual Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) = 0;

    // True when the object offers the interface with this identifier (a GUID text in
    // braces, compared without regard to letter case).
    virtual bool Implements(std::string_view iid) const = 0;

    // Every interface identifier the object offers, so that a copy of the object in another
    // process can answer `Implements` by itself; empty when it has to ask.
    virtual std::vector<std::string> InterfaceIds() const { return {}; }

    // The calls above, told how the caller uses them. An object of this process runs them the
    // same way; a NoResult call gives an empty result.
    virtual Variant InvokeAs(std::int32_t dispid, CallKind kind, const Args& args, CallUse) {
        return Invoke(dispid, kind, args);
    }
    virtual Variant InvokeByNameAs(std::string_view name, CallKind kind, const Args& args,
                                   CallUse) {
        return InvokeByName(name, kind, args);
    }

    // A call, by name when `byName`, whose result the caller uses only as an object, to call,
    // put to or pass on, cast to `iid` unless that is empty (see GetObject). An object of
    // this process makes the call and the cast.
    virtual ObjectRef InvokeForObject(std::int32_t dispid, std::string_view name, bool byName,
                                      CallKind kind, const Args& args, std::string_view iid);

    // True when reads of this object can be announced ahead (see AnnounceReads).
    virtual bool ReadsAhead() const { return false; }
    // See SendLoopAhead; an object whose every call is its own round trip ignores it.
    virtual void SendLoopAhead(const std::vector<LoopCall>& /*calls*/, int /*rounds*/) {}
};

// Call helpers. Each raises `AutomationError` when `obj` is no object.
Variant Get(const ObjectRef& obj, std::int32_t dispid, const Args& args = {});
void Put(const ObjectRef& obj, std::int32_t dispid, Variant value);
Variant Call(const ObjectRef& obj, std::int32_t dispid, const Args& args = {});
Variant GetByName(const ObjectRef& obj, std::string_view name, const Args& args = {});
void PutByName(const ObjectRef& obj, std::string_view name, Variant value);
Variant CallByName(const ObjectRef& obj, std::string_view name, const Args& args = {});
// Method calls whose result the caller drops.
void CallNoResult(const ObjectRef& obj, std::int32_t dispid, const Args& args = {});
void CallByNameNoResult(const ObjectRef& obj, std::string_view name, const Args& args = {});
// Calls whose result the caller uses only as an object, at once: it calls it, puts to it or
// passes it on, and reads nothing of it but through such calls. The result is cast to `iid`
// unless that is empty. Inside an rpc::Pipeline, over our sockets, such a call travels without
// waiting, like a put: the other process keeps its result under a handle this process names,
// and fails the call the way using the result would have failed (no object, another type,
// another interface); the error surfaces at the pipeline's next wait, the rest unrun.
ObjectRef GetObject(const ObjectRef& obj, std::int32_t dispid, std::string_view iid,
                    const Args& args = {});
ObjectRef GetObjectByName(const ObjectRef& obj, std::string_view name, std::string_view iid = {},
                          const Args& args = {});
ObjectRef CallForObject(const ObjectRef& obj, std::int32_t dispid, std::string_view iid,
                        const Args& args = {});
ObjectRef CallByNameForObject(const ObjectRef& obj, std::string_view name,
                              std::string_view iid = {}, const Args& args = {});
// Method calls that only read.
Variant CallReadOnly(const ObjectRef& obj, std::int32_t dispid, const Args& args = {});
Variant CallByNameReadOnly(const ObjectRef& obj, std::string_view name, const Args& args = {});

// --- Reads announced ahead ---
//
// Why this shape. Over our sockets a call costs a round trip, two context switches, far more
// than the call itself; over COM a call costs about as much and nothing can be batched. So
// the routines first make fewer calls wherever the answer cannot have changed (a definition
// being filled is locked to the session: its member collections are read once per class, not
// once per member), which serves both transports. What is left are runs of reads that do not
// depend on each other, or only a few steps deep: over our sockets those are walked ahead and
// travel together, and a loop over a result set sends its rounds ahead. Writes go ahead
// without waiting inside an rpc::Pipeline, and so do the calls whose object result a routine
// only writes to (a new server object, an element just created in the model, see GetObject):
// the result stands under a handle this process names, so the writes to it follow in the same
// write to the socket. All of this is invisible to the routines' error handling: every error
// is raised by the call that would have raised it one call at a time, or, for calls sent
// ahead, by the pipeline's wait, inside the routine that traps it, the calls after it unrun.
//
// A run that reads much of one element at a time (a class and its members, a definition and
// its members) saves a round trip per read when the other process is reached over our
// sockets: it first walks the reads it is about to make (`AnnounceReads`), which sends them in
// one write per connection and reads their replies together, a few times over for reads that
// depend on earlier ones; while a `ReadScope` is open each connection keeps the replies
// (results and errors alike) and answers the run's identical read from them. Over COM, and
// for objects of this process, every call is its own call anyway: walking there would only
// double the calls, so a run walks only where `ReadsAhead` says so.
//
// What is kept is what the other side would answer again: a connection forgets everything it
// kept as soon as a call that may change something is made on it, so a read never sees a value
// older than the last change the run itself made there. Walking changes neither the order of
// the calls that change something nor which call raises an error: a kept error is raised by
// the read itself, where the run makes it, as if it had just been sent. A read is a property
// get or a method call made with CallUse::ReadOnly; only those are kept.
class ReadScope {
  public:
    ReadScope();
    ~ReadScope();  // the outermost scope's end forgets every kept reply
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
};

// Raised inside AnnounceReads by any call that is no read (it is not sent).
class NotYetRead : public std::exception {
  public:
    const char* what() const noexcept override { return "not read yet"; }
};

// Runs `walk` until it announces nothing new, fetching what each round announced: each read
// is answered from what is kept, or announced and read as nothing (an empty value; a call on
// no object also reads as nothing) until the next round. `walk` makes the reads of the run
// ahead, catching per branch whatever they raise (a kept error). Does nothing outside a
// ReadScope.
void AnnounceReads(const std::function<void()>& walk);
// One branch of a walk: whatever it raises (not read yet, or the read's own error, which the
// run raises again when it makes the read) ends that branch only.
// A branch whose reads were all answered from what is kept is passed over in later rounds:
// it would read the same again.
bool BeginWalkBranch();  // false: pass over the branch
void EndWalkBranch();
template <class Fn>
void WalkBranch(Fn&& fn) {
    if (!BeginWalkBranch()) return;
    try {
        fn();
    } catch (...) {
    }
    EndWalkBranch();
}
// True when announcing reads of `obj` saves round trips.
bool ReadsAhead(const ObjectRef& obj);
// True while a ReadScope is open.
bool ReadScopeOpen();

// --- A loop's calls sent ahead ---
//
// A loop that walks a result set to its end makes the same calls on the same object each time
// round ("Next", then reads of the row's columns), and each call's reply is all it waits for.
// Over our sockets such a loop sends `rounds` rounds of `calls` at once and then takes its
// replies in order: each call the loop makes is answered by the first call sent ahead that is
// the same, reading calls that the loop left out being passed over. A call that matches none
// (the loop has ended) drops what is left: those calls have run, which for the end of a
// result set means one "Next" more that answers False and column reads that fail, and nothing
// else. Over COM and in-process nothing is sent ahead.
void SendLoopAhead(const ObjectRef& obj, const std::vector<LoopCall>& calls, int rounds);

// The interface cast: returns `obj` itself when it implements `iid`, else raises
// "No such interface supported". No object stays no object.
ObjectRef Cast(const ObjectRef& obj, std::string_view iid);

// True when two interface identifiers name the same interface.
bool SameIid(std::string_view a, std::string_view b);

}  // namespace automation
