// Conversion between package-qualified server class names ("Shop.Order.Line") and category
// paths in the model ("Logical View::Shop::Order::Line"), the default packages, the category
// that holds the server's own classes, and the two model look-ups built on them.
#pragma once

#include <string>

#include "automation/automation.h"

namespace naming {

// The category, directly under the top category, that holds every '%' class flat.
inline constexpr const char* kSystemCategory = "Tavro System Classes";

// The name with its default package: "%X" gives "%Library.X", "X" gives "User.X"; a name with
// a '.' and "" stay as they are.
std::string QualifyClassName(const std::string& name);
// The part before the last '.', or "".
std::string PackageOfClassName(const std::string& name);
// The part after the last '.'; a '%' name whole.
std::string ShortClassName(const std::string& name);
// `name` qualified with `package` when it has no package, is not "" and is no '%' name.
std::string QualifyInPackage(const std::string& name, const std::string& package);

// The model path where the server class belongs, below the top category `topCategory`.
std::string RosePathOfClassName(const std::string& name, const std::string& topCategory);
// The same below the active model's top category; modelling-tool errors pass to the caller.
std::string RosePathOfClassName(const std::string& name);
// The server class name of a model path whose top category is `topCategory`.
std::string ServerClassNameOfRosePath(const std::string& path, const std::string& topCategory);
// The same with the active model's top category; modelling-tool errors pass to the caller.
std::string ServerClassNameOfRosePath(const std::string& path);

// The model class of a server class name (not qualified first), or nullptr; modelling-tool
// errors pass to the caller.
automation::ObjectRef FindRoseClass(const std::string& name);
// The category that is to hold the server class, created as needed; nullptr when the name is
// "" or the modelling tool raises an error.
automation::ObjectRef FindOrCreateCategory(const std::string& name);

}  // namespace naming
