// A placeholder for the transfer window: it names the run and closes on request, so that the
// transfer runs have a window to live in until the real one is linked in.
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

#include "run/startup.h"
#include "window/window.h"

namespace run {
namespace {

const char* RunTitle(std::int16_t linkMode) {
    switch (linkMode) {
        case 1:
            return "Export Classes to Tavro";
        case 2:
            return "Import Classes from Tavro";
        case 3:
            return "Load Datatype Classes from Tavro";
        case 4:
            return "Load System Classes from Tavro";
        default:
            return "Corvansil";
    }
}

}  // namespace

void ShowStandInTransferWindow() {
    auto* form = new QWidget;
    form->setObjectName(QStringLiteral("frmImportExport"));
    form->setAttribute(Qt::WA_DeleteOnClose);
    form->setWindowTitle(QString::fromLatin1(RunTitle(window::LinkMode)));
    auto* layout = new QVBoxLayout(form);
    auto* label = new QLabel(QString::fromLatin1(RunTitle(window::LinkMode)), form);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    auto* close = new QPushButton(QStringLiteral("Close"), form);
    close->setObjectName(QStringLiteral("cmdClose"));
    QObject::connect(close, &QPushButton::clicked, form, [form] { form->close(); });
    layout->addWidget(close);
    form->resize(360, 140);
    form->show();
}

}  // namespace run
