// Puts rose-host's model in-process in the place of the running modelling tool, and scripts
// the answers of message boxes, for the tests of the model link.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hosts/rose/model/objects.h"
#include "platform/platform.h"

// Installs `host` as the running "Rose.Application" (nullptr: none runs) and empties RoseApp.
void InstallRose(const std::shared_ptr<rosehost::Host>& host);
// Answers message boxes from `answers` in turn, recording each request; ending the process
// throws platform::ProcessEnded.
struct ScriptedUi {
    std::vector<platform::MessageBoxRequest> boxes;
    std::vector<platform::Answer> answers;
};
void InstallUi(const std::shared_ptr<ScriptedUi>& ui);
