// Ctrl-C and SIGTERM during a run: the run stops at its next step instead of dying, so that it
// can still say what it left undone and write its report.
#include <signal.h>

#include <csignal>

#include "cli/cli.h"

namespace cli {

namespace {

volatile std::sig_atomic_t gStopSignal = 0;

struct sigaction gSavedInt {};
struct sigaction gSavedTerm {};

void OnStopSignal(int signal) { gStopSignal = signal; }

}  // namespace

StopSignals::StopSignals() {
    gStopSignal = 0;
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    // One signal asks; a second one, while a stalled host keeps the run from stopping, ends it.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, &gSavedInt);
    sigaction(SIGTERM, &action, &gSavedTerm);
}

StopSignals::~StopSignals() {
    sigaction(SIGINT, &gSavedInt, nullptr);
    sigaction(SIGTERM, &gSavedTerm, nullptr);
}

int StopSignal() { return gStopSignal; }

std::string SignalName(int signal) {
    if (signal == SIGINT) return "SIGINT";
    if (signal == SIGTERM) return "SIGTERM";
    return "signal " + std::to_string(signal);
}

}  // namespace cli
