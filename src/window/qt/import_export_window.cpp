#include "window/qt/import_export_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFont>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QStatusBar>
#include <QTreeWidget>
#include <algorithm>
#include <exception>
#include <vector>

#include "platform/platform.h"
#include "window/qt/window_qt_internal.h"

namespace window {

static const char* const kTipAvailable =
    "This list contains the Rose class definitions available for export to Tavro";
static const char* const kTipSelected =
    "This list contains the Rose class definitions selected for export to Tavro";

// The window's type face: the one it was drawn with where the machine has it, else a narrow
// sans serif face whose widths let every caption fit the width it was drawn at, at the same
// size (Liberation Sans Narrow from fonts-liberation, or its URW twin). Wider faces come last:
// they keep the size and cut the longest captions off.
static QFont WindowFont(bool bold) {
    QFont font;
    font.setFamilies({"MS Sans Serif", "Liberation Sans Narrow", "Nimbus Sans Narrow",
                      "Liberation Sans", "DejaVu Sans"});
    font.setPointSizeF(9.75);
    font.setBold(bold);
    return font;
}

// Names the control, sets its place in the tab order and its tooltip.
template <typename W>
static W* Named(W* widget, const char* name, int tabIndex, const char* tip = nullptr) {
    widget->setObjectName(name);
    widget->setProperty("TabIndex", tabIndex);
    if (tip != nullptr) widget->setToolTip(tip);
    return widget;
}

static QPushButton* PictureButton(QWidget* parent, Arrow arrow) {
    auto* button = new QPushButton(parent);
    button->setIcon(QIcon(ArrowPicture(arrow)));
    button->setIconSize(QSize(32, 32));
    button->setEnabled(false);
    return button;
}

static QListView* ClassListView(QWidget* parent) {
    auto* view = new QListView(parent);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setUniformItemSizes(true);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setFont(WindowFont(/*bold=*/false));
    return view;
}

ImportExportWindow::ImportExportWindow(RunOps ops, QWidget* parent)
    : QWidget(parent),
      ops_(std::move(ops)),
      availableIds_(NewPlainList(/*sorted=*/false)),
      selectedIds_(NewPlainList(/*sorted=*/false)) {
    setObjectName("frmImportExport");
    setFont(WindowFont(/*bold=*/false));
    CreateControls();
    ConnectHandlers();
    // The client area it is created with; the first showing lays the controls out for it.
    resize(static_cast<int>(8895 / kTwipsPerPixel), static_cast<int>(8085 / kTwipsPerPixel));
    if (frmImportExport == nullptr) frmImportExport = this;
}

ImportExportWindow::~ImportExportWindow() {
    if (frmImportExport == this) frmImportExport = nullptr;
}

void ImportExportWindow::CreateControls() {
    const QFont bold = WindowFont(/*bold=*/true);

    fraMain_ = Named(new QGroupBox(this), "fraMain", 0);
    SetTwips(fraMain_, 120, 120, 6615, 6855);
    fraLog_ = Named(new QGroupBox(this), "fraLog", 9);
    SetTwips(fraLog_, 6840, 120, 1935, 6855);
    fraLog_->hide();

    cmdExportImport_ = Named(new QPushButton("Export", this), "cmdExportImport", 12,
                             "Press this button to start exporting the classes in the selected "
                             "list");
    cmdExportImport_->setFont(bold);
    cmdExportImport_->setEnabled(false);
    SetTwips(cmdExportImport_, 6000, 7080, 1335, 495);
    cmdClose_ = Named(new QPushButton("Cancel", this), "cmdClose", 11,
                      "Press this button to close this window");
    cmdClose_->setFont(bold);
    SetTwips(cmdClose_, 7440, 7080, 1335, 495);

    statusBar_ = Named(new QStatusBar(this), "StatusBar", 16);
    statusText_ = new QLabel(statusBar_);
    statusText_->setObjectName("StatusBarText");
    statusBar_->addWidget(statusText_, 1);
    statusBar_->setFont(WindowFont(/*bold=*/false));
    SetTwips(statusBar_, 0, 8085 - 360, 8895, 360);

    auto label = [&](QWidget* parent, const char* text, const char* name, int tabIndex,
                     const char* tip) {
        auto* result = Named(new QLabel(text, parent), name, tabIndex, tip);
        result->setFont(bold);
        return result;
    };
    lblNamespaceOrModel_ = label(fraMain_, "", "lblNamespaceOrModel", 17, kTipAvailable);
    SetTwips(lblNamespaceOrModel_, 240, 360, 5055, 255);
    lblAvailableClassesCaption_ =
        label(fraMain_, "Available Classes", "lblAvailableClassesCaption", 7, kTipAvailable);
    SetTwips(lblAvailableClassesCaption_, 240, 720, 2055, 255);
    lblSelectedClassesCaption_ =
        label(fraMain_, "Selected Classes", "lblSelectedClassesCaption", 8, kTipSelected);
    SetTwips(lblSelectedClassesCaption_, 3240, 720, 1935, 255);

    lstAvailableView_ = Named(ClassListView(fraMain_), "lstAvailableClasses", 1, kTipAvailable);
    SetTwips(lstAvailableView_, 240, 960, 1935, 4860);
    lstSelectedView_ = Named(ClassListView(fraMain_), "lstSelectedClasses", 2, kTipSelected);
    SetTwips(lstSelectedView_, 3240, 960, 2055, 4860);
    available_ = new SortedListModel(this);
    available_->Attach(lstAvailableView_);
    selected_ = new SortedListModel(this);
    selected_->Attach(lstSelectedView_);

    cmdSelect_ = Named(PictureButton(fraMain_, Arrow::Right), "cmdSelect", 3,
                       "Press this button to move the highlighted class in the available list "
                       "to the selected list");
    SetTwips(cmdSelect_, 2400, 960, 600, 600);
    cmdUnselect_ = Named(PictureButton(fraMain_, Arrow::Left), "cmdUnselect", 4,
                         "Press this button to move the highlighted class in the selected list "
                         "to the available list");
    SetTwips(cmdUnselect_, 2400, 1560, 600, 600);
    cmdSelectAll_ = Named(PictureButton(fraMain_, Arrow::RightAll), "cmdSelectAll", 6,
                          "Press this button to move all classes from the available list to "
                          "the selected list");
    SetTwips(cmdSelectAll_, 2400, 2400, 600, 600);
    cmdUnselectAll_ = Named(PictureButton(fraMain_, Arrow::LeftAll), "cmdUnselectAll", 5,
                            "Press this button to move all classes from the selected list to "
                            "the available list");
    SetTwips(cmdUnselectAll_, 2400, 3000, 600, 600);

    auto check = [&](const char* text, const char* name, int tabIndex, bool checked) {
        auto* box = Named(new QCheckBox(text, fraMain_), name, tabIndex);
        box->setChecked(checked);
        return box;
    };
    chkIncludeDatatype_ = check("Include Datatype Classes", "chkIncludeDatatype", 21, false);
    SetTwips(chkIncludeDatatype_, 240, 6120, 2535, 255);
    chkIncludeSystem_ = check("Include System Classes", "chkIncludeSystem", 20, false);
    SetTwips(chkIncludeSystem_, 240, 6480, 2535, 255);
    chkAddToDiagram_ = check("Add New Classes to the Active Diagram", "chkAddToDiagram", 14, true);
    SetTwips(chkAddToDiagram_, 3240, 6120, 3255, 255);
    chkOverride_ = check("Override Existing Classes", "chkOverride", 13, true);
    SetTwips(chkOverride_, 3240, 6480, 3255, 255);

    lblLog_ = label(fraLog_, "Event Log", "lblLog", 15, kTipSelected);
    SetTwips(lblLog_, 120, 360, 1335, 255);
    lvwLog_ = Named(new QTreeWidget(fraLog_), "lvwLog", 10);
    lvwLog_->setRootIsDecorated(false);
    lvwLog_->setUniformRowHeights(true);
    lvwLog_->setColumnCount(0);
    lvwLog_->setIconSize(QSize(16, 16));
    lvwLog_->setSelectionMode(QAbstractItemView::SingleSelection);
    lvwLog_->setFont(WindowFont(/*bold=*/false));
    SetTwips(lvwLog_, 120, 600, 1695, 5415);

    // The focus follows the tab indexes; controls that take no focus keep theirs for the
    // record only.
    std::vector<QWidget*> chain;
    for (QWidget* child : findChildren<QWidget*>()) {
        if (child->property("TabIndex").isValid() && child->focusPolicy() != Qt::NoFocus)
            chain.push_back(child);
    }
    std::sort(chain.begin(), chain.end(), [](QWidget* a, QWidget* b) {
        return a->property("TabIndex").toInt() < b->property("TabIndex").toInt();
    });
    for (std::size_t i = 1; i < chain.size(); ++i) setTabOrder(chain[i - 1], chain[i]);
}

void ImportExportWindow::ConnectHandlers() {
    connect(cmdSelect_, &QPushButton::clicked, this, [this] { cmdSelect_Click(); });
    connect(cmdUnselect_, &QPushButton::clicked, this, [this] { cmdUnselect_Click(); });
    connect(cmdSelectAll_, &QPushButton::clicked, this, [this] { cmdSelectAll_Click(); });
    connect(cmdUnselectAll_, &QPushButton::clicked, this, [this] { cmdUnselectAll_Click(); });
    connect(lstAvailableView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { lstAvailableClasses_Click(); });
    connect(lstSelectedView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { lstSelectedClasses_Click(); });
    connect(lstAvailableView_, &QListView::doubleClicked, this,
            [this] { lstAvailableClasses_DblClick(); });
    connect(lstSelectedView_, &QListView::doubleClicked, this,
            [this] { lstSelectedClasses_DblClick(); });
    connect(chkIncludeDatatype_, &QCheckBox::clicked, this, [this] { chkIncludeDatatype_Click(); });
    connect(chkIncludeSystem_, &QCheckBox::clicked, this, [this] { chkIncludeSystem_Click(); });
    connect(cmdExportImport_, &QPushButton::clicked, this, [this] { cmdExportImport_Click(); });
    connect(cmdClose_, &QPushButton::clicked, this, [this] { cmdClose_Click(); });
}

ClassList& ImportExportWindow::lstAvailableClasses() { return *available_; }
ClassList& ImportExportWindow::lstSelectedClasses() { return *selected_; }

std::int16_t ImportExportWindow::CheckValue(CheckBox box) const {
    const QCheckBox* control = nullptr;
    switch (box) {
        case CheckBox::Override:
            control = chkOverride_;
            break;
        case CheckBox::AddToDiagram:
            control = chkAddToDiagram_;
            break;
        case CheckBox::IncludeDatatype:
            control = chkIncludeDatatype_;
            break;
        case CheckBox::IncludeSystem:
            control = chkIncludeSystem_;
            break;
    }
    return control->isChecked() ? 1 : 0;
}

void ImportExportWindow::SetNamespaceOrModelCaption(const std::string& caption) {
    lblNamespaceOrModel_->setText(QString::fromStdString(caption));
}

void ImportExportWindow::SetCloseCaption(const std::string& caption) {
    cmdClose_->setText(QString::fromStdString(caption));
}

std::string ImportExportWindow::CloseCaption() const { return cmdClose_->text().toStdString(); }

void ImportExportWindow::DoEvents() { QCoreApplication::processEvents(); }

void ImportExportWindow::Form_Load() {
    if (loaded_) return;
    loaded_ = true;
    InitLog();
    switch (LinkMode) {
        case RunMode::Export: {
            cmdExportImport_->setText("Export");
            setWindowTitle("Export Classes from Rose to Tavro");
            chkIncludeDatatype_->hide();
            chkIncludeSystem_->hide();
            chkAddToDiagram_->hide();
            {
                ListBatch batch(*available_, *selected_);
                if (ops_.LoadRoseClassList)
                    ops_.LoadRoseClassList(*available_, *selected_, *availableIds_, *selectedIds_);
            }
            UpdateSelectionButtons();
            return;
        }
        case RunMode::Import:
            cmdExportImport_->setText("Import");
            setWindowTitle("Import Classes from Tavro to Rose");
            ReloadTavroClassList();
            UpdateSelectionButtons();
            return;
        case RunMode::Datatypes:
        case RunMode::System:
            setWindowTitle(LinkMode == RunMode::Datatypes
                               ? "Import Datatype Classes from Tavro to Rose"
                               : "Import System Classes from Tavro to Rose");
            fraMain_->hide();
            fraLog_->show();
            cmdExportImport_->hide();
            return;
        default:
            return;
    }
}

// The available list is rebuilt from the server in one batch, so that a long class list
// is shown once rather than entry by entry.
void ImportExportWindow::ReloadTavroClassList() {
    ListBatch batch(*available_, *selected_);
    if (ops_.LoadTavroClassList) ops_.LoadTavroClassList();
}

void ImportExportWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (loaded_) return;
    // Errors must not cross Qt's event loop; the program normally loads before showing.
    try {
        Form_Load();
    } catch (const std::exception& error) {
        platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    }
}

void ImportExportWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Form_Resize();
}

void ImportExportWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    // Minimising does not change the size; the layout still has to know, and a restore has
    // to lay the frames out again.
    if (event->type() == QEvent::WindowStateChange) Form_Resize();
}

void ImportExportWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    Form_Unload();
}

}  // namespace window
