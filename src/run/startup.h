// frmStartUp, the start-up window: the splash picture with the version and a progress line.
// It closes itself 2000 ms after it loads, or at a click on the picture. Each showing loads it
// afresh. Needs a QApplication.
#pragma once

#include <string>

class QDialog;
class QImage;

namespace run {

inline constexpr int kStartUpInterval = 2000;  // ms, timStartUp
inline constexpr int kPictureWidth = 402;
inline constexpr int kPictureHeight = 485;

// Shows the window and waits until it closes.
void ShowStartUpModal();
// Shows the window and goes on.
void ShowStartUp();
// Sets the caption of lblStartUp (the window must be showing).
void SetStartUpProgress(const std::string& text);
// Switches timStartUp on: the window closes 2000 ms from now.
void StartStartUpTimer();
// The window while it is loaded, else nullptr. Its controls carry their names as objectName.
QDialog* StartUpWindow();

// The splash picture: 402 x 485 pixels, 24-bit, drawn once per process.
const QImage& StartUpPicture();

}  // namespace run
