// Where the controls of frmImportExport go: positions in twips, shown at 15 twips per pixel,
// and the rules by which the window lays itself out when its size changes.
#include <algorithm>
#include <cmath>

#include "window/win32/window_ids.h"
#include "window/win32/window_win32_internal.h"

namespace window::win32 {

int Pixels(double twips) { return static_cast<int>(std::lround(twips / kTwipsPerPixel)); }

Places DesignPlaces() {
    return {
        {IDC_FRAMAIN, {120, 120, 6615, 6855}},
        {IDC_FRALOG, {6840, 120, 1935, 6855}},
        {IDC_CMDEXPORTIMPORT, {6000, 7080, 1335, 495}},
        {IDC_CMDCLOSE, {7440, 7080, 1335, 495}},
        {IDC_STATUSBAR, {0, 8085 - kStatusBarHeight, 8895, kStatusBarHeight}},
        {IDC_LBLNAMESPACEORMODEL, {240, 360, 5055, 255}},
        {IDC_LBLAVAILABLECLASSESCAPTION, {240, 720, 2055, 255}},
        {IDC_LBLSELECTEDCLASSESCAPTION, {3240, 720, 1935, 255}},
        {IDC_LSTAVAILABLECLASSES, {240, 960, 1935, 4860}},
        {IDC_LSTSELECTEDCLASSES, {3240, 960, 2055, 4860}},
        {IDC_CMDSELECT, {2400, 960, 600, 600}},
        {IDC_CMDUNSELECT, {2400, 1560, 600, 600}},
        {IDC_CMDSELECTALL, {2400, 2400, 600, 600}},
        {IDC_CMDUNSELECTALL, {2400, 3000, 600, 600}},
        {IDC_CHKINCLUDEDATATYPE, {240, 6120, 2535, 255}},
        {IDC_CHKINCLUDESYSTEM, {240, 6480, 2535, 255}},
        {IDC_CHKADDTODIAGRAM, {3240, 6120, 3255, 255}},
        {IDC_CHKOVERRIDE, {3240, 6480, 3255, 255}},
        {IDC_LBLLOG, {120, 360, 1335, 255}},
        {IDC_LVWLOG, {120, 600, 1695, 5415}},
    };
}

int FrameOf(int id) {
    switch (id) {
        case IDC_LBLLOG:
        case IDC_LVWLOG:
            return IDC_FRALOG;
        case IDC_FRAMAIN:
        case IDC_FRALOG:
        case IDC_CMDEXPORTIMPORT:
        case IDC_CMDCLOSE:
        case IDC_STATUSBAR:
            return 0;
        default:
            return IDC_FRAMAIN;
    }
}

// Whole twips, halves going to the even neighbour.
static double RoundTwips(double twips) { return std::nearbyint(twips); }

static void SetSize(Twips& place, double width, double height) {
    place.width = std::max(0.0, width);
    place.height = std::max(0.0, height);
}

void LayOut(Places& places, double width, double height, bool minimized) {
    // The status bar is docked: it always spans the bottom of the client area.
    places[IDC_STATUSBAR] = {0, height - kStatusBarHeight, width, kStatusBarHeight};
    places[IDC_CMDEXPORTIMPORT].left = width - 2880;
    places[IDC_CMDEXPORTIMPORT].top = height - 960;
    places[IDC_CMDCLOSE].left = width - 1440;
    places[IDC_CMDCLOSE].top = height - 960;
    if (minimized) return;

    Twips& frame = places[IDC_FRAMAIN];
    frame.left = 120;
    frame.top = 120;
    SetSize(frame, width - 240, height - 1200);
    const double half = frame.width / 2;

    places[IDC_CHKINCLUDEDATATYPE].top = frame.height - 720;
    places[IDC_CHKINCLUDESYSTEM].top = frame.height - 360;
    places[IDC_LBLSELECTEDCLASSESCAPTION].left = half + 480;
    places[IDC_LSTSELECTEDCLASSES].left = half + 480;
    places[IDC_CHKADDTODIAGRAM].top = frame.height - 720;
    places[IDC_CHKADDTODIAGRAM].left = half + 480;
    places[IDC_CHKOVERRIDE].top = frame.height - 360;
    places[IDC_CHKOVERRIDE].left = half + 480;

    const double listWidth = RoundTwips(half - 720);
    const double listHeight = RoundTwips(frame.height - 1680);
    SetSize(places[IDC_LSTAVAILABLECLASSES], listWidth, listHeight);
    SetSize(places[IDC_LSTSELECTEDCLASSES], listWidth, listHeight);

    for (int arrow : {IDC_CMDSELECT, IDC_CMDUNSELECT, IDC_CMDSELECTALL, IDC_CMDUNSELECTALL})
        places[arrow].left = half - 300;

    Twips& log = places[IDC_FRALOG];
    log = {120, 120, 0, 0};
    SetSize(log, width - 240, height - 1200);
    SetSize(places[IDC_LVWLOG], log.width - 240, log.height - 720);
}

}  // namespace window::win32
