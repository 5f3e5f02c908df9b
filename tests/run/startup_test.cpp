#include "run/startup.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QSet>
#include <QTimer>

#include "run/run.h"

namespace {

// One application for the whole program, never destroyed: Qt's own globals (the pointing
// device of the synthetic clicks) may go before a static QApplication would.
QApplication& App() {
    static int argc = 1;
    static char name[] = "run_test";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

void Click(QWidget* widget) {
    QPointF at(widget->width() / 2.0, widget->height() / 2.0);
    QPointF global = widget->mapToGlobal(at);
    QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(widget, &release);
}

template <typename T>
T* Control(const char* name) {
    QDialog* form = run::StartUpWindow();
    return form == nullptr ? nullptr : form->findChild<T*>(QString::fromLatin1(name));
}

bool StartUpShowing() {
    return run::StartUpWindow() != nullptr && run::StartUpWindow()->isVisible();
}

// Let a closed window finish closing.
void Settle() {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST(frmStartUp, LaysOutItsControlsInTwipsAndLoadsAfreshOnEveryShowing) {
    App();
    run::ShowStartUp();
    ASSERT_NE(run::StartUpWindow(), nullptr);
    EXPECT_EQ(run::StartUpWindow()->size(), QSize(405, 489));  // 6075 x 7335 twips
    EXPECT_TRUE(run::StartUpWindow()->windowTitle().isEmpty());
    struct Case {
        const char* name;
        QRect geometry;
        const char* text;  // nullptr: not a label
    };
    const Case cases[] = {
        {"picStartUp", QRect(0, 0, 406, 489), nullptr},
        {"lblVersion", QRect(33, 413, 339, 17), "Version 1.0.0.1.0"},
        {"lblStartUp", QRect(33, 433, 339, 17), ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QWidget* control = Control<QWidget>(c.name);
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(control->geometry(), c.geometry);
        if (c.text == nullptr) continue;
        auto* label = qobject_cast<QLabel*>(control);
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->text(), QString::fromLatin1(c.text));
        EXPECT_TRUE(label->font().bold());
        EXPECT_EQ(label->font().pointSize(), 12);
        EXPECT_EQ(label->alignment() & Qt::AlignHCenter, Qt::AlignHCenter);
    }
    auto* timer = Control<QTimer>("timStartUp");
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->interval(), 2000);
    EXPECT_TRUE(timer->isActive());

    // The progress line, then a fresh window at the next showing.
    run::SetStartUpProgress(run::kInstalling);
    EXPECT_EQ(Control<QLabel>("lblStartUp")->text(), QStringLiteral("Installing ..."));
    run::SetStartUpProgress(run::kInstallationComplete);
    EXPECT_EQ(Control<QLabel>("lblStartUp")->text(), QStringLiteral("Installation Complete"));
    run::StartUpWindow()->close();
    Settle();
    run::ShowStartUp();
    EXPECT_EQ(Control<QLabel>("lblStartUp")->text(), QString());
    run::StartUpWindow()->close();
    Settle();
}

TEST(frmStartUp, ClosesByItselfWhenShownModally) {
    App();
    run::ShowStartUpModal();  // returns only once the timer has closed it
    Settle();
    EXPECT_EQ(run::StartUpWindow(), nullptr);
}

TEST(frmStartUp, ClosesAtAClickOnThePictureOnlyNotAtAKey) {
    App();
    run::ShowStartUp();
    for (const char* name : {"lblVersion", "lblStartUp"}) {
        SCOPED_TRACE(name);
        Click(Control<QLabel>(name));
        Settle();
        EXPECT_TRUE(StartUpShowing());
    }
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(run::StartUpWindow(), &escape);
    Settle();
    EXPECT_TRUE(StartUpShowing());
    Click(Control<QWidget>("picStartUp"));
    Settle();
    EXPECT_FALSE(StartUpShowing());
}

TEST(StartUpPicture, IsA24BitPictureOfItsOwnSize) {
    App();
    const QImage& picture = run::StartUpPicture();
    EXPECT_EQ(picture.size(), QSize(402, 485));
    EXPECT_EQ(picture.format(), QImage::Format_RGB888);
    EXPECT_EQ(picture.depth(), 24);
    // A drawn splash, not a flat box: many colours.
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height(); y += 3) {
        for (int x = 0; x < picture.width(); x += 3) colours.insert(picture.pixel(x, y));
    }
    EXPECT_GT(colours.size(), 500);
}

}  // namespace
