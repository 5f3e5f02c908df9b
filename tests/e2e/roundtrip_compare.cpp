#include "tests/e2e/roundtrip_compare.h"

#include <gtest/gtest.h>

const KnownDifference kKnownDifferences[kKnownDifferenceCount] = {
    {"qualified server class",
     "the import writes a server class's full name into the model (%Boolean comes back as "
     "%Library.Boolean): the same class"},
    {"package added",
     "a type the first export wrote as the model had it (int, EClass) is not a server class; the "
     "import takes it for a class of the importing class's package and names it so"},
    {"children becomes many",
     "a model role's multiplicity says many, not whether the far end is a parent; the "
     "relationship comes back as one/many"},
};

namespace {

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// Which known difference turns `first` into `second`; "" when none does.
std::string KindOfDifference(const std::string& className, std::string_view keyword,
                             const std::string& first, const std::string& second) {
    if (keyword == "Cardinality" && first == "children" && second == "many") {
        return kKnownDifferences[2].kind;
    }
    std::string shortened = ReplaceAll(second, "%Library.", "%");
    if (shortened == first) return kKnownDifferences[0].kind;
    std::string package = className.substr(0, className.rfind('.') + 1);
    if (ReplaceAll(shortened, package, "") == first) return kKnownDifferences[1].kind;
    return "";
}

// Compares the keywords of one definition part in both exports (a keyword left out counts as
// its initial value; the save times differ by when each export ran). Known differences are
// counted in `known`, the others are test failures.
void CompareValues(const std::string& className, const std::string& where, tavro::ItemKind kind,
                   const tavro::Values& first, const tavro::Values& second,
                   std::map<std::string, int>& known) {
    for (const tavro::Keyword& keyword : tavro::KeywordsOf(kind)) {
        if (keyword.name == "TimeCreated" || keyword.name == "TimeChanged") continue;
        std::string a = tavro::ValueOf(first, keyword), b = tavro::ValueOf(second, keyword);
        if (a == b) continue;
        std::string difference = KindOfDifference(className, keyword.name, a, b);
        if (difference.empty()) {
            ADD_FAILURE() << where << " " << keyword.name << ": \"" << a << "\" then \"" << b
                          << "\"";
            continue;
        }
        ++known[difference];
    }
}

void CompareItems(const std::string& className, const std::vector<tavro::Item>& first,
                  const std::vector<tavro::Item>& second, std::map<std::string, int>& known) {
    ASSERT_EQ(first.size(), second.size()) << className;
    for (std::size_t i = 0; i < first.size(); ++i) {
        std::string where = className + ":" + first[i].name;
        EXPECT_EQ(first[i].name, second[i].name) << className;
        EXPECT_EQ(first[i].kind, second[i].kind) << where;
        EXPECT_EQ(first[i].parameters, second[i].parameters) << where;
        CompareValues(className, where, first[i].kind, first[i].values, second[i].values, known);
    }
}

}  // namespace

void CompareDefinitions(const tavro::ClassDef& first, const tavro::ClassDef& second,
                        std::map<std::string, int>& known) {
    CompareValues(first.name, first.name, tavro::ItemKind::Class, first.values, second.values,
                  known);
    CompareItems(first.name, first.properties, second.properties, known);
    CompareItems(first.name, first.methods, second.methods, known);
    CompareItems(first.name, first.others, second.others, known);
}
