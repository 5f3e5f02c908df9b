// Refreshing class diagrams after an import.
#include <gtest/gtest.h>

#include "automation/local_object.h"
#include "model/model.h"
#include "rose_host.h"

namespace {

using automation::ObjectRef;

struct Placed {
    const char* name;
    std::int16_t a;
    std::int16_t b;
};

std::vector<Placed> Placements(const rosehost::Diagram& diagram) {
    std::vector<Placed> out;
    for (const auto& view : diagram.views) {
        auto cls = view->cls.lock();
        out.push_back({cls ? cls->name.c_str() : "", view->placementA, view->placementB});
    }
    return out;
}

void Attach(const std::shared_ptr<rosehost::Model>& model) {
    InstallRose(rosehost::NewHost(model));
    ASSERT_TRUE(rose::ConnectToRose());
}

TEST(IsClassDiagramActive, TrueOnlyForAClassDiagram) {
    auto model = rosehost::NewModel("m");
    Attach(model);
    EXPECT_FALSE(model::IsClassDiagramActive());  // no diagram open

    auto useCases = std::make_shared<rosehost::Diagram>();
    useCases->kindName = "UseCaseDiagram";
    model->top->diagrams.push_back(useCases);
    model->currentDiagram = useCases;
    EXPECT_FALSE(model::IsClassDiagramActive());

    model->currentDiagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    EXPECT_TRUE(model::IsClassDiagramActive());

    InstallRose(nullptr);
    rose::RoseApp = nullptr;
    EXPECT_FALSE(model::IsClassDiagramActive());
}

TEST(RefreshClassDiagram, KeepsEveryClassWithItsPlacement) {
    auto model = rosehost::NewModel("m");
    auto diagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    const Placed before[] = {{"A", 100, 150}, {"B", -20, 3000}, {"C", 32767, -32768}};
    for (const Placed& p : before) {
        auto view = rosehost::AddClass(*diagram, rosehost::CreateClass(*model, model->top, p.name));
        view->placementA = p.a;
        view->placementB = p.b;
    }
    Attach(model);
    ObjectRef diagramObject = rose::ClassDiagramAt(
        rose::ClassDiagrams(rose::TopCategory(rose::ActiveModel(rose::RoseApp))), 1);
    model::RefreshClassDiagram(diagramObject);

    std::vector<Placed> after = Placements(*diagram);
    ASSERT_EQ(after.size(), 3u);
    for (const Placed& p : before) {
        SCOPED_TRACE(p.name);
        auto it = std::find_if(after.begin(), after.end(),
                               [&](const Placed& q) { return std::string(q.name) == p.name; });
        ASSERT_NE(it, after.end());
        EXPECT_EQ(it->a, p.a);
        EXPECT_EQ(it->b, p.b);
    }
}

// A diagram that records which of its members are called.
std::shared_ptr<automation::LocalObject> RecordingDiagram(std::vector<std::string>& calls,
                                                          ObjectRef shown) {
    auto diagram = std::make_shared<automation::LocalObject>(
        std::vector<std::string>{rose::iid::kDiagram, rose::iid::kClassDiagram});
    auto record = [&calls](const char* name, automation::Variant result = {}) {
        return [&calls, name, result](automation::CallKind, const automation::Args&) {
            calls.push_back(name);
            return result;
        };
    };
    diagram->Define(416, "ShownClasses", record("ShownClasses", shown));
    diagram->Define(419, "RemoveClass", record("RemoveClass"));
    diagram->Define(412, "AddClass", record("AddClass"));
    diagram->Define(205, "Redraw", record("Redraw"));
    diagram->Define(427, "ClassViewOf",
                    [&calls](automation::CallKind, const automation::Args&) -> automation::Variant {
                        calls.push_back("ClassViewOf");
                        throw automation::AutomationError("the view is locked");
                    });
    return diagram;
}

// An empty diagram asks for nothing past its shown classes; a failing call ends the refresh
// without an error.
TEST(RefreshClassDiagram, DoesNothingOnAnEmptyDiagramAndStopsQuietlyAtTheFirstError) {
    for (bool withClass : {false, true}) {
        SCOPED_TRACE(withClass);
        auto model = rosehost::NewModel("m");
        auto diagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
        if (withClass) rosehost::AddClass(*diagram, rosehost::CreateClass(*model, model->top, "A"));
        Attach(model);
        ObjectRef shown = rose::ShownClasses(rose::ClassDiagramAt(
            rose::ClassDiagrams(rose::TopCategory(rose::ActiveModel(rose::RoseApp))), 1));
        std::vector<std::string> calls;
        EXPECT_NO_THROW(model::RefreshClassDiagram(RecordingDiagram(calls, shown)));
        const std::vector<std::string> expected =
            withClass ? std::vector<std::string>{"ShownClasses", "ClassViewOf"}
                      : std::vector<std::string>{"ShownClasses"};
        EXPECT_EQ(calls, expected);
    }
}

TEST(UpdateRoseDiagrams, RefreshesTheClassDiagramsOfEveryCategory) {
    auto model = rosehost::NewModel("m");
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    auto order = rosehost::CreateCategory(*model, shop, "Order");
    std::vector<std::shared_ptr<rosehost::Diagram>> diagrams;
    std::int16_t placement = 10;
    for (const auto& category : {model->top, order, shop}) {
        for (const char* name : {"One", "Two"}) {
            auto diagram = rosehost::CreateClassDiagram(*model, *category, name);
            auto cls = rosehost::CreateClass(*model, category, std::string(name) + "Class");
            for (const auto& other : category->classes) {
                auto view = rosehost::AddClass(*diagram, other);
                view->placementA = placement++;
                view->placementB = placement++;
            }
            diagrams.push_back(diagram);
        }
    }
    std::vector<std::vector<std::pair<std::int16_t, std::int16_t>>> before;
    for (const auto& diagram : diagrams) {
        before.emplace_back();
        for (const auto& view : diagram->views) {
            before.back().emplace_back(view->placementA, view->placementB);
        }
    }
    Attach(model);
    model::UpdateRoseDiagrams();
    for (std::size_t d = 0; d < diagrams.size(); ++d) {
        SCOPED_TRACE(diagrams[d]->name);
        ASSERT_EQ(diagrams[d]->views.size(), before[d].size());
        // Classes go back in the order they were taken off: last shown first.
        for (std::size_t k = 0; k < before[d].size(); ++k) {
            const auto& view = diagrams[d]->views[before[d].size() - 1 - k];
            EXPECT_EQ(std::make_pair(view->placementA, view->placementB), before[d][k]);
        }
    }
}

TEST(UpdateRoseDiagrams, EndsQuietlyWhenTheModelIsUnreachable) {
    InstallRose(nullptr);
    EXPECT_NO_THROW(model::UpdateRoseDiagrams());
}

}  // namespace
