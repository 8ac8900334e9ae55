#include "model/StrokesTestSupport.h"
#include "model/UndoManager.h"
#include "support/ToolFixture.h"
#include "tools/ArrowTool.h"
#include "tools/VimoDocument.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <gtest/gtest.h>

namespace {

// The GUI application the clipboard needs, made once for the process.
void ensureGuiApplication() {
    if (QCoreApplication::instance()) return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "test_tools";
    static char* argv[] = {name, nullptr};
    static QGuiApplication app(argc, argv);
}

} // namespace

TEST(VimoDocumentClipboardTest, WithoutAGuiApplicationCopyAndPasteDoNothing) {
    if (QCoreApplication::instance()) GTEST_SKIP() << "an application exists in this process";
    VimoDocument doc;
    doc.addStroke(rectStroke({0, 0, 10, 10}));
    doc.copy();
    doc.paste();
    doc.cut(); // still deletes
    EXPECT_EQ(doc.strokes().count(), 0);
}

TEST(VimoDocumentClipboardTest, CutAndPasteThroughTheClipboard) {
    ensureGuiApplication();
    TestView sourceView({300, 200}), targetView({200, 100});
    VimoDocument source, target;
    source.setMainView(&sourceView);
    target.setMainView(&targetView);
    source.addStroke(rectStroke({10, 10, 20, 20}));
    source.addStroke(rectStroke({50, 10, 10, 10}, Color::red()));
    source.undoManager().endEventGroup();

    // Without the arrow tool the top stroke is cut.
    source.penTool();
    source.cut();
    EXPECT_EQ(source.strokes().count(), 1);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data);
    EXPECT_EQ(data->formats(), QStringList{VimoDocument::kPasteboardType});

    target.paste();
    ASSERT_EQ(target.strokes().count(), 1);
    EXPECT_EQ(target.strokes().lastStroke()->color(), Color::red()); // centred: VimoDocumentTest

    // A picture on the clipboard is placed as an image at the view's centre.
    QImage picture(40, 20, QImage::Format_ARGB32);
    picture.fill(Qt::blue);
    QGuiApplication::clipboard()->setImage(picture);
    target.paste();
    ASSERT_EQ(target.strokes().count(), 2);
    const auto image = target.strokes().lastStroke();
    ASSERT_TRUE(image->isImageStroke());
    EXPECT_NEAR(image->bounds().x + image->bounds().width / 2, 100, 0.5);
    EXPECT_NEAR(image->bounds().y + image->bounds().height / 2, 50, 0.5);
}
