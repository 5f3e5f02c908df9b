#include "tests/e2e/bulk.h"

#include <stdexcept>

#include "hosts/rose/host/host.h"
#include "hosts/tavro/store/store.h"

namespace e2e {

std::string ClassName(const std::string& category, int i) {
    return category + ".Item" + std::to_string(i);
}

std::string WriteModel(const TempDir& dir, const std::string& category, int count) {
    rosehost::Session session;
    rosehost::NewSession(session);
    rosehost::Model& model = *rosehost::ModelOf(*session.host);
    auto owner = rosehost::CreateCategory(model, model.top, category);
    for (int i = 1; i <= count; ++i) {
        auto cls = rosehost::CreateClass(model, owner, "Item" + std::to_string(i));
        for (int f = 0; f < kFields; ++f) {
            auto attribute =
                rosehost::CreateAttribute(model, *cls, "field" + std::to_string(f), "String", "");
            attribute->exportControl = rosehost::kPublic;
        }
    }
    std::string path = dir / (category + ".mdl");
    std::string error = rosehost::SaveSession(session, path);
    if (!error.empty()) throw std::runtime_error(error);
    return path;
}

void StoreClasses(const TavroServer& tavro, const std::string& category, int count) {
    std::vector<tavro::ClassDef> defs;
    for (int i = 1; i <= count; ++i) {
        tavro::ClassDef def;
        def.name = ClassName(category, i);
        for (int f = 0; f < kFields; ++f) {
            def.properties.push_back(tavro::Item{
                tavro::ItemKind::Property, "field" + std::to_string(f), {{"Type", "%String"}}, {}});
        }
        defs.push_back(std::move(def));
    }
    auto store = tavro::OpenStore(tavro.dataDir());
    tavro::SaveClasses(*store, "USER", defs, tavro::Actor{"", /*isOperator=*/true});
}

ServerState Inspect(const TavroServer& tavro, const std::string& category, int count) {
    ServerState state;
    auto store = tavro::OpenStore(tavro.dataDir());
    for (int i = 1; i <= count; ++i) {
        tavro::ClassDef def;
        if (!tavro::LoadClass(*store, "USER", ClassName(category, i), def)) {
            state.absent.push_back(ClassName(category, i));
            continue;
        }
        ++state.present;
        bool whole = def.properties.size() == kFields;
        for (std::size_t f = 0; whole && f < def.properties.size(); ++f) {
            const tavro::Item& property = def.properties[f];
            whole = property.name == "field" + std::to_string(f) &&
                    property.values.count("Type") != 0 && property.values.at("Type") == "%String";
        }
        if (!whole) state.broken.push_back(def.name);
    }
    return state;
}

}  // namespace e2e
