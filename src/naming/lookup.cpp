#include "model/rose.h"
#include "naming/naming.h"

namespace naming {

using automation::ObjectRef;

ObjectRef FindRoseClass(const std::string& name) {
    ObjectRef model = rose::ActiveModel(rose::RoseApp);
    std::string path = rose::Name(rose::TopCategory(model));
    if (!name.empty() && name.front() == '%') {
        path += std::string("::") + kSystemCategory + "::" + name;
    } else {
        std::string rest = name;
        for (std::size_t dot; (dot = rest.find('.')) != std::string::npos;) {
            path += "::" + rest.substr(0, dot);
            rest.erase(0, dot + 1);
        }
        path += "::" + rest;
    }
    ObjectRef found = rose::ClassesByPath(model, path);
    if (rose::Count(found) == 0) return nullptr;
    return rose::ClassAt(found, 1);
}

ObjectRef FindOrCreateCategory(const std::string& name) {
    try {
        ObjectRef model = rose::ActiveModel(rose::RoseApp);
        ObjectRef current = rose::TopCategory(model);
        std::string path = rose::Name(current);
        std::string rest = QualifyClassName(name);
        if (rest.empty()) return nullptr;
        if (rest.front() == '%') {
            // Looked up by the bare name: the modelling tool finds it under the top category,
            // so a second system-class category is never made.
            ObjectRef found = rose::CategoriesByPath(model, kSystemCategory);
            if (rose::Count(found) == 0) return rose::CreateCategory(current, kSystemCategory);
            return rose::CategoryAt(found, 1);
        }
        // Only the package segments become categories; the class's short name never does.
        for (std::size_t dot; (dot = rest.find('.')) != std::string::npos;) {
            std::string part = rest.substr(0, dot);
            rest.erase(0, dot + 1);
            path += "::" + part;
            ObjectRef found = rose::CategoriesByPath(model, path);
            current = rose::Count(found) > 0 ? rose::CategoryAt(found, 1)
                                             : rose::CreateCategory(current, part);
        }
        return current;
    } catch (const automation::AutomationError&) {
        return nullptr;
    }
}

}  // namespace naming
