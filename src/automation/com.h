// Automation objects of other Windows programs, reached through COM, and our own objects offered
// to them (Windows only).
//
// A COM object becomes an `Object` whose calls are IDispatch::Invoke: by dispatch id as given,
// by name through GetIDsOfNames (asked once per object and name). Arguments and results travel
// as VARIANTs: strings as BSTR (UTF-8 here, UTF-16 there), 16- and 32-bit integers, Booleans as
// -1 and 0, objects as IDispatch, empty as VT_EMPTY. An exception the other program raises
// comes back as `AutomationError` with its description. `Implements` asks QueryInterface for
// the interface, so the answer is the object's own.
//
// The other way, any `Object` can be handed to COM as an IDispatch: Invoke calls the object
// with the same dispatch id, a name gets an id of its own that calls the object by that name,
// an `AutomationError` becomes DISP_E_EXCEPTION with its text, and QueryInterface answers every
// interface the object implements. An object that goes out and comes back arrives as itself.
//
// Every routine here runs on the thread that initialised COM for the caller's apartment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "automation/automation.h"

struct IDispatch;
struct IUnknown;

namespace automation::com {

// The Object of a COM object; nullptr for no object. Our own adapter gives back the object it
// adapts. `peer` names the program in the errors of a lost connection ("... closed the
// connection"); the objects reached from this one inherit it.
ObjectRef ObjectOfDispatch(IDispatch* dispatch, const std::string& peer);

// A new reference to an IDispatch for `object` (nullptr for no object): the object's own
// interface when it is a COM object, else an adapter, one per live object.
IDispatch* DispatchOfObject(const ObjectRef& object);

// Initialises COM for the calling thread as a single-threaded apartment (once per thread; a
// thread that has it already keeps what it has).
void InitializeApartment();

// The running object of `progId` (GetActiveObject), or a new one (CoCreateInstance of a local
// server or a library). Each raises AutomationError when there is none.
ObjectRef ActiveObject(const std::string& progId, const std::string& peer);
ObjectRef NewObject(const std::string& progId, const std::string& peer);

// The text of an HRESULT for an error: our own texts for the automation errors that have one,
// `peer` + " closed the connection" for a program that has gone, else the system's message.
std::string ErrorText(long hr, const std::string& peer);

// --- Offering objects ---

// How many of our objects other processes hold through adapters (a server ends when none).
std::size_t AdapterCount();

// Calls that reached our adapters since the process started: Invoke and GetIDsOfNames, and
// QueryInterface for interfaces other than IUnknown and IDispatch (casts). For measuring how
// chatty a caller is.
struct ServedCounts {
    std::uint64_t calls = 0;
    std::uint64_t casts = 0;
};
ServedCounts ServedCallCounts();

// Declares dispatch interfaces with these identifiers in a type library at `libraryPath`
// and registers it, so that COM can carry calls of these interfaces between processes (a cast
// of an object of another process to one of them then works, or fails when the object has it
// not). `libraryId` names the library. Raises AutomationError when registration fails.
void RegisterInterfaces(const std::string& libraryId, const std::string& libraryPath,
                        const std::vector<std::string>& iids);

// Puts `object` into the running object table as the running instance of the class `clsid`
// ("{...}"), so that ActiveObject finds it. Returns the registration, for RevokeActive.
std::uint32_t RegisterActive(const std::string& clsid, const ObjectRef& object);
void RevokeActive(std::uint32_t registration);

// Makes this process the server of one object of the class `clsid`, `make()`, for the first
// process that creates one; COM starts another server for the next (so each caller's object
// lives in a process started by that caller, with that caller's environment). Returns the
// registration, for RevokeFactory.
std::uint32_t RegisterFactory(const std::string& clsid, std::function<ObjectRef()> make);
void RevokeFactory(std::uint32_t registration);

}  // namespace automation::com
