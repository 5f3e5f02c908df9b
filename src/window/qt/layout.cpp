// Where the controls go: positions in twips, shown at 15 twips per pixel, and the rules by
// which the window lays itself out when its size changes.
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QRectF>
#include <QStatusBar>
#include <QTreeWidget>
#include <algorithm>
#include <cmath>

#include "window/qt/import_export_window.h"
#include "window/qt/window_qt_internal.h"

namespace window {

static constexpr double kStatusBarHeight = 360;

static int Pixels(double twips) { return static_cast<int>(std::lround(twips / kTwipsPerPixel)); }

static QRectF Twips(const QWidget* widget) { return widget->property("twips").toRectF(); }

static void Place(QWidget* widget, QRectF twips) {
    // A window made smaller than its controls need would give them negative sizes; they
    // shrink to nothing instead.
    twips.setWidth(std::max(0.0, twips.width()));
    twips.setHeight(std::max(0.0, twips.height()));
    widget->setProperty("twips", twips);
    widget->setGeometry(Pixels(twips.left()), Pixels(twips.top()), Pixels(twips.width()),
                        Pixels(twips.height()));
}

void SetTwips(QWidget* widget, double left, double top, double width, double height) {
    Place(widget, QRectF(left, top, width, height));
}

void SetTwipsLeft(QWidget* widget, double left) {
    QRectF twips = Twips(widget);
    twips.moveLeft(left);
    Place(widget, twips);
}

void SetTwipsTop(QWidget* widget, double top) {
    QRectF twips = Twips(widget);
    twips.moveTop(top);
    Place(widget, twips);
}

void SetTwipsSize(QWidget* widget, double width, double height) {
    QRectF twips = Twips(widget);
    twips.setWidth(width);
    twips.setHeight(height);
    Place(widget, twips);
}

// Whole twips, halves going to the even neighbour.
static double RoundTwips(double twips) { return std::nearbyint(twips); }

void ImportExportWindow::Form_Resize() {
    LayOut(width() * kTwipsPerPixel, height() * kTwipsPerPixel, isMinimized());
}

void ImportExportWindow::LayOut(double width, double height, bool minimized) {
    // The status bar is docked: it always spans the bottom of the client area.
    SetTwips(statusBar_, 0, height - kStatusBarHeight, width, kStatusBarHeight);
    SetTwipsLeft(cmdExportImport_, width - 2880);
    SetTwipsTop(cmdExportImport_, height - 960);
    SetTwipsLeft(cmdClose_, width - 1440);
    SetTwipsTop(cmdClose_, height - 960);
    if (minimized) return;

    SetTwips(fraMain_, 120, 120, width - 240, height - 1200);
    const double frameWidth = Twips(fraMain_).width();
    const double frameHeight = Twips(fraMain_).height();
    const double half = frameWidth / 2;

    SetTwipsTop(chkIncludeDatatype_, frameHeight - 720);
    SetTwipsTop(chkIncludeSystem_, frameHeight - 360);
    SetTwipsLeft(lblSelectedClassesCaption_, half + 480);
    SetTwipsLeft(lstSelectedView_, half + 480);
    SetTwipsTop(chkAddToDiagram_, frameHeight - 720);
    SetTwipsLeft(chkAddToDiagram_, half + 480);
    SetTwipsTop(chkOverride_, frameHeight - 360);
    SetTwipsLeft(chkOverride_, half + 480);

    const double listWidth = RoundTwips(half - 720);
    const double listHeight = RoundTwips(frameHeight - 1680);
    SetTwipsSize(lstAvailableView_, listWidth, listHeight);
    SetTwipsSize(lstSelectedView_, listWidth, listHeight);

    for (QPushButton* arrow : {cmdSelect_, cmdUnselect_, cmdSelectAll_, cmdUnselectAll_})
        SetTwipsLeft(arrow, half - 300);

    SetTwips(fraLog_, 120, 120, width - 240, height - 1200);
    SetTwipsSize(lvwLog_, Twips(fraLog_).width() - 240, Twips(fraLog_).height() - 720);
}

}  // namespace window
