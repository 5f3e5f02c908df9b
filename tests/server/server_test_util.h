// What the server link's tests stand on: scripted message boxes, a fake client factory with a
// fake server behind it, tavro-host's objects in-process behind the real factory, and
// rose-host's model in-process as the running modelling tool.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "automation/automation.h"
#include "hosts/rose/model/model.h"
#include "platform/platform.h"
#include "platform/tavro_factory.h"
#include "tests/tavro/tavro_test_util.h"

namespace server_test {

// Answers message boxes from `answers` in turn (Ok once they run out), recording each box;
// ending the process throws platform::ProcessEnded.
struct ScriptedUi {
    std::vector<platform::MessageBoxRequest> boxes;
    std::vector<platform::Answer> answers;
    std::vector<std::string> Texts() const;
};
std::shared_ptr<ScriptedUi> InstallScriptedUi(std::vector<platform::Answer> answers = {});

// Empties ServerFactory, ServerNamespace and ServerClassTypes and puts the platform's
// tables back to their defaults.
void ResetServerLink();

// A result set: its columns by name and its rows of values, one per column.
struct FakeQuery {
    std::vector<std::string> columns;
    std::vector<std::vector<automation::Variant>> rows;
    int executes = 0;
    int closes = 0;
};

// What a fake server answers and what it saw.
struct FakeServer {
    enum class Answer { True, False, Raises };
    std::vector<std::string> connections;  // PromptConnection answers, one per dialog
    bool opens = true;                     // OpenConnection's answer
    Answer supportsSecurity = Answer::False;
    Answer hasPermission = Answer::True;
    std::shared_ptr<FakeQuery> query;  // the query "Summary"; none raises

    bool open = false;  // the connection's state, as ConnectionIsOpen reports it
    int factories = 0;
    int prompts = 0;
    int closes = 0;
    int permissionQuestions = 0;
    std::vector<std::string> promptOptions;
    std::vector<std::string> openedWith;
};
// Makes CreateObject("TavroActiveX.Factory") give a new fake factory of `server`.
void InstallFakeFactory(const std::shared_ptr<FakeServer>& server);

// A temporary tavro-host data directory with the users "dev" (Development) and "viewer"
// (without); removed with the object.
using TavroData = tavro_test::DataDir;
using tavro_test::kDeveloper;
using tavro_test::kDeveloperPassword;
using tavro_test::kViewer;
using tavro_test::kViewerPassword;

// Installs the real client factory with tavro-host's login object of `data` in-process as the
// server's root, and a dialog that answers `choice` and counts itself in `*prompts`.
void InstallTavroHost(const TavroData& data, platform::ConnectionChoice choice,
                      std::shared_ptr<int> prompts = nullptr);

// Makes rose-host with `model` the running modelling tool and attaches to it.
void AttachRose(const std::shared_ptr<rosehost::Model>& model);
// The model class's automation object, as the add-in reaches it.
automation::ObjectRef RoseClassObject(const rosehost::Class& cls);

}  // namespace server_test
