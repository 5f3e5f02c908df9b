#include "platform/qt/qt_ui.h"

#include <QApplication>
#include <QMessageBox>
#include <QString>
#include <cstdio>
#include <cstdlib>

namespace platform::qt {
namespace {

QMessageBox::Icon QtIcon(Icon icon) {
    switch (icon) {
        case Icon::None:
            return QMessageBox::NoIcon;
        case Icon::Question:
            return QMessageBox::Question;
        case Icon::Information:
            return QMessageBox::Information;
        case Icon::Exclamation:
            return QMessageBox::Warning;
        case Icon::Critical:
            return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons QtButtons(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return QMessageBox::Ok;
        case Buttons::OkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case Buttons::RetryCancel:
            return QMessageBox::Retry | QMessageBox::Cancel;
        case Buttons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
    }
    return QMessageBox::Ok;
}

// Closing the box through its title bar gives the escape button: Cancel, No, or Ok for a box
// with only Ok.
Answer AnswerOf(int button) {
    switch (button) {
        case QMessageBox::Ok:
            return Answer::Ok;
        case QMessageBox::Retry:
            return Answer::Retry;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        default:
            return Answer::Cancel;
    }
}

}  // namespace

Answer ShowQtMessageBox(const MessageBoxRequest& request) {
    QMessageBox box(QtIcon(request.icon), QString::fromStdString(request.title),
                    QString::fromStdString(request.text), QtButtons(request.buttons));
    return AnswerOf(box.exec());
}

void InstallQtUi() {
    UiOps& ops = Ui();
    ops.messageBox = ShowQtMessageBox;
    ops.doEvents = [] { QCoreApplication::processEvents(); };
    ops.endProcess = [](int status) {
        std::fflush(nullptr);
        std::_Exit(status);
    };
}

}  // namespace platform::qt
