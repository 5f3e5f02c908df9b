// The model as text for `rose-host show`: one element per line, two blanks of indent per
// level, then the element's own tool properties one level deeper.
#include <sstream>

#include "hosts/rose/host/host.h"

namespace rosehost {
namespace {

const char* VisibilityWord(std::int16_t code) {
    switch (code) {
        case kPublic:
            return "public";
        case kProtected:
            return "protected";
        case kPrivate:
            return "private";
        case kImplementation:
            return "implementation";
        default:
            return "unknown";
    }
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string FirstLine(const std::string& text) {
    std::size_t end = text.find_first_of("\r\n");
    return end == std::string::npos ? text : text.substr(0, end);
}

class Printer {
  public:
    std::string Text() const { return out_.str(); }

    void Line(int depth, const std::string& text) {
        out_ << std::string(static_cast<std::size_t>(depth) * 2, ' ') << text << '\n';
    }

    // Documentation's first line and the own tool properties of an element.
    void Details(int depth, const Element& element) {
        if (!element.documentation.empty()) {
            Line(depth, "doc " + Quoted(FirstLine(element.documentation)));
        }
        for (const ToolProperty& property : element.properties) {
            Line(depth, property.tool + "." + property.name + " = " + Quoted(property.value));
        }
    }

    void Class(int depth, const rosehost::Class& cls) {
        std::string flags;
        if (cls.isAbstract) flags += " abstract";
        if (cls.isPersistent) flags += " persistent";
        Line(depth, "class " + Quoted(cls.name) + flags);
        Details(depth + 1, cls);
        for (const auto& link : cls.superclassLinks) {
            Line(depth + 1, "superclass " + Quoted(link->className) +
                                (link->name.empty() ? "" : " as " + Quoted(link->name)));
            Details(depth + 2, *link);
        }
        for (const auto& a : cls.attributes) {
            std::string text = "attribute " + Quoted(a->name) + " : " + Quoted(a->type);
            if (!a->initialValue.empty()) text += " = " + Quoted(a->initialValue);
            Line(depth + 1, text + " " + VisibilityWord(a->exportControl));
            Details(depth + 2, *a);
        }
        for (const auto& o : cls.operations) {
            std::string text = "operation " + Quoted(o->name) + " (";
            for (std::size_t i = 0; i < o->parameters.size(); ++i) {
                const Parameter& p = *o->parameters[i];
                if (i > 0) text += ", ";
                text += Quoted(p.name) + " : " + Quoted(p.type);
                if (!p.defaultValue.empty()) text += " = " + Quoted(p.defaultValue);
            }
            text += ") : " + Quoted(o->returnType) + " " + VisibilityWord(o->exportControl);
            Line(depth + 1, text);
            Details(depth + 2, *o);
            for (const auto& p : o->parameters) {
                if (p->documentation.empty() && p->properties.empty()) continue;
                Line(depth + 2, "parameter " + Quoted(p->name));
                Details(depth + 3, *p);
            }
        }
    }

    void Association(int depth, const rosehost::Association& association) {
        std::string text = "association " + Quoted(association.name);
        if (!association.kind.empty()) text += " kind " + Quoted(association.kind);
        Line(depth, text);
        Details(depth + 1, association);
        for (const auto& role : association.roles) {
            std::string line = "role " + Quoted(role->name) + " -> " + Quoted(role->className);
            if (!role->multiplicity.empty()) line += " [" + role->multiplicity + "]";
            if (role->isAggregate) line += " aggregate";
            if (role->isNavigable) line += " navigable";
            Line(depth + 1, line + " " + VisibilityWord(role->exportControl));
            Details(depth + 2, *role);
        }
    }

    void Diagram(int depth, const rosehost::Diagram& diagram) {
        Line(depth, "diagram " + Quoted(diagram.name));
        Details(depth + 1, diagram);
        for (const auto& view : diagram.views) {
            auto cls = view->cls.lock();
            if (!cls) continue;
            Line(depth + 1, "view " + Quoted(QualifiedName(*cls)) + " at (" +
                                std::to_string(view->placementA) + ", " +
                                std::to_string(view->placementB) + ")");
        }
        for (const auto& weak : diagram.selected) {
            if (auto cls = weak.lock()) Line(depth + 1, "selected " + Quoted(QualifiedName(*cls)));
        }
    }

    void Category(int depth, const rosehost::Category& category) {
        Line(depth, "category " + Quoted(category.name));
        Details(depth + 1, category);
        for (const auto& sub : category.categories) Category(depth + 1, *sub);
        for (const auto& cls : category.classes) Class(depth + 1, *cls);
        for (const auto& association : category.associations) {
            Association(depth + 1, *association);
        }
        for (const auto& diagram : category.diagrams) Diagram(depth + 1, *diagram);
    }

  private:
    std::ostringstream out_;
};

}  // namespace

std::string ShowModel(const Model& model) {
    Printer printer;
    // The model's name is left out: it is the file's name, and a copy of a model saved under
    // another name shows the same tree.
    auto current = model.currentDiagram.lock();
    printer.Line(0, "current diagram " + (current ? Quoted(current->name) : std::string("none")));
    if (model.top) printer.Category(0, *model.top);
    return printer.Text();
}

}  // namespace rosehost
