#include "model/rose.h"
#include "naming/naming.h"

namespace naming {
namespace {

// Recognised whatever the model's top category is called: this is where an import puts the
// server's own classes in a standard model.
constexpr std::string_view kSystemPrefix = "Logical View::Tavro System Classes::";

bool IsSystemName(const std::string& name) { return !name.empty() && name.front() == '%'; }

std::string TopCategoryName() {
    return rose::Name(rose::TopCategory(rose::ActiveModel(rose::RoseApp)));
}

}  // namespace

std::string QualifyClassName(const std::string& name) {
    if (name.empty()) return "";
    if (name.find('.') != std::string::npos) return name;
    if (IsSystemName(name)) return "%Library." + name.substr(1);
    return "User." + name;
}

std::string PackageOfClassName(const std::string& name) {
    std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) return "";
    return name.substr(0, dot);
}

std::string ShortClassName(const std::string& name) {
    if (IsSystemName(name)) return name;
    std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) return name;
    return name.substr(dot + 1);
}

std::string QualifyInPackage(const std::string& name, const std::string& package) {
    if (PackageOfClassName(name).empty() && !name.empty() && !IsSystemName(name)) {
        return package + "." + name;
    }
    return name;
}

std::string RosePathOfClassName(const std::string& name, const std::string& topCategory) {
    std::string rest = QualifyClassName(name);
    if (rest.empty()) return "";
    std::string path = topCategory;
    if (IsSystemName(rest)) return path + "::" + kSystemCategory + "::" + rest;
    // Every package segment becomes a category; the last segment is the class itself.
    rest += '.';
    for (std::size_t dot; (dot = rest.find('.')) != std::string::npos;) {
        path += "::" + rest.substr(0, dot);
        rest.erase(0, dot + 1);
    }
    return path;
}

std::string RosePathOfClassName(const std::string& name) {
    return RosePathOfClassName(name, TopCategoryName());
}

std::string ServerClassNameOfRosePath(const std::string& path, const std::string& topCategory) {
    std::string rest = path;
    if (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')') {
        rest = rest.substr(1, rest.size() - 2);
    }
    // A system class keeps its whole server name, unqualified.
    if (rest.compare(0, kSystemPrefix.size(), kSystemPrefix) == 0) {
        return rest.substr(kSystemPrefix.size());
    }
    std::string package;
    for (std::size_t sep; (sep = rest.find("::")) != std::string::npos;) {
        std::string part = rest.substr(0, sep);
        rest.erase(0, sep + 2);
        if (part == topCategory || part == kSystemCategory) continue;
        if (!package.empty()) package += '.';
        package += part;
    }
    if (!package.empty() && !rest.empty()) return QualifyClassName(package + "." + rest);
    return QualifyClassName(package + rest);
}

std::string ServerClassNameOfRosePath(const std::string& path) {
    return ServerClassNameOfRosePath(path, TopCategoryName());
}

}  // namespace naming
