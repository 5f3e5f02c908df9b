#include "run/startup.h"

#include <QDialog>
#include <QFont>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <functional>

#include "run/run.h"

namespace run {
namespace {

// Twips to pixels at 15 twips per pixel.
constexpr int Px(int twips) { return twips / 15; }

// picStartUp: shows the picture and closes the window when clicked.
class PictureArea : public QWidget {
  public:
    PictureArea(QWidget* parent, std::function<void()> onClick)
        : QWidget(parent), onClick_(std::move(onClick)) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(12, 28, 52));
        painter.drawImage(0, 0, StartUpPicture());
    }
    void mousePressEvent(QMouseEvent* event) override { event->accept(); }
    // A click is a press and a release over the picture.
    void mouseReleaseEvent(QMouseEvent* event) override {
        event->accept();
        if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
            onClick_();
    }

  private:
    std::function<void()> onClick_;
};

// The two text lines keep their clicks: a click on them must not reach the picture.
class CaptionLabel : public QLabel {
  public:
    using QLabel::QLabel;

  protected:
    void mousePressEvent(QMouseEvent* event) override { event->accept(); }
    void mouseReleaseEvent(QMouseEvent* event) override { event->accept(); }
};

// The window takes no input beyond the click: a dialog would close on Escape.
class StartUpDialog : public QDialog {
  public:
    using QDialog::QDialog;

  protected:
    void keyPressEvent(QKeyEvent* event) override { event->accept(); }
};

QLabel* NewCaption(QWidget* parent, const char* name, int top) {
    auto* label = new CaptionLabel(parent);
    label->setObjectName(name);
    label->setGeometry(Px(500), Px(top), Px(5090), Px(255));
    label->setAlignment(Qt::AlignCenter);
    label->setAttribute(Qt::WA_TranslucentBackground);
    label->setAutoFillBackground(false);
    QFont font(QStringLiteral("Verdana"));
    font.setPointSize(12);
    font.setBold(true);
    label->setFont(font);
    // The picture is dark where the text lines stand.
    label->setStyleSheet(QStringLiteral("color: #f2f5fa; background: transparent;"));
    return label;
}

QPointer<QDialog> frmStartUp;

// Loads the window afresh: version set, progress empty, timer counting from now.
QDialog* LoadStartUp() {
    if (frmStartUp) frmStartUp->close();

    auto* form = new StartUpDialog(nullptr, Qt::Tool | Qt::FramelessWindowHint);
    form->setObjectName(QStringLiteral("frmStartUp"));
    form->setAttribute(Qt::WA_DeleteOnClose);
    // After an installation this is the last window: closing it ends the process.
    form->setAttribute(Qt::WA_QuitOnClose);
    form->setWindowTitle(QString());
    form->setFixedSize(Px(6075), Px(7335));

    auto* picture = new PictureArea(form, [form] { form->close(); });
    picture->setObjectName(QStringLiteral("picStartUp"));
    picture->setGeometry(0, 0, Px(6090), Px(7335));

    QLabel* version = NewCaption(picture, "lblVersion", 6200);
    version->setText(QStringLiteral("Version ") + QString::fromLatin1(ProgramVersion));
    NewCaption(picture, "lblStartUp", 6500);

    auto* timer = new QTimer(form);
    timer->setObjectName(QStringLiteral("timStartUp"));
    timer->setInterval(kStartUpInterval);
    QObject::connect(timer, &QTimer::timeout, form, [form] { form->close(); });
    timer->start();

    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect area = screen->availableGeometry();
        form->move(area.center() - QPoint(form->width() / 2, form->height() / 2));
    }
    frmStartUp = form;
    return form;
}

}  // namespace

void ShowStartUpModal() { LoadStartUp()->exec(); }

void ShowStartUp() { LoadStartUp()->show(); }

void SetStartUpProgress(const std::string& text) {
    if (!frmStartUp) return;
    if (auto* label = frmStartUp->findChild<QLabel*>(QStringLiteral("lblStartUp")))
        label->setText(QString::fromStdString(text));
}

void StartStartUpTimer() {
    if (!frmStartUp) return;
    if (auto* timer = frmStartUp->findChild<QTimer*>(QStringLiteral("timStartUp"))) timer->start();
}

QDialog* StartUpWindow() { return frmStartUp.data(); }

}  // namespace run
