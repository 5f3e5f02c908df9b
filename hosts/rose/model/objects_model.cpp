// The application, model, category and class objects.
#include "objects.h"
#include "objects_internal.h"

namespace rosehost {
namespace {

// --- Application ---

Variant ActiveModel(const Call<Application>& c) {
    return ObjectFor(c.host, c.host->model, ModelKind());
}

// Ends its trial when the last reference goes, unless that trial has ended already.
class TrialObject final : public automation::Object {
  public:
    TrialObject(std::weak_ptr<Host> host, std::uint64_t trial)
        : host_(std::move(host)), trial_(trial) {}
    ~TrialObject() override {
        auto host = host_.lock();
        if (host && host->trial == trial_) EndTrial(*host);
    }
    TrialObject(const TrialObject&) = delete;
    TrialObject& operator=(const TrialObject&) = delete;
    Variant Invoke(std::int32_t, CallKind, const Args&) override {
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }
    Variant InvokeByName(std::string_view, CallKind, const Args&) override {
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }
    bool Implements(std::string_view) const override { return false; }

  private:
    std::weak_ptr<Host> host_;
    std::uint64_t trial_;
};

Variant ApplicationBeginTrial(const Call<Application>& c) {
    BeginTrial(*c.host);
    return ObjectRef(std::make_shared<TrialObject>(c.host, c.host->trial));
}

Variant ApplicationEndTrial(const Call<Application>& c) {
    EndTrial(*c.host);
    return {};
}

// --- Model ---

Variant ModelName(const Call<Model>& c) { return c.target->name; }

Variant TopCategory(const Call<Model>& c) {
    return ObjectFor(c.host, c.target->top, CategoryKind());
}

Variant ModelAllClasses(const Call<Model>& c) {
    return CollectionFor(c.host, iid::kClassCollection, AllClasses(*c.target), ClassKind());
}

Variant ModelAllCategories(const Call<Model>& c) {
    return CollectionFor(c.host, iid::kCategoryCollection, AllCategories(*c.target),
                         CategoryKind());
}

Variant ModelClassesByPath(const Call<Model>& c) {
    return CollectionFor(c.host, iid::kClassCollection,
                         ClassesByPath(*c.target, c.Arg(0).ToString()), ClassKind());
}

Variant ModelClassByUniqueKey(const Call<Model>& c) {
    return ObjectFor(c.host, ClassByUniqueKey(*c.target, c.Arg(0).ToString()), ClassKind());
}

Variant ModelCategoriesByPath(const Call<Model>& c) {
    return CollectionFor(c.host, iid::kCategoryCollection,
                         CategoriesByPath(*c.target, c.Arg(0).ToString()), CategoryKind());
}

Variant ModelCurrentDiagram(const Call<Model>& c) {
    return DiagramObject(c.host, c.target->currentDiagram.lock());
}

// --- Category ---

Variant CategoryQualifiedName(const Call<Category>& c) { return QualifiedName(*c.target); }

Variant CategoryClassDiagrams(const Call<Category>& c) {
    return CollectionFor(c.host, iid::kClassDiagramCollection, ClassDiagramsOf(*c.target),
                         ClassDiagramKind());
}

Variant CategoryOwnedClasses(const Call<Category>& c) {
    return CollectionFor(c.host, iid::kClassCollection, c.target->classes, ClassKind());
}

Variant CategoryCreateClass(const Call<Category>& c) {
    return ObjectFor(c.host, CreateClass(c.model(), c.target, c.Arg(0).ToString()), ClassKind());
}

Variant CategoryCreateCategory(const Call<Category>& c) {
    return ObjectFor(c.host, CreateCategory(c.model(), c.target, c.Arg(0).ToString()),
                     CategoryKind());
}

// --- Class ---

Variant ClassUniqueKey(const Call<Class>& c) { return c.target->quid; }

Variant ClassQualifiedName(const Call<Class>& c) { return QualifiedName(*c.target); }

// A class is its own generic element: the same object answers both faces.
Variant ClassAsElement(const Call<Class>& c) { return ObjectFor(c.host, c.target, ClassKind()); }

Variant ClassIsAbstract(const Call<Class>& c) {
    if (c.put) {
        c.target->isAbstract = c.Value().ToBool();
        return {};
    }
    return c.target->isAbstract;
}

Variant ClassIsPersistent(const Call<Class>& c) {
    if (c.put) {
        c.target->isPersistent = c.Value().ToBool();
        return {};
    }
    return c.target->isPersistent;
}

Variant ClassOwningCategory(const Call<Class>& c) {
    return ObjectFor(c.host, c.target->owner.lock(), CategoryKind());
}

Variant ClassAttributes(const Call<Class>& c) {
    return CollectionFor(c.host, iid::kAttributeCollection, c.target->attributes, AttributeKind());
}

Variant ClassOperations(const Call<Class>& c) {
    return CollectionFor(c.host, iid::kOperationCollection, c.target->operations, OperationKind());
}

Variant ClassSuperclassLinks(const Call<Class>& c) {
    return CollectionFor(c.host, iid::kSuperclassLinkCollection, c.target->superclassLinks,
                         SuperclassLinkKind());
}

Variant ClassAssociations(const Call<Class>& c) {
    return CollectionFor(c.host, iid::kAssociationCollection, AssociationsOf(c.model(), *c.target),
                         AssociationKind());
}

Variant ClassCreateOperation(const Call<Class>& c) {
    auto operation =
        CreateOperation(c.model(), *c.target, c.Arg(0).ToString(), c.Arg(1).ToString());
    return ObjectFor(c.host, operation, OperationKind());
}

Variant ClassCreateAttribute(const Call<Class>& c) {
    auto attribute = CreateAttribute(c.model(), *c.target, c.Arg(0).ToString(), c.Arg(1).ToString(),
                                     c.Arg(2).ToString());
    return ObjectFor(c.host, attribute, AttributeKind());
}

Variant ClassCreateAssociation(const Call<Class>& c) {
    auto association =
        CreateAssociation(c.model(), *c.target, c.Arg(0).ToString(), c.Arg(1).ToString());
    return ObjectFor(c.host, association, AssociationKind());
}

Variant ClassDeleteAssociation(const Call<Class>& c) {
    return DeleteAssociation(c.model(), *ArgTarget<Association>(c.Arg(0)));
}

Variant ClassDeleteOperation(const Call<Class>& c) {
    return DeleteOperation(*c.target, *ArgTarget<Operation>(c.Arg(0)));
}

Variant ClassDeleteAttribute(const Call<Class>& c) {
    return DeleteAttribute(*c.target, *ArgTarget<Attribute>(c.Arg(0)));
}

Variant ClassCreateSuperclassLink(const Call<Class>& c) {
    auto link =
        CreateSuperclassLink(c.model(), *c.target, c.Arg(0).ToString(), c.Arg(1).ToString());
    return ObjectFor(c.host, link, SuperclassLinkKind());
}

Variant ClassDeleteSuperclassLink(const Call<Class>& c) {
    return DeleteSuperclassLink(*c.target, *ArgTarget<SuperclassLink>(c.Arg(0)));
}

Kind<Category> MakeCategoryKind() {
    Kind<Category> kind{kTagCategory,
                        {iid::kCategory},
                        {
                            {100, "Name", Access::Read, NameMember<Category>},
                            {12555, "QualifiedName", Access::Read, CategoryQualifiedName},
                            {416, "ClassDiagrams", Access::Read, CategoryClassDiagrams},
                            {419, "OwnedClasses", Access::Read, CategoryOwnedClasses},
                            {421, "CreateClass", Access::Method, CategoryCreateClass},
                            {423, "CreateCategory", Access::Method, CategoryCreateCategory},
                        }};
    AddToolPropertyMembers<Category, ElementKind::Category>(kind.members);
    return kind;
}

Kind<Class> MakeClassKind() {
    Kind<Class> kind{kTagClass,
                     {iid::kClass, iid::kElement},
                     {
                         {100, "Name", Access::Read, NameMember<Class>},
                         {102, "UniqueKey", Access::Read, ClassUniqueKey},
                         {203, "DocText", Access::ReadWrite, DocTextMember<Class>},
                         {12555, "QualifiedName", Access::Read, ClassQualifiedName},
                         {0, "GetQualifiedName", Access::Method, ClassQualifiedName},
                         {207, "AsElement", Access::Read, ClassAsElement},
                         {412, "IsAbstract", Access::ReadWrite, ClassIsAbstract},
                         {414, "IsPersistent", Access::ReadWrite, ClassIsPersistent},
                         {415, "OwningCategory", Access::Read, ClassOwningCategory},
                         {416, "Attributes", Access::Read, ClassAttributes},
                         {417, "Operations", Access::Read, ClassOperations},
                         {423, "SuperclassLinks", Access::Read, ClassSuperclassLinks},
                         {425, "Associations", Access::Read, ClassAssociations},
                         {427, "CreateOperation", Access::Method, ClassCreateOperation},
                         {428, "CreateAttribute", Access::Method, ClassCreateAttribute},
                         {429, "CreateAssociation", Access::Method, ClassCreateAssociation},
                         {433, "DeleteAssociation", Access::Method, ClassDeleteAssociation},
                         {434, "DeleteOperation", Access::Method, ClassDeleteOperation},
                         {435, "DeleteAttribute", Access::Method, ClassDeleteAttribute},
                         {437, "CreateSuperclassLink", Access::Method, ClassCreateSuperclassLink},
                         {438, "DeleteSuperclassLink", Access::Method, ClassDeleteSuperclassLink},
                     }};
    AddToolPropertyMembers<Class, ElementKind::Class>(kind.members);
    return kind;
}

}  // namespace

const Kind<Application>& ApplicationKind() {
    static const Kind<Application> kind{
        kTagApplication,
        {iid::kApplication},
        {
            {209, "ActiveModel", Access::Read, ActiveModel},
            // Not the modelling tool's: by name only.
            {0, "BeginTrial", Access::Method, ApplicationBeginTrial},
            {0, "EndTrial", Access::Method, ApplicationEndTrial},
        }};
    return kind;
}

const Kind<Model>& ModelKind() {
    static const Kind<Model> kind{
        kTagModel,
        {iid::kModel},
        {
            {100, "Name", Access::Read, ModelName},
            {417, "TopCategory", Access::Read, TopCategory},
            {432, "AllClasses", Access::Read, ModelAllClasses},
            {433, "AllCategories", Access::Read, ModelAllCategories},
            {12474, "ClassesByPath", Access::Method, ModelClassesByPath},
            {12475, "ClassByUniqueKey", Access::Method, ModelClassByUniqueKey},
            {12476, "CategoriesByPath", Access::Method, ModelCategoriesByPath},
            {12527, "CurrentDiagram", Access::Read, ModelCurrentDiagram},
        }};
    return kind;
}

const Kind<Category>& CategoryKind() {
    static const Kind<Category> kind = MakeCategoryKind();
    return kind;
}

const Kind<Class>& ClassKind() {
    static const Kind<Class> kind = MakeClassKind();
    return kind;
}

}  // namespace rosehost
