// Moving thousands of classes between the window's lists must stay quick: the lists take a
// whole move as one change, not one relayout per entry.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QItemSelectionModel>
#include <QListView>
#include <string>

#include "window/qt/import_export_window.h"

namespace {

window::RunOps Classes(int count) {
    window::RunOps ops;
    ops.LoadRoseClassList = [count](window::ClassList& avail, window::ClassList&,
                                    window::ClassList& availIds, window::ClassList&) {
        // Handed over out of order, as a model does, so that every entry is placed.
        for (int i = 0; i < count; ++i) {
            int n = (i * 7919) % count;
            std::string name = "Pkg" + std::to_string(n % 17) + ".Class" + std::to_string(n);
            availIds.InsertItem(avail.AddItem(name), "key" + std::to_string(n));
        }
    };
    return ops;
}

void BM_SelectAllThenUnselectAll(benchmark::State& state) {
    window::LinkMode = window::RunMode::Export;
    window::ImportExportWindow form(Classes(static_cast<int>(state.range(0))));
    form.Form_Load();
    form.show();
    for (auto _ : state) {
        form.cmdSelectAll_Click();
        form.cmdUnselectAll_Click();
        QCoreApplication::processEvents();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(BM_SelectAllThenUnselectAll)->Arg(5000)->Unit(benchmark::kMillisecond);

void BM_MoveEveryOtherHighlightedEntry(benchmark::State& state) {
    window::LinkMode = window::RunMode::Export;
    window::ImportExportWindow form(Classes(static_cast<int>(state.range(0))));
    form.Form_Load();
    form.show();
    auto* view = form.findChild<QListView*>("lstAvailableClasses");
    for (auto _ : state) {
        state.PauseTiming();
        QItemSelection every;
        for (int row = 0; row < view->model()->rowCount(); row += 2)
            every.select(view->model()->index(row, 0), view->model()->index(row, 0));
        view->selectionModel()->select(every, QItemSelectionModel::ClearAndSelect);
        state.ResumeTiming();
        form.cmdSelect_Click();
        form.cmdUnselectAll_Click();
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_MoveEveryOtherHighlightedEntry)->Arg(5000)->Unit(benchmark::kMillisecond);

void BM_LoadClassList(benchmark::State& state) {
    window::LinkMode = window::RunMode::Export;
    for (auto _ : state) {
        window::ImportExportWindow form(Classes(static_cast<int>(state.range(0))));
        form.Form_Load();
        benchmark::DoNotOptimize(form.lstAvailableClasses().ListCount());
    }
}
BENCHMARK(BM_LoadClassList)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
