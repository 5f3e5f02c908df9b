// Classes an export deleted and did not write again, and what brings each back.
#include <algorithm>

#include "export/export.h"
#include "export/export_internal.h"
#include "server/server.h"

namespace exporting {

std::function<bool()> StopRequested;

namespace {

std::vector<DeletedClass>& Deleted() {
    static std::vector<DeletedClass> deleted;
    return deleted;
}

}  // namespace

const std::vector<DeletedClass>& ClassesDeletedNotSaved() { return Deleted(); }

std::string RestoreCommand(const DeletedClass& deleted) {
    return "tavro-host class restore " + deleted.nameSpace + " " + deleted.className;
}

void NoteDeleted(const std::string& className) {
    NoteSaved(className);
    Deleted().push_back(DeletedClass{server::ConnectionNamespace, className});
}

void NoteSaved(const std::string& className) {
    std::erase_if(Deleted(),
                  [&](const DeletedClass& deleted) { return deleted.className == className; });
}

void ForgetDeletedClasses() { Deleted().clear(); }

std::string ConfirmDeletedText(const std::string& className) {
    auto noted = std::find_if(Deleted().begin(), Deleted().end(), [&](const DeletedClass& deleted) {
        return deleted.className == className;
    });
    if (noted == Deleted().end()) return "";
    std::string text =
        "; the class was deleted and not saved again, restore it with: " + RestoreCommand(*noted);
    // A server that cannot be asked any more may have lost the class: it stays named.
    if (server::ClassDefinitionExists(className)) {
        NoteSaved(className);
        return "";
    }
    return text;
}

}  // namespace exporting
