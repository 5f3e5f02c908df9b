#include "sample_model.h"

using automation::Call;
using automation::Get;
using automation::ObjectRef;

Sample MakeSample() {
    using namespace rosehost;
    auto model = NewModel("shop");
    auto shop = CreateCategory(*model, model->top, "Shop");
    auto order = CreateCategory(*model, shop, "Order");
    auto system = CreateCategory(*model, model->top, "Tavro System Classes");
    auto person = CreateClass(*model, model->top, "Person");
    auto address = CreateClass(*model, shop, "Address");
    auto line = CreateClass(*model, order, "Line");
    CreateClass(*model, system, "%Library.String");

    person->documentation = "A person";
    CreateAttribute(*model, *person, "name", "%Library.String", "");
    auto greet = CreateOperation(*model, *person, "Greet", "%Library.String");
    CreateParameter(*model, *greet, "salutation", "%Library.String", "\"Hi\"", 1);
    auto association = CreateAssociation(*model, *person, "", "Logical View::Shop::Address");
    association->roles[1]->name = "home";
    association->roles[1]->multiplicity = "0..1";
    CreateSuperclassLink(*model, *line, "", "Logical View::Person");

    auto main = CreateClassDiagram(*model, *model->top, "Main");
    auto personView = AddClass(*main, person);
    personView->placementA = 100;
    personView->placementB = 200;
    auto addressView = AddClass(*main, address);
    addressView->placementA = 300;
    addressView->placementB = 400;
    main->selected.push_back(person);
    model->currentDiagram = main;

    Sample s;
    s.model = model;
    s.host = NewHost(model);
    s.app = ApplicationObject(s.host);
    return s;
}

ObjectRef ModelOf(const Sample& s) { return Get(s.app, 209).ToObject(); }

ObjectRef Item(const ObjectRef& collection, std::int16_t index) {
    return Call(collection, 203, {index}).ToObject();
}

std::int16_t CountOf(const ObjectRef& collection) { return Get(collection, 202).ToInt16(); }

ObjectRef ClassAtPath(const Sample& s, const char* path) {
    return Item(Call(ModelOf(s), 12474, {path}).ToObject(), 1);
}

ObjectRef CategoryAtPath(const Sample& s, const char* path) {
    return Item(Call(ModelOf(s), 12476, {path}).ToObject(), 1);
}
