// Helpers shared by the files of the Win32 windows; not part of what the folder offers.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/win32/win32_api.h"
#include "window/window.h"

namespace window::win32 {

// Twips per pixel: all positions are kept in twips and shown at this scale.
inline constexpr double kTwipsPerPixel = 15.0;
inline constexpr double kStatusBarHeight = 360;

int Pixels(double twips);

// A control's rectangle in twips, relative to its container.
struct Twips {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
};

// Where each control of frmImportExport stands, by control id. Controls inside a frame are
// placed relative to the frame.
using Places = std::map<int, Twips>;
// The positions as drawn.
Places DesignPlaces();
// The frame that holds a control (IDC_FRAMAIN, IDC_FRALOG), or 0 for the window itself.
int FrameOf(int id);
// The layout rules for a client area of `width` x `height` twips. While minimized only the
// start and close buttons move. Sizes below zero become 0.
void LayOut(Places& places, double width, double height, bool minimized);

// The window's type face: MS Sans Serif 9.75 pt, bold for buttons and labels; Verdana 12 pt
// bold for the start-up window's text lines. Made once, kept for the process.
HFONT WindowFont(bool bold);
HFONT StartUpFont();

// The pictures of the four arrow buttons (32 x 32, white drawn transparent), the event log's
// image list (16 x 16: 1 red cross, 2 blue check mark, 3 green triangle, at positions 0 to 2)
// and the 402 x 485 splash picture.
enum class Arrow : std::uint8_t { Right, Left, RightAll, LeftAll };
HICON ArrowPicture(Arrow arrow);
HIMAGELIST LogPictures();
HBITMAP SplashPicture();

// A visible class list over a sorted extended-selection list box.
class ListBoxList final : public ClassList {
  public:
    explicit ListBoxList(HWND listBox) : box_(listBox) {}
    std::int16_t AddItem(const std::string& text) override;
    void InsertItem(std::int16_t index, const std::string& text) override;
    void RemoveItem(std::int16_t index) override;
    void Clear() override;
    std::int16_t ListCount() const override;
    std::string List(std::int16_t index) const override;
    bool Selected(std::int16_t index) const override;
    void SetSelected(std::int16_t index, bool selected) override;

  private:
    HWND box_;
};

// Stops a list box's painting for the guard's lifetime, so that a batch of moves shows once.
class NoRedraw {
  public:
    explicit NoRedraw(HWND window);
    ~NoRedraw();
    NoRedraw(const NoRedraw&) = delete;
    NoRedraw& operator=(const NoRedraw&) = delete;

  private:
    HWND window_;
};

}  // namespace window::win32
