// Whether the modelling tool knows the add-in's property defaults. It takes them from the model
// property file that the registry names; without them every Boolean keyword reads "" and every
// class fails "Type mismatch", so an export is not started at all.
#include "export/export.h"
#include "install/install.h"
#include "install/vocabulary.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "platform/files.h"
#include "platform/registry.h"

namespace exporting {

namespace {

bool IsBooleanText(const char* text) {
    return std::string_view(text) == "False" || std::string_view(text) == "True";
}

// Where the installation put the property file, as the registry says; the usual place when
// the registry cannot say.
std::string PropertyFileText() {
    std::string installDir;
    if (platform::ReadRegistryValue(install::AddInKeyPath("Rose"), "InstallDir", installDir)) {
        return installDir + platform::kPathSeparator + install::kPropertyFileName;
    }
    return std::string(install::kPropertyFileName) + " beside the " + install::kExecutableName +
           " executable";
}

std::string MissingDefaultsText(const std::string& className, const char* keyword,
                                const char* defaultValue) {
    return std::string(
               "the modelling tool has not loaded the add-in's model property defaults "
               "(the class keyword ") +
           keyword + " of " + className + " reads \"\", not its default \"" + defaultValue +
           "\"), so every class would fail \"Type mismatch\": the model property file " +
           PropertyFileText() + " or " + platform::RegistryPlaceText() +
           " that names it is missing or damaged; run " + install::kExecutableName +
           " INSTALL, then restart the modelling tool";
}

// "" when the class shows that the defaults are loaded, or cannot show it; the text otherwise.
// `told` is set when the class gave an answer.
std::string CheckClass(const automation::ObjectRef& roseClass, bool& told) {
    for (const install::PropertyDef& keyword : install::kClassKeywords) {
        if (keyword.kind != install::PropertyKind::Boolean) continue;
        if (!IsBooleanText(keyword.defaultValue)) continue;
        // A value of the class's own says nothing about the defaults.
        if (rose::HasOwnToolProperty(roseClass, install::kToolTavro, keyword.name)) continue;
        told = true;
        if (!rose::GetToolProperty(roseClass, install::kToolTavro, keyword.name).empty()) return "";
        return MissingDefaultsText(
            naming::ServerClassNameOfRosePath(rose::QualifiedName(roseClass)), keyword.name,
            keyword.defaultValue);
    }
    return "";
}

}  // namespace

std::string MissingPropertyDefaults(const window::ClassList& keys) {
    try {
        for (std::int16_t i = 0; i < keys.ListCount(); ++i) {
            automation::ObjectRef roseClass = rose::GetRoseClassByKey(keys.List(i));
            if (!roseClass) continue;
            bool told = false;
            std::string text = CheckClass(roseClass, told);
            if (told) return text;
        }
    } catch (const std::exception&) {
        // The export itself reports what is wrong with the model, class by class.
    }
    return "";
}

}  // namespace exporting
