// The server side of a run: the connection through the server's client factory and the
// "Development" permission check, the class query that lists and classifies the server's
// classes, and the transfer of a class's XML definition.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "automation/automation.h"

namespace server {

// The server's connection factory ("TavroActiveX.Factory"); none until ConnectToServer.
extern automation::ObjectRef ServerFactory;
// The namespace of the open connection, as an import run shows it.
extern std::string ServerNamespace;
// The namespace of the connection last opened, whichever run opened it (an export keeps no
// namespace of its own, yet names it in the command that restores a class it deleted).
extern std::string ConnectionNamespace;

// The kind of one server class: 1 serial, 2 persistent, 3 datatype, 4 other.
struct ClassDesc {
    std::int16_t ClassType = 4;
};
inline constexpr std::int16_t kSerialClass = 1;
inline constexpr std::int16_t kPersistentClass = 2;
inline constexpr std::int16_t kDatatypeClass = 3;
inline constexpr std::int16_t kOtherClass = 4;

// ClassDesc records keyed by full server class name, letter case ignored; the first record
// added under a key stays.
class ClassTypes {
  public:
    // False (and nothing changes) when the key is already present.
    bool Add(std::string_view name, ClassDesc desc);
    // None when the key is absent.
    const ClassDesc* Find(std::string_view name) const;
    std::size_t Count() const { return map_.size(); }
    void Clear() { map_.clear(); }

  private:
    std::unordered_map<std::string, ClassDesc> map_;  // keys in upper case
};

// Rebuilt at the start of every export and import run.
extern ClassTypes ServerClassTypes;

// True when a usable connection is open. A fresh connection sets `nameSpace` to the text after
// the connection string's second ':' ("" when there is none); a reused one leaves it alone; a
// failure sets it to "". Every error is trapped (result False, no message) except that a
// refused permission shows "No 'Development' Security Permission" and closes the connection.
bool ConnectToServer(std::string& nameSpace);
// True when the user may change class definitions; errors pass to the caller.
bool HasDevelopmentPermission();
// The server utility's answer; False on any error.
bool ServerSupportsFeature(const std::string& feature);
// True when a class definition with this id can be opened; False on any error.
bool ClassDefinitionExists(const std::string& className);

// Fills `types` from the "Summary" query. A missing column shows "Internal Error in ClassInfo
// Query" and ends the process; every other error is passed over step by step.
void LoadServerClassTypes(ClassTypes& types);
// Connects (Retry/Cancel loop), shows the namespace, and refills the transfer window's
// available list with the server's classes as its two include check boxes allow.
void LoadTavroClassList();

// The class definition opened by id, or none on any error.
automation::ObjectRef OpenClassDefinition(const std::string& className);
// The class's XML as the server utility renders it, or "" on any error.
std::string LoadClassXml(const std::string& className);
// Stores `xml` under the server name of the model class, with the member list of the class's
// exported members; an error is shown in a message box and the caller goes on.
void SaveClassXml(const std::string& xml, const automation::ObjectRef& roseClass);

// A class whose XML SaveClassXml could not store: it was written without the parts that only
// its XML holds (storage, queries, indices, code).
struct ClassXmlFailure {
    std::string className;  // the server name of the model class, "" when it could not be read
    std::string error;      // the error's description, as the message box showed it
};
// The failures since ForgetClassXmlFailures (the export driver calls it as each run starts),
// in the order they happened.
const std::vector<ClassXmlFailure>& ClassXmlFailures();
void ForgetClassXmlFailures();

}  // namespace server
