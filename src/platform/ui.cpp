#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"

namespace platform {
namespace {

Answer DefaultMessageBox(const MessageBoxRequest& request) {
    std::fprintf(stderr, "%s: %s\n", request.title.c_str(), request.text.c_str());
    switch (request.buttons) {
        case Buttons::Ok:
            return Answer::Ok;
        case Buttons::OkCancel:
        case Buttons::RetryCancel:
            return Answer::Cancel;
        case Buttons::YesNo:
            return Answer::No;
    }
    return Answer::Cancel;
}

UiOps DefaultOps() {
    UiOps ops;
    ops.messageBox = DefaultMessageBox;
    ops.doEvents = [] {};
    ops.endProcess = [](int status) {
        std::fflush(nullptr);
        std::_Exit(status);
    };
    return ops;
}

}  // namespace

UiOps& Ui() {
    static UiOps ops = DefaultOps();
    return ops;
}

void ResetUi() { Ui() = DefaultOps(); }

Answer MessageBox(const std::string& text, Buttons buttons, Icon icon, const std::string& title) {
    MessageBoxRequest request{text, title.empty() ? kProgramTitle : title, buttons, icon};
    return Ui().messageBox(request);
}

void DoEvents() { Ui().doEvents(); }

void EndProcess(int status) {
    Ui().endProcess(status);
    // An implementation that returns has failed its contract; never go on with the run.
    std::fflush(nullptr);
    std::_Exit(status);
}

}  // namespace platform
