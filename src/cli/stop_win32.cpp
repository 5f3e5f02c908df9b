// Ctrl-C, Ctrl-Break and the console's closing during a run: the run stops at its next step
// instead of dying, so that it can still say what it left undone and write its report. The
// console calls the handler on a thread of its own.
#include <windows.h>

#include <atomic>
#include <csignal>

#include "cli/cli.h"

namespace cli {
namespace {

std::atomic<int> gStopSignal{0};

BOOL WINAPI OnConsoleControl(DWORD event) {
    // One request asks; a second one, while a stalled side keeps the run from stopping, goes on
    // to the system's handler, which ends the process.
    if (gStopSignal.load() != 0) return FALSE;
    switch (event) {
        case CTRL_C_EVENT:
            gStopSignal = SIGINT;
            return TRUE;
        case CTRL_BREAK_EVENT:
            gStopSignal = SIGBREAK;
            return TRUE;
        default:
            // Closing the console, logging off, shutting down: the system ends the process
            // once the handler returns, so the run gets only this much time to stop.
            gStopSignal = SIGTERM;
            ::Sleep(4000);
            return TRUE;
    }
}

}  // namespace

StopSignals::StopSignals() {
    gStopSignal = 0;
    ::SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

StopSignals::~StopSignals() { ::SetConsoleCtrlHandler(OnConsoleControl, FALSE); }

int StopSignal() { return gStopSignal.load(); }

std::string SignalName(int signal) {
    if (signal == SIGINT) return "SIGINT";
    if (signal == SIGBREAK) return "SIGBREAK";
    if (signal == SIGTERM) return "SIGTERM";
    return "signal " + std::to_string(signal);
}

}  // namespace cli
