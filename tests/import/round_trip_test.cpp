// A class taken from the server into the model and written back by the export keeps every
// keyword that the model carries as a model property: both sides work from one table per
// element kind.
#include <gtest/gtest.h>

#include "export/export.h"
#include "import/import.h"
#include "install/vocabulary.h"
#include "model/rose.h"
#include "tests/import/import_harness.h"

namespace {

using import_test::Class;
using import_test::Harness;
using import_test::Method;
using import_test::Property;

// A value other than the default for every keyword of the table: true for Booleans, a text
// of its own for the others. Enumerations travel through their own model properties.
tavro::Values Distinct(std::span<const install::PropertyDef> keywords) {
    tavro::Values values;
    for (const auto& keyword : keywords) {
        if (keyword.kind == install::PropertyKind::Enumeration) continue;
        values[keyword.name] =
            keyword.kind == install::PropertyKind::Boolean ? "1" : std::string("v") + keyword.name;
    }
    return values;
}

void ExpectKeywords(const tavro::Values& sent, const tavro::Values& back) {
    for (const auto& [name, value] : sent) {
        SCOPED_TRACE(name);
        auto found = back.find(name);
        ASSERT_NE(found, back.end());
        EXPECT_EQ(found->second, value);
    }
}

TEST(ImportClasses, RoundTripThroughTheModelCarriesEveryKeyword) {
    Harness h;
    tavro::Values classValues = Distinct(install::kClassKeywords);
    classValues["ClassType"] = "persistent";
    tavro::Values propertyValues = Distinct(install::kAttributeKeywords);
    propertyValues["Collection"] = "list";
    tavro::Values methodValues = Distinct(install::kOperationKeywords);
    h.Save({Class("Shop.Order", classValues,
                  {Property("Code", "%Library.String", propertyValues, {{"MAXLEN", "12"}})},
                  {Method("Recalc", methodValues)})});
    h.Select({"Shop.Order"});
    importing::ImportClasses();
    ASSERT_EQ(h.form.Rows()[0].status, "New Class Created");

    // Without its XML the export writes the class from the model alone.
    auto order = h.ModelClass("Logical View::Shop::Order");
    rosehost::SetToolProperty(*order, "TavroHidden", "XmlDefined", "False");
    h.form.SetCheckValue(window::CheckBox::Override, 1);
    std::string message;
    EXPECT_EQ(exporting::ExportClass(h.RoseClass("Logical View::Shop::Order"), message),
              exporting::kClassReplaced)
        << message;

    tavro::ClassDef back;
    ASSERT_TRUE(tavro::LoadClass(h.store(), "USER", "Shop.Order", back));
    ExpectKeywords(classValues, back.values);
    ASSERT_EQ(back.properties.size(), 1u);
    ExpectKeywords(propertyValues, back.properties[0].values);
    EXPECT_EQ(back.properties[0].parameters.at("MAXLEN"), "12");
    ASSERT_EQ(back.methods.size(), 1u);
    ExpectKeywords(methodValues, back.methods[0].values);
}

}  // namespace
