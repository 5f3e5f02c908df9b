// The `corvansil` executable: the command line as one text, a QApplication for every run that
// shows a window (the silent installation needs no display, unless it fails and a person can
// see its message box), then the entry routine.
#include <QApplication>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/platform.h"
#include "platform/qt/qt_ui.h"
#include "run/program.h"
#include "run/run.h"

namespace {

std::string JoinArguments(int argc, char** argv) {
    std::string line;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) line += ' ';
        line += argv[i];
    }
    return line;
}

bool HasDisplay() {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return true;
    }
    return false;
}

[[noreturn]] void NoDisplay() {
    std::fprintf(stderr,
                 "corvansil: no display available for this run (set DISPLAY, or "
                 "QT_QPA_PLATFORM=offscreen); only INSTALL runs without one\n");
    std::fflush(nullptr);
    std::_Exit(2);
}

// Qt gives up with a fatal message when its platform plugin cannot start.
void FatalToExit(QtMsgType type, const QMessageLogContext&, const QString& message) {
    std::fprintf(stderr, "corvansil: %s\n", message.toLocal8Bit().constData());
    if (type == QtFatalMsg) NoDisplay();
}

// Once a failed silent installation has written its error, a display that cannot be opened
// only loses the message box; the run still ends as failed.
void FatalAfterInstallError(QtMsgType type, const QMessageLogContext&, const QString& message) {
    std::fprintf(stderr, "corvansil: %s\n", message.toLocal8Bit().constData());
    if (type != QtFatalMsg) return;
    std::fflush(nullptr);
    std::_Exit(1);
}

// A silent installation starts no QApplication; only its failure, with a person at a display,
// needs one for the message box.
[[noreturn]] void EndSilentInstall(int& argc, char** argv, const std::exception& error) {
    if (!run::HasInteractiveDisplay()) run::EndSilentInstallWithError(error, /*showBox=*/false);
    qInstallMessageHandler(FatalAfterInstallError);
    // The process ends from the box without returning here, so the application is never torn
    // down.
    static QApplication app(argc, argv);
    platform::qt::InstallQtUi();
    run::EndSilentInstallWithError(error, /*showBox=*/true);
}

bool AnyWindowVisible() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible()) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    std::string commandLine = JoinArguments(argc, argv);
    // Answered before any window or display: not a command word of the modelling tool's menu.
    if (run::CommandWord(commandLine) == "--VERSION") {
        std::printf("corvansil %s\n", run::ProgramVersion);
        return 0;
    }
    bool silent = run::RunKindOf(run::CommandWord(commandLine)) == run::RunKind::SilentInstall;
    if (silent) {
        try {
            run::Main(commandLine);
        } catch (const std::exception& error) {
            EndSilentInstall(argc, argv, error);
        }
        return 0;
    }

    if (!HasDisplay()) NoDisplay();
    QtMessageHandler previous = qInstallMessageHandler(FatalToExit);
    QApplication app(argc, argv);
    qInstallMessageHandler(previous);
    run::InstallProgram();

    try {
        run::Main(commandLine);
    } catch (const std::exception& error) {
        run::EndWithUntrappedError(error);
    }
    // The process lives as long as one of its windows is open.
    if (!AnyWindowVisible()) return 0;
    return QApplication::exec();
}
