// Tool-property defaults: from an installed add-in's property file found through the registry,
// and from the default sets a model file carries.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "hosts/rose/host/host.h"
#include "install/install.h"
#include "platform/registry.h"
#include "support.h"
#include "tests/support/support.h"

namespace rosehost {
namespace {

void SetValue(const std::string& key, const char* name, const std::string& text) {
    platform::HKEY handle = nullptr;
    ASSERT_EQ(platform::RegCreateKeyExA(platform::HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0,
                                        platform::KEY_ALL_ACCESS, nullptr, &handle, nullptr),
              platform::ERROR_SUCCESS);
    platform::RegSetValueExA(handle, name, 0, platform::REG_SZ,
                             reinterpret_cast<const platform::BYTE*>(text.c_str()),
                             static_cast<platform::DWORD>(text.size() + 1));
    platform::RegCloseKey(handle);
}

// A registry of its own in a new folder, with the add-in installed into "<folder>/addin".
std::string InstallAddIn() {
    std::string dir = testsupport::MakeTempDir();
    ::setenv("CORVANSIL_REGISTRY", (dir + "/registry.reg").c_str(), 1);
    install::RegisterAddIn(dir + "/addin", "Rose");
    std::filesystem::create_directories(dir + "/addin");
    install::WritePropertyFile(dir + "/addin");
    return dir;
}

struct DefaultCase {
    ElementKind kind;
    const char* tool;
    const char* name;
    const char* value;
};

TEST(LoadAddInProperties, DefaultsComeFromTheInstalledPropertyFile) {
    std::string dir = InstallAddIn();
    EXPECT_EQ(InstalledPropertyFiles(), std::vector<std::string>{dir + "/addin/Corvansil.pty"});
    Session session;
    NewSession(session);
    EXPECT_TRUE(session.warnings.empty());
    Model& model = *ModelOf(*session.host);
    auto cls = CreateClass(model, model.top, "Order");
    auto attribute = CreateAttribute(model, *cls, "total", "Currency", "");
    // Names and defaults as the add-in's property file declares them.
    const DefaultCase cases[] = {
        {ElementKind::Operation, "Tavro", "CodeMode", "code"},
        {ElementKind::Operation, "Tavro", "Language", "tavro"},
        {ElementKind::Operation, "Tavro", "Abstract", "FALSE"},
        {ElementKind::Attribute, "Parameter", "MAXLEN", "50"},
        {ElementKind::Attribute, "Tavro", "Collection", "Single Value"},
        {ElementKind::Attribute, "Tavro", "InitialExpression", "\"\""},
        {ElementKind::Association, "Tavro", "Collection", "Single Value"},
        {ElementKind::Class, "Tavro", "NoSuchProperty", ""},
        {ElementKind::Class, "TavroHidden", "XmlDefined", ""},
    };
    for (const DefaultCase& c : cases) {
        SCOPED_TRACE(c.name);
        Element element;
        EXPECT_EQ(GetToolProperty(model, element, c.kind, c.tool, c.name), c.value);
    }
    SetToolProperty(*attribute, "Tavro", "Collection", "List");
    EXPECT_EQ(GetToolProperty(model, *attribute, ElementKind::Attribute, "Tavro", "Collection"),
              "List");
}

TEST(InstalledPropertyFiles, SkipsAddInsThatAreNotActive) {
    std::string dir = InstallAddIn();
    SetValue("SOFTWARE\\Rational Software\\Rose\\AddIns\\Tavro", "Active", "No");
    SetValue("SOFTWARE\\Rational Software\\Rose\\AddIns\\Other", "Active", "Yes");
    SetValue("SOFTWARE\\Rational Software\\Rose\\AddIns\\Other", "InstallDir", "/opt/other");
    SetValue("SOFTWARE\\Rational Software\\Rose\\AddIns\\Other", "PropertyFile", "other.pty");
    EXPECT_EQ(InstalledPropertyFiles(), std::vector<std::string>{"/opt/other/other.pty"});
    Session session;
    NewSession(session);
    ASSERT_EQ(session.warnings.size(), 1u);
    EXPECT_EQ(session.warnings[0],
              "property file: cannot read /opt/other/other.pty: No such file or directory");
    Element element;
    EXPECT_EQ(GetToolProperty(*ModelOf(*session.host), element, ElementKind::Operation, "Tavro",
                              "CodeMode"),
              "");
}

TEST(LoadAddInProperties, SaysWhichRegistryFileItCannotRead) {
    struct Case {
        const char* name;
        const char* bytes;   // nullptr: no file
        const char* reason;  // nullptr: no warning
    };
    const Case cases[] = {
        {"missing", nullptr, "no such file"},
        {"damaged", "REGEDIT5\r\n", "line 1: not a REGEDIT4 file"},
        {"cut off", "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\r\n", "line 3: bad key line"},
        {"empty registry", "REGEDIT4\r\n", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = testsupport::MakeTempDir() + "/registry.reg";
        ::setenv("CORVANSIL_REGISTRY", path.c_str(), 1);
        if (c.bytes != nullptr) testsupport::WriteFile(path, c.bytes);
        Session session;
        NewSession(session);
        std::vector<std::string> expected;
        if (c.reason != nullptr) {
            expected.push_back("cannot read the registry file " + path + ": " + c.reason +
                               "; no add-in's tool-property defaults are loaded");
        }
        EXPECT_EQ(session.warnings, expected);
    }
}

TEST(LoadModel, DefaultsComeFromTheModelFileItself) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    ::setenv("CORVANSIL_REGISTRY", (testsupport::MakeTempDir() + "/none.reg").c_str(), 1);
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/uni.mdl"), "");
    const Model& model = *ModelOf(*session.host);
    Class plain;
    // uni.mdl's Java default__Class: ConstructorIs ("Ctor_Set" 62), literal 62 is "Public".
    const DefaultCase cases[] = {
        {ElementKind::Class, "Java", "ConstructorIs", "Public"},
        {ElementKind::Class, "Java", "GenerateDefaultConstructor", "TRUE"},
        {ElementKind::Class, "Java", "Final", "FALSE"},
        {ElementKind::Class, "Java", "Ctor_Set", ""},
    };
    for (const DefaultCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(GetToolProperty(model, plain, c.kind, c.tool, c.name), c.value);
    }
}

TEST(ReadPropertyFile, RefusesWhatIsNoPropertyFile) {
    struct Case {
        const char* name;
        const char* bytes;
        const char* message;
    };
    const Case cases[] = {
        {"empty.pty", "", " is not a property file: no header at line 1:1"},
        {"model.pty", "(object Petal version 42)\n(object Design \"x\")\n",
         " is not a property file: no list of property sets at line 2:20"},
        {"open.pty", "(object Petal version 42)\n(list Attribute_Set\n",
         " is not a property file: a list is not closed at line 3:1"},
    };
    std::string dir = testsupport::MakeTempDir();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = dir + "/" + c.name;
        testsupport::WriteFile(path, c.bytes);
        std::vector<PropertySet> sets;
        std::string error;
        EXPECT_FALSE(ReadPropertyFile(path, sets, error));
        EXPECT_EQ(error, path + c.message);
    }
}

}  // namespace
}  // namespace rosehost
