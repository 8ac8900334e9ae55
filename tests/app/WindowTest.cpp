// Real drawing windows on the offscreen platform, driven through Qt's event
// delivery as a user would drive them.

#include "app/DocumentWindow.h"
#include "app/VimoApplication.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "pens/Pen.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/VimoDocument.h"
#include "view/VimoView.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QSignalSpy>
#include <QTabletEvent>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

namespace {

void send(QWidget* w, QEvent::Type type, QPointF p, Qt::MouseButtons buttons,
          Qt::KeyboardModifiers mods = {}) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, p, w->mapToGlobal(p), button, buttons, mods);
    QApplication::sendEvent(w, &e);
}

// A press, moves in steps of about 4 pixels, and a release.
void drag(QWidget* w, QPointF from, QPointF to, Qt::KeyboardModifiers mods = {}) {
    send(w, QEvent::MouseButtonPress, from, Qt::LeftButton, mods);
    const double length = std::hypot(to.x() - from.x(), to.y() - from.y());
    const int steps = std::max(1, int(length / 4));
    for (int i = 1; i <= steps; ++i)
        send(w, QEvent::MouseMove, from + (to - from) * (double(i) / steps), Qt::LeftButton, mods);
    send(w, QEvent::MouseButtonRelease, to, Qt::NoButton, mods);
}

struct Window {
    DocumentWindow* window;
    VimoView& view() { return window->view(); }
    VimoDocument& doc() { return window->document(); }
    // Lets the view display (and draw strokes again) as it would on screen.
    QImage shown() {
        view().repaint();
        return view().previewImage();
    }
};

class WindowTest : public ::testing::Test {
protected:
    // Shown at 640 x 480, with the resize come to its end (as when the user
    // lets go of the window's edge) and the view displayed at that size.
    Window open(DocumentWindow* w = VimoApplication::instance()->newDocument()) {
        w->resize(640, 480);
        w->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(w));
        QTest::qWait(300);
        w->view().repaint();
        _windows.push_back(w);
        return {w};
    }
    void TearDown() override {
        for (DocumentWindow* w : _windows) {
            w->document().documentSaved(); // no prompt
            w->close();
        }
        QApplication::processEvents();
    }
    std::vector<DocumentWindow*> _windows;
};

bool isDark(QRgb c) {
    return qGray(c) < 100;
}

} // namespace

TEST_F(WindowTest, DrawUndoRedoAndCopyTheBitmap) {
    Window w = open();
    w.doc().setBlackColor();
    drag(&w.view(), {100, 200}, {300, 220});
    ASSERT_EQ(w.doc().strokes().count(), 1);
    EXPECT_TRUE(isDark(w.shown().pixel(200, 210)));
    EXPECT_TRUE(w.window->isWindowModified());
    w.doc().undo();
    EXPECT_EQ(w.doc().strokes().count(), 0);
    EXPECT_FALSE(isDark(w.shown().pixel(200, 210)));
    w.doc().redo();
    EXPECT_EQ(w.doc().strokes().count(), 1);
    EXPECT_TRUE(isDark(w.shown().pixel(200, 210)));

    // The picture at twice the view's size goes to the clipboard.
    w.view().copyBitmapDoubleResolution();
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(data, nullptr);
    EXPECT_TRUE(data->hasFormat("image/tiff"));
    const QImage image = qvariant_cast<QImage>(data->imageData());
    ASSERT_EQ(image.size(), w.view().size() * 2);
    EXPECT_TRUE(isDark(image.pixel(400, 420)));
}

TEST_F(WindowTest, WhileDrawingOnlyThePensNeighbourhoodIsRepainted) {
    Window w = open();
    send(&w.view(), QEvent::MouseButtonPress, {100, 100}, Qt::LeftButton);
    QApplication::processEvents();
    for (int i = 1; i <= 20; ++i) {
        const int displays = w.view().displayStats().displays;
        send(&w.view(), QEvent::MouseMove, {100.0 + i * 3, 100}, Qt::LeftButton);
        QApplication::processEvents();
        EXPECT_GT(w.view().displayStats().displays, displays);
        const QRect area = w.view().displayStats().lastArea;
        EXPECT_LT(area.width() * area.height(), w.view().width() * w.view().height() / 10);
    }
    send(&w.view(), QEvent::MouseButtonRelease, {170, 100}, Qt::NoButton);
}

TEST_F(WindowTest, ATabletDrawsWithItsPressure) {
    Window w = open();
    drag(&w.view(), {100, 100}, {300, 100}); // the mouse presses fully
    QPointingDevice pen(QStringLiteral("stylus"), 7, QInputDevice::DeviceType::Stylus,
                        QPointingDevice::PointerType::Pen,
                        QInputDevice::Capability::Position | QInputDevice::Capability::Pressure, 1,
                        3);
    auto tablet = [&](QEvent::Type type, QPointF p, Qt::MouseButtons buttons) {
        QTabletEvent e(type, &pen, p, w.view().mapToGlobal(p), 0.25, 0, 0, 0, 0, 0, {},
                       Qt::LeftButton, buttons);
        QApplication::sendEvent(&w.view(), &e);
        EXPECT_TRUE(e.isAccepted());
    };
    tablet(QEvent::TabletPress, {100, 300}, Qt::LeftButton);
    for (int x = 104; x <= 300; x += 4)
        tablet(QEvent::TabletMove, {double(x), 300}, Qt::LeftButton);
    tablet(QEvent::TabletRelease, {300, 300}, Qt::NoButton);
    ASSERT_EQ(w.doc().strokes().count(), 2);
    const float mouse = w.doc().strokes().strokeAtIndex(0)->bounds().height;
    const float light = w.doc().strokes().strokeAtIndex(1)->bounds().height;
    EXPECT_LT(light, mouse * 0.5f);
}

TEST_F(WindowTest, ArrowToolSelectsMovesAndBands) {
    Window w = open();
    drag(&w.view(), {100, 100}, {200, 100});
    drag(&w.view(), {100, 300}, {200, 300});
    ASSERT_EQ(w.doc().strokes().count(), 2);
    const auto first = w.doc().strokes().strokeAtIndex(0);
    const Rect before = first->bounds();

    w.doc().arrowTool();
    drag(&w.view(), {150, 100}, {150, 160}); // grab the first stroke and move it
    ASSERT_EQ(w.doc().arrow().selection().size(), 1u);
    EXPECT_EQ(w.doc().arrow().selection()[0], first);
    const Rect after = first->bounds();
    EXPECT_NEAR(std::abs(after.y - before.y), 60, 1);
    EXPECT_EQ(w.doc().undoManager().undoActionName(), "Move");

    // A band around both strokes from empty space selects both.
    drag(&w.view(), {50, 20}, {400, 400});
    EXPECT_EQ(w.doc().arrow().selection().size(), 2u);
}

TEST_F(WindowTest, ZoomAndRotateChangeTheViewAndMarkTheDocument) {
    Window w = open();
    drag(&w.view(), {300, 240}, {340, 240});
    w.doc().documentSaved();
    const float scale = w.view().scale();
    w.view().zoomIn();
    EXPECT_NEAR(w.view().scale(), scale * 3, 1e-4);
    EXPECT_TRUE(w.doc().isDocumentEdited());
    w.view().zoomOut();
    EXPECT_NEAR(w.view().scale(), scale * 0.9f, 1e-4);

    w.doc().rotate(); // one rotate gesture, then back to the pen
    drag(&w.view(), {420, 240}, {320, 340});
    const AffineMatrix t = w.view().transform();
    EXPECT_GT(std::abs(t.b), 0.1f); // turned
    EXPECT_EQ(w.doc().tool(), static_cast<Tool*>(&w.doc().pen()));

    w.view().resetRotation();
    EXPECT_NEAR(w.view().transform().b, 0, 1e-5);
    EXPECT_NEAR(w.view().scale(), scale * 0.9f, 1e-3);

    // The space bar holds the move tool (key repeat ignored) and gives back
    // the tool in use when it is let go.
    w.doc().fillTool();
    Tool* fill = w.doc().tool();
    QTest::keyPress(&w.view(), Qt::Key_Space);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ", true);
    QApplication::sendEvent(&w.view(), &repeat);
    EXPECT_EQ(w.doc().tool(), static_cast<Tool*>(&w.doc().mover()));
    QTest::keyRelease(&w.view(), Qt::Key_Space);
    EXPECT_EQ(w.doc().tool(), fill);
}

TEST_F(WindowTest, CopyAndPasteBetweenTwoDocuments) {
    Window a = open();
    Window b = open();
    a.doc().setRedColor();
    drag(&a.view(), {50, 50}, {120, 80});
    b.view().zoomIn(); // a different view: the strokes come in centred all the same
    a.doc().copy();
    b.doc().paste();
    ASSERT_EQ(b.doc().strokes().count(), 1);
    EXPECT_EQ(b.doc().arrow().selection().size(), 1u);
    const Rect r =
        b.view().canvas()->worldRectToBitmapRect(b.doc().strokes().lastStroke()->bounds());
    EXPECT_NEAR(r.x + r.width / 2, b.view().width() / 2.0, 2);
    EXPECT_NEAR(r.y + r.height / 2, b.view().height() / 2.0, 2);
    // Pasted at the size it had on screen: a third of it in the zoomed world.
    const Rect s = a.doc().strokes().lastStroke()->bounds();
    EXPECT_NEAR(r.width, s.width, 2);
}

TEST_F(WindowTest, SaveCloseReopenShowsTheSamePicture) {
    QTemporaryDir dir;
    const QString path = dir.filePath("round.vimo");
    Window w = open();
    w.doc().setBlueColor();
    drag(&w.view(), {100, 100}, {400, 300});
    w.view().zoomIn();
    const QImage before = w.shown();
    ASSERT_TRUE(w.window->saveTo(path));
    EXPECT_FALSE(w.window->isWindowModified());
    w.window->close();
    _windows.clear();
    QApplication::processEvents();

    DocumentWindow* again = VimoApplication::instance()->openFile(path);
    ASSERT_NE(again, nullptr);
    Window r = open(again);
    EXPECT_EQ(r.doc().strokes().count(), 1);
    const QImage after = r.shown();
    ASSERT_EQ(after.size(), before.size());
    int differing = 0;
    for (int y = 0; y < after.height(); y += 3)
        for (int x = 0; x < after.width(); x += 3)
            if (after.pixel(x, y) != before.pixel(x, y)) ++differing;
    EXPECT_LT(differing, 10);
}

TEST_F(WindowTest, AnUnreadableFileOpensNoWindow) {
    QTemporaryDir dir;
    const QString path = dir.filePath("bad.vimo");
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write("not a drawing at all") > 0);
    f.close();
    // The dialog saying why is modal: answer it as soon as it shows.
    QTimer::singleShot(200, [] {
        if (QWidget* box = QApplication::activeModalWidget()) box->close();
    });
    EXPECT_EQ(VimoApplication::instance()->openFile(path), nullptr);
}
