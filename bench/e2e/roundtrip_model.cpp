// The round trip's models: the generated one the export reads, and the empty one the import
// fills.
#include "roundtrip_model.h"

#include <cstdio>
#include <vector>

#include "hosts/rose/model/model.h"
#include "install/vocabulary.h"
#include "tests/support/defaults.h"

namespace roundtrip {

static std::string ClassName(int i) {
    char name[16];
    std::snprintf(name, sizeof name, "C%04d", i);
    return name;
}

std::shared_ptr<rosehost::Model> EmptyModel() {
    auto model = rosehost::NewModel("Target");
    testsupport::DeclareInstalledDefaults(*model);
    model->currentDiagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    return model;
}

// Classes "Shop::C0000" ... with persistent and plain classes alternating, attributes of data
// types with a length parameter on some, operations with two parameters, and each class the
// owner of associations to the next classes round the ring.
std::shared_ptr<rosehost::Model> GeneratedModel(const Shape& shape) {
    auto model = rosehost::NewModel("Shop");
    testsupport::DeclareInstalledDefaults(*model);
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    std::vector<std::shared_ptr<rosehost::Class>> classes;
    for (int c = 0; c < shape.classes; ++c) {
        auto cls = rosehost::CreateClass(*model, shop, ClassName(c));
        cls->isPersistent = c % 2 == 0;
        cls->documentation = "Class " + cls->name;
        for (int a = 0; a < shape.attributes; ++a) {
            auto attribute = rosehost::CreateAttribute(*model, *cls, "Attr" + std::to_string(a),
                                                       a % 3 == 0 ? "Integer" : "String", "");
            attribute->exportControl = rosehost::kPublic;
            if (a % 5 == 0) rosehost::SetToolProperty(*attribute, "Parameter", "MAXLEN", "80");
        }
        for (int o = 0; o < shape.operations; ++o) {
            auto operation =
                rosehost::CreateOperation(*model, *cls, "Op" + std::to_string(o), "Integer");
            rosehost::CreateParameter(*model, *operation, "qty", "Integer", "1", 1);
            rosehost::CreateParameter(*model, *operation, "rate", "Double", "", 2);
        }
        classes.push_back(cls);
    }
    for (int c = 0; c < shape.classes; ++c) {
        for (int k = 1; k <= shape.associations; ++k) {
            const auto& other = classes[static_cast<std::size_t>((c + k) % shape.classes)];
            auto association = rosehost::CreateAssociation(
                *model, *classes[static_cast<std::size_t>(c)], "", rosehost::QualifiedName(*other));
            std::string tag = std::to_string(c) + "x" + std::to_string(k);
            association->roles[0]->name = "Owner" + tag;
            association->roles[1]->name = "Items" + tag;
            association->roles[0]->multiplicity = "1";
            association->roles[1]->multiplicity = "0..n";
        }
    }
    return model;
}

}  // namespace roundtrip
