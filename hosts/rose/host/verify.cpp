// Whether the document, once synced, says what the model says: the model read back from it
// must hold every element with the same names, texts, types, flags, links and tool properties.
// The Petal writer then checks that the file's bytes read back as the document; together the
// two checks let no save replace a file with something other than the model.
#include <algorithm>
#include <tuple>

#include "hosts/rose/host/host_internal.h"

namespace rosehost::binding {
namespace {

std::vector<ToolProperty> Sorted(std::vector<ToolProperty> properties) {
    std::sort(properties.begin(), properties.end(), [](const auto& a, const auto& b) {
        return std::tie(a.tool, a.name, a.value) < std::tie(b.tool, b.name, b.value);
    });
    return properties;
}

// The file keeps an element's tool properties in its own order; only what they are counts.
bool SameProperties(const std::vector<ToolProperty>& a, const std::vector<ToolProperty>& b) {
    return std::ranges::equal(Sorted(a), Sorted(b), [](const auto& x, const auto& y) {
        return x.tool == y.tool && x.name == y.name && x.value == y.value;
    });
}

std::string Named(const char* kind, const std::string& name, const std::string& within) {
    std::string text = std::string(kind) + " \"" + name + "\"";
    return within.empty() ? text : text + " of " + within;
}

class Comparer {
  public:
    const std::string& where() const { return where_; }

    void Category(const rosehost::Category& a, const rosehost::Category& b,
                  const std::string& path) {
        std::string what = Named("category", path, "");
        Element(what, a, b);
        Each(what, "categories", a.categories, b.categories,
             [&](const auto& x, const auto& y) { Category(x, y, path + "::" + x.name); });
        Each(what, "classes", a.classes, b.classes, [&](const auto& x, const auto& y) {
            Class(x, y, Named("class", path + "::" + x.name, ""));
        });
        Each(what, "associations", a.associations, b.associations,
             [&](const auto& x, const auto& y) { Association(x, y, what); });
        Each(what, "diagrams", a.diagrams, b.diagrams,
             [&](const auto& x, const auto& y) { Element(Named("diagram", x.name, what), x, y); });
    }

  private:
    void Differs(const std::string& what, const char* field, bool same) {
        if (!same && where_.empty()) where_ = what + ": " + field;
    }

    template <class T, class Visit>
    void Each(const std::string& what, const char* kind, const std::vector<std::shared_ptr<T>>& a,
              const std::vector<std::shared_ptr<T>>& b, const Visit& visit) {
        Differs(what, kind, a.size() == b.size());
        for (std::size_t i = 0; i < a.size() && i < b.size() && where_.empty(); ++i) {
            visit(*a[i], *b[i]);
        }
    }

    void Element(const std::string& what, const rosehost::Element& a, const rosehost::Element& b) {
        Differs(what, "name", a.name == b.name);
        Differs(what, "quid", a.quid == b.quid);
        Differs(what, "documentation", a.documentation == b.documentation);
        Differs(what, "tool properties", SameProperties(a.properties, b.properties));
    }

    void Class(const rosehost::Class& a, const rosehost::Class& b, const std::string& what) {
        Element(what, a, b);
        Differs(what, "abstract", a.isAbstract == b.isAbstract);
        Differs(what, "persistent", a.isPersistent == b.isPersistent);
        Each(what, "superclasses", a.superclassLinks, b.superclassLinks,
             [&](const auto& x, const auto& y) {
                 std::string link = Named("superclass", x.className, what);
                 Element(link, x, y);
                 Differs(link, "class", x.className == y.className);
                 Differs(link, "class quid", x.classQuid == y.classQuid);
             });
        Each(what, "attributes", a.attributes, b.attributes, [&](const auto& x, const auto& y) {
            std::string attribute = Named("attribute", x.name, what);
            Element(attribute, x, y);
            Differs(attribute, "type", x.type == y.type && x.typeQuid == y.typeQuid);
            Differs(attribute, "initial value", x.initialValue == y.initialValue);
            Differs(attribute, "visibility", x.exportControl == y.exportControl);
        });
        Each(what, "operations", a.operations, b.operations, [&](const auto& x, const auto& y) {
            std::string operation = Named("operation", x.name, what);
            Element(operation, x, y);
            Differs(operation, "return type", x.returnType == y.returnType);
            Differs(operation, "visibility", x.exportControl == y.exportControl);
            Each(operation, "parameters", x.parameters, y.parameters,
                 [&](const auto& p, const auto& q) {
                     std::string parameter = Named("parameter", p.name, operation);
                     Element(parameter, p, q);
                     Differs(parameter, "type", p.type == q.type);
                     Differs(parameter, "default value", p.defaultValue == q.defaultValue);
                 });
        });
    }

    void Association(const rosehost::Association& a, const rosehost::Association& b,
                     const std::string& within) {
        std::string what = Named("association", a.name, within);
        Element(what, a, b);
        Differs(what, "kind", a.kind == b.kind);
        for (std::size_t i = 0; i < 2 && where_.empty(); ++i) {
            const Role& x = *a.roles[i];
            const Role& y = *b.roles[i];
            std::string role = Named("role", x.name, what);
            Element(role, x, y);
            Differs(role, "class", x.className == y.className && x.classQuid == y.classQuid);
            Differs(role, "multiplicity", x.multiplicity == y.multiplicity);
            Differs(role, "flags",
                    x.isAggregate == y.isAggregate && x.isNavigable == y.isNavigable);
            Differs(role, "visibility", x.exportControl == y.exportControl);
        }
    }

    std::string where_;
};

}  // namespace

std::string ModelDifference(const Model& model, const Model& saved) {
    Comparer comparer;
    comparer.Category(*model.top, *saved.top, model.top->name);
    return comparer.where();
}

}  // namespace rosehost::binding
