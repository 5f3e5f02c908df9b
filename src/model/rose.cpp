#include "model/rose.h"

#include "platform/objects.h"
#include "platform/platform.h"

namespace rose {

ObjectRef RoseApp;

bool ConnectToRose() {
    // Attach only: the add-in never starts the modelling tool itself.
    try {
        ObjectRef app =
            automation::Cast(platform::GetActiveObject("Rose.Application"), iid::kApplication);
        if (!app) return false;
        RoseApp = std::move(app);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void PromptConnectToRose() {
    while (!ConnectToRose()) {
        platform::Answer answer = platform::MessageBox("Unable to connect to Rational Rose",
                                                       platform::Buttons::RetryCancel);
        if (answer != platform::Answer::Retry) platform::EndProcess();
    }
}

std::string GetRoseModelName() { return Name(ActiveModel(RoseApp)); }

ObjectRef GetRoseClassByKey(const std::string& key) {
    return ClassByUniqueKey(ActiveModel(RoseApp), key);
}

}  // namespace rose
