#include "rose_host.h"

#include "model/rose.h"
#include "platform/objects.h"

void InstallRose(const std::shared_ptr<rosehost::Host>& host) {
    platform::ResetObjects();
    rose::RoseApp = nullptr;
    platform::Objects().getActiveObject = [host](const std::string& progId) {
        if (!host || progId != "Rose.Application") {
            throw automation::AutomationError("ActiveX component can't create object");
        }
        return rosehost::ApplicationObject(host);
    };
}

void InstallUi(const std::shared_ptr<ScriptedUi>& ui) {
    platform::ResetUi();
    platform::Ui().messageBox = [ui](const platform::MessageBoxRequest& request) {
        ui->boxes.push_back(request);
        if (ui->answers.empty()) return platform::Answer::Cancel;
        platform::Answer answer = ui->answers.front();
        ui->answers.erase(ui->answers.begin());
        return answer;
    };
    platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
}
