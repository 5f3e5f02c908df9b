#include <algorithm>
#include <cctype>
#include <exception>

#include "automation/rpc.h"
#include "import/import.h"
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"
#include "strings/strings.h"
#include "window/window.h"

namespace importing {

namespace m = members;

RoseClassCollection NewRoseClasses;

namespace {

void StripAssociations(const ObjectRef& roseClass) {
    // The collection is fetched again for every index: deletions change what it lists.
    for (std::int16_t i = rose::Count(rose::Associations(roseClass)); i >= 1; --i) {
        ObjectRef a = rose::AssociationAt(rose::Associations(roseClass), i);
        if (!a) continue;
        ObjectRef far = rose::OtherRoleOf(a, roseClass);
        ObjectRef near = rose::RoleOf(a, roseClass);
        if (rose::IsSelfAssociation(far, near)) {
            rose::DeleteAssociation(roseClass, a);
            continue;
        }
        // An unnamed far role means the association is the other class's property alone.
        if (rose::Name(far).empty()) continue;
        // A named near role is the other class's property: it keeps its side, this class's
        // side is emptied until the member pass fills it again.
        if (!rose::Name(near).empty()) {
            rose::SetName(far, "");
            rose::SetMultiplicity(far, "");
            continue;
        }
        rose::DeleteAssociation(roseClass, a);
    }
}

void StripAttributes(const ObjectRef& roseClass) {
    for (std::int16_t i = rose::Count(rose::Attributes(roseClass)); i >= 1; --i) {
        ObjectRef attribute = rose::AttributeAt(rose::Attributes(roseClass), i);
        if (attribute) rose::DeleteAttribute(roseClass, attribute);
    }
}

void StripOperations(const ObjectRef& roseClass) {
    for (std::int16_t i = rose::Count(rose::Operations(roseClass)); i >= 1; --i) {
        ObjectRef operation = rose::OperationAt(rose::Operations(roseClass), i);
        if (operation) rose::DeleteOperation(roseClass, operation);
    }
}

void StripSuperclassLinks(const ObjectRef& roseClass) {
    ObjectRef links = rose::SuperclassLinks(roseClass);
    for (std::int16_t i = rose::Count(links); i >= 1; --i) {
        rose::DeleteSuperclassLink(roseClass, rose::SuperclassLinkAt(links, i));
    }
}

// Every super class is linked by its model path, whether that class exists yet or not: the
// model resolves the link once the class is there.
void LinkSuperclasses(const ObjectRef& roseClass, std::string supers,
                      const std::string& className) {
    std::string package = naming::PackageOfClassName(className);
    while (!supers.empty()) {
        std::string token = NextToken(supers, ',');
        std::string superName = FullTypeName(token, package);
        rose::CreateSuperclassLink(roseClass, "", naming::RosePathOfClassName(superName));
    }
}

}  // namespace

void RoseClassCollection::Add(const std::string& key, ObjectRef roseClass) {
    if (Find(key)) return;
    items_.emplace_back(key, std::move(roseClass));
}

ObjectRef RoseClassCollection::Find(const std::string& key) const {
    for (const auto& [name, roseClass] : items_) {
        if (strings::EqualNoCase(name, key)) return roseClass;
    }
    return nullptr;
}

std::string NextToken(std::string& text, char separator) {
    std::size_t at = text.find(separator);
    if (at == std::string::npos) {
        std::string token = std::move(text);
        text.clear();
        return token;
    }
    std::string token = text.substr(0, at);
    text.erase(0, at + 1);
    return token;
}

ImportResult ImportClass(const ObjectRef& classDef) {
    if (!classDef) return Failed;
    std::string className = ServerText(classDef, m::kName);
    ObjectRef existing = naming::FindRoseClass(className);
    if (existing) {
        if (!window::OverrideChecked()) return Skipped;
        ReinitialiseClass(existing);
        // Creates the package's categories should they be gone; the class stays where it is.
        naming::FindOrCreateCategory(className);
        ImportResult r = SetClassProperties(classDef, existing);
        if (r != Done) return r;
        return Replaced;
    }
    ObjectRef category = naming::FindOrCreateCategory(className);
    if (!category) return Failed;
    ObjectRef roseClass = rose::CreateClass(category, naming::ShortClassName(className));
    ImportResult r = SetClassProperties(classDef, roseClass);
    // A half-filled class stays in the model but is not drawn as a new class.
    if (r != Done) return r;
    NewRoseClasses.Add(className, roseClass);
    return NewClass;
}

ImportResult SetClassProperties(const ObjectRef& classDef, const ObjectRef& roseClass) {
    try {
        // The model writes go without waiting; an error among them still surfaces here.
        automation::rpc::Pipeline pipeline;
        return pipeline.Run([&] {
            std::string className = ServerText(classDef, m::kName);
            rose::SetDocText(roseClass, ServerText(classDef, m::kDescription));
            rose::SetIsPersistent(roseClass, ServerText(classDef, m::kClassType) == "persistent");
            rose::SetIsAbstract(roseClass, ServerFlag(classDef, m::kAbstract));
            LinkSuperclasses(roseClass, ServerText(classDef, m::kSuper), className);
            WriteKeywords(roseClass, classDef, install::kClassKeywords);
            // The XML keeps what the model cannot show, so that an export can send it back.
            rose::SetToolProperty(roseClass, install::kToolTavroHidden, kXmlDefined, "True");
            // The XML's loading traps errors of its own: the calls sent ahead are answered
            // first, so that an error of theirs ends this routine and not that one.
            pipeline.Sync();
            std::string xml = server::LoadClassXml(className);
            rose::SetToolProperty(roseClass, install::kToolTavroHidden, kTavroClassXml, xml);
            return Done;
        });
    } catch (const std::exception&) {
        return Failed;
    }
}

void ReinitialiseClass(const ObjectRef& roseClass) {
    // The model writes go without waiting; an error among them still surfaces here.
    automation::rpc::Pipeline pipeline;
    pipeline.Run([&] {
        StripAssociations(roseClass);
        StripAttributes(roseClass);
        StripOperations(roseClass);
        StripSuperclassLinks(roseClass);
        rose::SetIsPersistent(roseClass, false);
        rose::SetIsAbstract(roseClass, false);
        rose::SetDocText(rose::AsElement(roseClass), "");
    });
}

}  // namespace importing
