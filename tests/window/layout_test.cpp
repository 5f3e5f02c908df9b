// The window's controls as drawn, and the rules by which it lays them out when resized.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCheckBox>
#include <QFontInfo>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QRectF>
#include <QStatusBar>

#include "window_test_support.h"

namespace {

using window_test::LoadedWindow;

const char* const kTipAvailable =
    "This list contains the Rose class definitions available for export to Tavro";
const char* const kTipSelected =
    "This list contains the Rose class definitions selected for export to Tavro";

QRectF Twips(const QWidget* widget) { return widget->property("twips").toRectF(); }

QString Caption(const QWidget* widget) {
    if (auto* button = qobject_cast<const QAbstractButton*>(widget)) return button->text();
    if (auto* label = qobject_cast<const QLabel*>(widget)) return label->text();
    return {};
}

TEST(frmImportExport, HasEveryControlAsDrawnInTabOrder) {
    struct Case {
        const char* name;
        const char* type;
        const char* parent;
        const char* caption;
        QRectF twips;
        const char* tip;
        int tabIndex;
        bool hidden;
        bool enabled;
        int checked;  // -1: not a check box
        bool bold;
    };
    // clang-format off
    const Case cases[] = {
        {"fraMain", "QGroupBox", "frmImportExport", "", {120, 120, 6615, 6855}, "", 0, false, true, -1, false},
        {"fraLog", "QGroupBox", "frmImportExport", "", {6840, 120, 1935, 6855}, "", 9, true, true, -1, false},
        {"cmdExportImport", "QPushButton", "frmImportExport", "Export", {6000, 7080, 1335, 495},
         "Press this button to start exporting the classes in the selected list", 12, false, false, -1, true},
        {"cmdClose", "QPushButton", "frmImportExport", "Cancel", {7440, 7080, 1335, 495},
         "Press this button to close this window", 11, false, true, -1, true},
        {"StatusBar", "QStatusBar", "frmImportExport", "", {0, 7725, 8895, 360}, "", 16, false, true, -1, false},
        {"lblNamespaceOrModel", "QLabel", "fraMain", "", {240, 360, 5055, 255}, kTipAvailable, 17, false, true, -1, true},
        {"lblAvailableClassesCaption", "QLabel", "fraMain", "Available Classes", {240, 720, 2055, 255},
         kTipAvailable, 7, false, true, -1, true},
        {"lblSelectedClassesCaption", "QLabel", "fraMain", "Selected Classes", {3240, 720, 1935, 255},
         kTipSelected, 8, false, true, -1, true},
        {"lstAvailableClasses", "QListView", "fraMain", "", {240, 960, 1935, 4860}, kTipAvailable, 1, false, true, -1, false},
        {"lstSelectedClasses", "QListView", "fraMain", "", {3240, 960, 2055, 4860}, kTipSelected, 2, false, true, -1, false},
        {"cmdSelect", "QPushButton", "fraMain", "", {2400, 960, 600, 600},
         "Press this button to move the highlighted class in the available list to the selected list", 3, false, false, -1, false},
        {"cmdUnselect", "QPushButton", "fraMain", "", {2400, 1560, 600, 600},
         "Press this button to move the highlighted class in the selected list to the available list", 4, false, false, -1, false},
        {"cmdSelectAll", "QPushButton", "fraMain", "", {2400, 2400, 600, 600},
         "Press this button to move all classes from the available list to the selected list", 6, false, false, -1, false},
        {"cmdUnselectAll", "QPushButton", "fraMain", "", {2400, 3000, 600, 600},
         "Press this button to move all classes from the selected list to the available list", 5, false, false, -1, false},
        {"chkIncludeDatatype", "QCheckBox", "fraMain", "Include Datatype Classes", {240, 6120, 2535, 255}, "", 21, false, true, 0, false},
        {"chkIncludeSystem", "QCheckBox", "fraMain", "Include System Classes", {240, 6480, 2535, 255}, "", 20, false, true, 0, false},
        {"chkAddToDiagram", "QCheckBox", "fraMain", "Add New Classes to the Active Diagram", {3240, 6120, 3255, 255}, "", 14, false, true, 1, false},
        {"chkOverride", "QCheckBox", "fraMain", "Override Existing Classes", {3240, 6480, 3255, 255}, "", 13, false, true, 1, false},
        {"lblLog", "QLabel", "fraLog", "Event Log", {120, 360, 1335, 255}, kTipSelected, 15, false, true, -1, true},
        {"lvwLog", "QTreeWidget", "fraLog", "", {120, 600, 1695, 5415}, "", 10, false, true, -1, false},
    };
    // clang-format on
    window_test::App();
    window::LinkMode = window::RunMode::None;
    window::ImportExportWindow form(window::RunOps{});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto* widget = form.findChild<QWidget*>(c.name);
        ASSERT_NE(widget, nullptr);
        EXPECT_STREQ(widget->metaObject()->className(), c.type);
        EXPECT_EQ(widget->parentWidget()->objectName(), c.parent);
        EXPECT_EQ(Caption(widget), c.caption);
        EXPECT_EQ(Twips(widget), c.twips);
        EXPECT_EQ(widget->geometry(),
                  QRect(qRound(c.twips.left() / 15), qRound(c.twips.top() / 15),
                        qRound(c.twips.width() / 15), qRound(c.twips.height() / 15)));
        EXPECT_EQ(widget->toolTip(), c.tip);
        EXPECT_EQ(widget->property("TabIndex").toInt(), c.tabIndex);
        EXPECT_EQ(widget->isHidden(), c.hidden);
        EXPECT_EQ(widget->isEnabled(), c.enabled);
        if (c.checked >= 0) {
            EXPECT_EQ(qobject_cast<QCheckBox*>(widget)->isChecked(), c.checked == 1);
        }
        EXPECT_EQ(widget->font().bold(), c.bold);
        EXPECT_DOUBLE_EQ(widget->font().pointSizeF(), 9.75);
    }
    EXPECT_EQ(form.size(), QSize(593, 539));  // 8895 x 8085 twips

    // Focus follows the tab indexes.
    const char* const order[] = {
        "lstAvailableClasses", "lstSelectedClasses", "cmdSelect",       "cmdUnselect",
        "cmdUnselectAll",      "cmdSelectAll",       "lvwLog",          "cmdClose",
        "cmdExportImport",     "chkOverride",        "chkAddToDiagram", "chkIncludeSystem",
        "chkIncludeDatatype"};
    // The chain also passes the inner parts of compound controls; only named controls that
    // take the focus count.
    auto next = [](QWidget* from) {
        QWidget* widget = from->nextInFocusChain();
        while (widget != from &&
               (!widget->property("TabIndex").isValid() || widget->focusPolicy() == Qt::NoFocus))
            widget = widget->nextInFocusChain();
        return widget;
    };
    QWidget* widget = form.findChild<QWidget*>(order[0]);
    for (std::size_t i = 1; i < std::size(order); ++i) {
        SCOPED_TRACE(order[i]);
        widget = next(widget);
        EXPECT_EQ(widget->objectName(), order[i]);
    }
}

// Every control is drawn at the one size; the narrow face that stands in for the window's own
// lets every caption fit the width it was drawn at. Without that face (scripts/deps.sh installs
// fonts-liberation) the widths are not comparable.
TEST(frmImportExport, CaptionsFitTheirControlsInTheStandInFace) {
    window_test::App();
    window::LinkMode = window::RunMode::None;
    window::ImportExportWindow form(window::RunOps{});
    const QString face = QFontInfo(form.font()).family();
    if (!face.startsWith("Liberation Sans Narrow") && !face.startsWith("Nimbus Sans Narrow"))
        GTEST_SKIP() << "no narrow stand-in face; the window is drawn in " << face.toStdString();
    for (const char* name :
         {"chkIncludeDatatype", "chkIncludeSystem", "chkAddToDiagram", "chkOverride",
          "lblAvailableClassesCaption", "lblSelectedClassesCaption", "lblLog", "cmdExportImport",
          "cmdClose"}) {
        SCOPED_TRACE(name);
        auto* widget = form.findChild<QWidget*>(name);
        ASSERT_NE(widget, nullptr);
        const int captionWidth =
            qobject_cast<QCheckBox*>(widget) != nullptr
                ? widget->sizeHint().width()
                : QFontMetrics(widget->font()).horizontalAdvance(Caption(widget));
        EXPECT_LE(captionWidth, widget->width());
    }
}

TEST(frmImportExport, ArrowButtonsShowPicturesWithoutText) {
    window_test::App();
    window::ImportExportWindow form(window::RunOps{});
    for (const char* name : {"cmdSelect", "cmdUnselect", "cmdSelectAll", "cmdUnselectAll"}) {
        SCOPED_TRACE(name);
        auto* button = form.findChild<QPushButton*>(name);
        EXPECT_TRUE(button->text().isEmpty());
        EXPECT_EQ(button->iconSize(), QSize(32, 32));
        QPixmap picture = button->icon().pixmap(32, 32);
        ASSERT_FALSE(picture.isNull());
        // The white ground is see-through; the arrow's middle is not.
        QImage image = picture.toImage();
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
        EXPECT_EQ(qAlpha(image.pixel(image.width() / 2, image.height() / 2)), 255);
    }
}

TEST(Form_Resize, FollowsTheClientAreaWithoutNegativeSizes) {
    auto form = LoadedWindow(2);
    form->LayOut(10000, 9000, /*minimized=*/false);
    struct Case {
        const char* name;
        QRectF twips;
    };
    const Case cases[] = {
        {"fraMain", {120, 120, 9760, 7800}},
        {"fraLog", {120, 120, 9760, 7800}},
        {"lvwLog", {120, 600, 9520, 7080}},
        {"lstAvailableClasses", {240, 960, 4160, 6120}},
        {"lstSelectedClasses", {5360, 960, 4160, 6120}},
        {"lblSelectedClassesCaption", {5360, 720, 1935, 255}},
        {"cmdSelect", {4580, 960, 600, 600}},
        {"cmdUnselect", {4580, 1560, 600, 600}},
        {"cmdSelectAll", {4580, 2400, 600, 600}},
        {"cmdUnselectAll", {4580, 3000, 600, 600}},
        {"chkIncludeDatatype", {240, 7080, 2535, 255}},
        {"chkIncludeSystem", {240, 7440, 2535, 255}},
        {"chkAddToDiagram", {5360, 7080, 3255, 255}},
        {"chkOverride", {5360, 7440, 3255, 255}},
        {"cmdExportImport", {7120, 8040, 1335, 495}},
        {"cmdClose", {8560, 8040, 1335, 495}},
        {"StatusBar", {0, 8640, 10000, 360}},
        {"lblNamespaceOrModel", {240, 360, 5055, 255}},
        {"lblLog", {120, 360, 1335, 255}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Twips(form->findChild<QWidget*>(c.name)), c.twips);
    }

    // Minimized, only the bottom buttons move; restored, the frames follow again.
    form->LayOut(6000, 5000, /*minimized=*/true);
    EXPECT_EQ(Twips(form->findChild<QWidget*>("cmdExportImport")).topLeft(), QPointF(3120, 4040));
    EXPECT_EQ(Twips(form->findChild<QWidget*>("cmdClose")).topLeft(), QPointF(4560, 4040));
    EXPECT_EQ(Twips(form->findChild<QWidget*>("fraMain")), QRectF(120, 120, 9760, 7800));
    EXPECT_EQ(Twips(form->findChild<QWidget*>("lstSelectedClasses")),
              QRectF(5360, 960, 4160, 6120));
    form->LayOut(6000, 5000, /*minimized=*/false);
    EXPECT_EQ(Twips(form->findChild<QWidget*>("fraMain")), QRectF(120, 120, 5760, 3800));

    // Half-twip list widths round to even: the frame is 8655 wide, so each list is
    // 8655 / 2 - 720 = 3607.5 -> 3608; 8865 wide: 8625 / 2 - 720 = 3592.5 -> 3592.
    for (auto [width, listWidth] : {std::pair{8895.0, 3608.0}, {8865.0, 3592.0}}) {
        SCOPED_TRACE(width);
        form->LayOut(width, 8085, /*minimized=*/false);
        EXPECT_EQ(Twips(form->findChild<QWidget*>("lstAvailableClasses")).width(), listWidth);
        EXPECT_EQ(Twips(form->findChild<QWidget*>("lstSelectedClasses")).width(), listWidth);
    }

    form->LayOut(900, 1500, /*minimized=*/false);
    for (QWidget* widget : form->findChildren<QWidget*>()) {
        if (!widget->property("twips").isValid()) continue;
        SCOPED_TRACE(widget->objectName().toStdString());
        EXPECT_GE(Twips(widget).width(), 0);
        EXPECT_GE(Twips(widget).height(), 0);
        EXPECT_GE(widget->width(), 0);
        EXPECT_GE(widget->height(), 0);
    }
    EXPECT_EQ(Twips(form->findChild<QWidget*>("lstAvailableClasses")).size(), QSizeF(0, 0));
}

TEST(Form_Resize, FirstShowingLaysOutTheCreationSize) {
    auto form = LoadedWindow(2);
    form->show();
    QCoreApplication::processEvents();
    EXPECT_EQ(Twips(form->findChild<QWidget*>("fraMain")), QRectF(120, 120, 8655, 6885));
    EXPECT_EQ(Twips(form->findChild<QWidget*>("cmdClose")).topLeft(), QPointF(7455, 7125));
    form->hide();
}

TEST(Form_Load, SetsUpEachRunMode) {
    struct Case {
        std::int16_t mode;
        const char* title;
        const char* startCaption;
        bool mainShown;
        bool startShown;
        bool includeShown;
        bool addToDiagramShown;
    };
    const Case cases[] = {
        {1, "Export Classes from Rose to Tavro", "Export", true, true, false, false},
        {2, "Import Classes from Tavro to Rose", "Import", true, true, true, true},
        {3, "Import Datatype Classes from Tavro to Rose", "Export", false, false, true, true},
        {4, "Import System Classes from Tavro to Rose", "Export", false, false, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        auto form = LoadedWindow(c.mode);
        EXPECT_EQ(form->windowTitle(), c.title);
        auto* start = form->findChild<QPushButton*>("cmdExportImport");
        EXPECT_EQ(start->text(), c.startCaption);
        EXPECT_EQ(!start->isHidden(), c.startShown);
        EXPECT_EQ(!form->findChild<QWidget*>("fraMain")->isHidden(), c.mainShown);
        EXPECT_EQ(form->findChild<QWidget*>("fraLog")->isHidden(), c.mainShown);
        EXPECT_EQ(!form->findChild<QWidget*>("chkIncludeDatatype")->isHidden(), c.includeShown);
        EXPECT_EQ(!form->findChild<QWidget*>("chkIncludeSystem")->isHidden(), c.includeShown);
        EXPECT_EQ(!form->findChild<QWidget*>("chkAddToDiagram")->isHidden(), c.addToDiagramShown);
        EXPECT_FALSE(form->findChild<QWidget*>("chkOverride")->isHidden());
        EXPECT_EQ(form->CloseCaption(), "Cancel");
        EXPECT_EQ(window::frmImportExport, form.get());  // the process's window while it lives
        form.reset();
        EXPECT_EQ(window::frmImportExport, nullptr);
    }
}

}  // namespace
