// The rules by which the Win32 transfer window lays its controls out, in twips.
#include <gtest/gtest.h>

#include "window/win32/window_ids.h"
#include "window/win32/window_win32_internal.h"

namespace {

using window::win32::Places;
using window::win32::Twips;

TEST(LayOut, PlacesEveryControlForTheClientArea) {
    struct Case {
        const char* name;
        double width, height;
        bool minimized;
        int id;
        Twips expected;
    };
    // clang-format off
    const Case cases[] = {
        // The client area the window is created with (8895 x 8085).
        {"created frame", 8895, 8085, false, IDC_FRAMAIN, {120, 120, 8655, 6885}},
        {"created close", 8895, 8085, false, IDC_CMDCLOSE, {7455, 7125, 1335, 495}},
        // 10000 x 9000: frame 9760 x 7800, lists 4160 x 6120, arrows at 4580, right side 5360.
        {"frame", 10000, 9000, false, IDC_FRAMAIN, {120, 120, 9760, 7800}},
        {"available list", 10000, 9000, false, IDC_LSTAVAILABLECLASSES, {240, 960, 4160, 6120}},
        {"selected list", 10000, 9000, false, IDC_LSTSELECTEDCLASSES, {5360, 960, 4160, 6120}},
        {"select all", 10000, 9000, false, IDC_CMDSELECTALL, {4580, 2400, 600, 600}},
        {"override", 10000, 9000, false, IDC_CHKOVERRIDE, {5360, 7440, 3255, 255}},
        {"include system", 10000, 9000, false, IDC_CHKINCLUDESYSTEM, {240, 7440, 2535, 255}},
        {"start", 10000, 9000, false, IDC_CMDEXPORTIMPORT, {7120, 8040, 1335, 495}},
        {"close", 10000, 9000, false, IDC_CMDCLOSE, {8560, 8040, 1335, 495}},
        {"status bar", 10000, 9000, false, IDC_STATUSBAR, {0, 8640, 10000, 360}},
        {"log", 10000, 9000, false, IDC_LVWLOG, {120, 600, 9520, 7080}},
        // Odd half widths round to the even whole twip: 9761 / 2 - 720 = 4160.5.
        {"half twip", 10001, 9000, false, IDC_LSTAVAILABLECLASSES, {240, 960, 4160, 6120}},
        // Minimized: only the bottom buttons follow; the frame keeps the drawn place.
        {"minimized frame", 10000, 9000, true, IDC_FRAMAIN, {120, 120, 6615, 6855}},
        {"minimized close", 10000, 9000, true, IDC_CMDCLOSE, {8560, 8040, 1335, 495}},
        // Too small for the rules: sizes stop at 0.
        {"tiny list", 1000, 2000, false, IDC_LSTAVAILABLECLASSES, {240, 960, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Places places = window::win32::DesignPlaces();
        window::win32::LayOut(places, c.width, c.height, c.minimized);
        const Twips& got = places.at(c.id);
        EXPECT_EQ(got.left, c.expected.left);
        EXPECT_EQ(got.top, c.expected.top);
        EXPECT_EQ(got.width, c.expected.width);
        EXPECT_EQ(got.height, c.expected.height);
    }
}

}  // namespace
