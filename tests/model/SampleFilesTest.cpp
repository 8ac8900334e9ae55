// The files in tests/data/documents, one for each form a drawing file takes
// (written from sample::fill), and the hostile variants made from them.

#include "SampleDrawing.h"
#include "StrokesTestSupport.h"

#include "model/KeyedArchiver.h"
#include "model/VimoFileData.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QImageReader>

#include <random>

namespace {

const QString kDir = QStringLiteral(VIMO_TEST_DATA_DIR "/documents/");

QByteArray readSample(const char* name) {
    QFile f(kDir + QLatin1String(name));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

DocumentFile::Result load(DocumentFile& doc, const char* name) {
    const QByteArray data = readSample(name);
    return doc.loadDataRepresentation(data, DocumentFile::typeForFile(QLatin1String(name), data));
}

const char* const kDrawings[] = {"drawing.vimo",    "drawing-nopng.vimo", "old-uncompressed.vimo",
                                 "bare-array.vimo", "bad-stroke.vimo",    "template.vimotemplate"};
const char* const kPictures[] = {"picture.png", "picture.jpg",  "picture.gif",
                                 "picture.bmp", "picture.tiff", "picture.webp"};

} // namespace

// Each file, and the drawing as written now, opens with its strokes (each
// writes exactly what the original writes: every value, the pen samples at
// the file's precision, the image's pixels), its view and a picture that is
// what repainting it gives.
TEST(SampleFiles, EachFormOpensWithItsContent) {
    DocumentFile expected;
    sample::fill(expected);
    const QImage shown = expected.imageWithSize(160, 120, true);
    DocumentFile saved;
    ASSERT_TRUE(load(saved, "drawing.vimo"));
    const QImage reference =
        saved.previewImage().convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    for (const char* name : {"drawing.vimo", "drawing-nopng.vimo", "old-uncompressed.vimo",
                             "template.vimotemplate", "written now"}) {
        SCOPED_TRACE(name);
        const bool now = QByteArray(name) == "written now";
        const QByteArray data =
            now ? expected.dataRepresentationOfType(DocumentFile::kDocumentType) : readSample(name);
        DocumentFile doc;
        const auto result =
            doc.loadDataRepresentation(data, DocumentFile::typeForFile(QLatin1String(name), data));
        ASSERT_TRUE(result) << result.reason();
        ASSERT_EQ(doc.strokes().count(), expected.strokes().count());
        for (int i = 0; i < doc.strokes().count(); ++i)
            EXPECT_EQ(
                KeyedArchiver::archivedDataWithRootObject(*doc.strokes().strokeAtIndex(i)),
                KeyedArchiver::archivedDataWithRootObject(*expected.strokes().strokeAtIndex(i)))
                << "stroke " << i;
        EXPECT_EQ(doc.backgroundColor(), expected.backgroundColor());
        EXPECT_EQ(doc.windowFrameString(), expected.windowFrameString());
        ASSERT_TRUE(doc.viewTransform());
        EXPECT_EQ(doc.viewTransform()->transformStruct(),
                  expected.viewTransform()->transformStruct());
        EXPECT_EQ(doc.viewSize(), sample::kViewSize);
        EXPECT_EQ(doc.resetFilename(), QByteArray(name).endsWith("template"));
        const QImage preview =
            doc.previewImage().convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        EXPECT_EQ(preview.isNull(),
                  QByteArray(name).contains("nopng") || QByteArray(name).contains("uncompressed"));
        EXPECT_TRUE(preview.isNull() || preview == (now ? shown : reference));
        EXPECT_EQ(doc.imageWithSize(160, 120, true), reference);
    }
}

TEST(SampleFiles, BadStrokesAreDroppedFromAListButKeptFromABareArray) {
    LogCapture log;
    DocumentFile list;
    ASSERT_TRUE(load(list, "bad-stroke.vimo"));
    EXPECT_EQ(list.strokes().count(), 2);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Bad stroke found in save file -- ignoring."});

    log.lines().clear();
    DocumentFile bare;
    ASSERT_TRUE(load(bare, "bare-array.vimo"));
    ASSERT_EQ(bare.strokes().count(), 3);
    EXPECT_TRUE(bare.strokes().strokeAtIndex(1)->bad());
    EXPECT_TRUE(log.lines().empty());
    // Painting a list that holds a bad stroke is safe.
    EXPECT_FALSE(bare.imageWithSize(160, 120, false).isNull());
}

TEST(SampleFiles, PicturesOpenAsOneImageStroke) {
    const auto formats = QImageReader::supportedImageFormats();
    for (const char* name : kPictures) {
        SCOPED_TRACE(name);
        if (!formats.contains(QByteArray(name).mid(8))) {
            std::printf("no reader for %s here; skipped\n", name);
            continue;
        }
        DocumentFile doc;
        doc.setViewSize({200, 100});
        AffineTransform zoom;
        zoom.scaleBy(2);
        doc.setViewTransform(zoom);
        ASSERT_TRUE(load(doc, name));
        EXPECT_TRUE(doc.resetFilename());
        ASSERT_TRUE(doc.loadedImage());
        EXPECT_EQ(doc.strokes().count(), 0);
        doc.placeLoadedImage();
        EXPECT_FALSE(doc.loadedImage());
        ASSERT_EQ(doc.strokes().count(), 1);
        EXPECT_TRUE(doc.strokes().strokeAtIndex(0)->isImageStroke());
        // View centre (100, 50) is world (50, 25); 60 x 40 view pixels are 30 x 20 world units.
        EXPECT_EQ(doc.strokes().strokeAtIndex(0)->bounds(), (Rect{35, 15, 30, 20}));
    }
}

// Every prefix of every sample, with and without the trailer put back, is
// refused with a reason; none crashes. Run under the address sanitizer.
TEST(SampleFiles, TruncationAtEveryOffsetIsRefused) {
    for (const char* name : kDrawings) {
        SCOPED_TRACE(name);
        const QByteArray data = readSample(name);
        ASSERT_FALSE(data.isEmpty());
        const bool compressed = data.endsWith("VIMO0100ZLIB");
        for (qsizetype n = 0; n < data.size(); ++n) {
            DocumentFile doc;
            const auto result = doc.loadDataRepresentation(data.left(n), "Vimo Document");
            ASSERT_FALSE(result) << "prefix " << n;
            ASSERT_FALSE(result.reason().empty());
            if (compressed && n + 12 < data.size()) {
                const QByteArray cut = data.left(n) + "VIMO0100ZLIB";
                ASSERT_FALSE(doc.loadDataRepresentation(cut, "Vimo Document")) << "payload " << n;
            }
        }
    }
}

// Random damage, both to the compressed file and to the archive inside it
// (re-compressed, so that it reaches the property-list reader), gives an
// error or a drawing that paints, never a crash.
TEST(SampleFiles, RandomCorruptionNeverCrashes) {
    std::mt19937 random(20240611);
    int opened = 0, refused = 0;
    for (const char* name : {"drawing.vimo", "bare-array.vimo"}) {
        const QByteArray file = readSample(name);
        const QByteArray archive = VimoFileData::archiveFromFileData(file).archive();
        ASSERT_FALSE(archive.isEmpty());
        for (int round = 0; round < 300; ++round) {
            const bool inner = round % 3 != 0;
            QByteArray damaged = inner ? archive : file;
            const int flips = 1 + int(random() % 8);
            for (int k = 0; k < flips; ++k) {
                const auto at = qsizetype(random() % std::uint32_t(damaged.size()));
                damaged[at] =
                    char(random() % 3 == 0 ? random() : damaged[at] ^ (1 << (random() % 8)));
            }
            if (inner) damaged = VimoFileData::fileDataFromArchive(damaged);
            DocumentFile doc;
            if (doc.loadDataRepresentation(damaged, "Vimo Document")) {
                ++opened;
                doc.imageWithSize(80, 60, true);
            } else {
                ++refused;
            }
        }
    }
    // Both outcomes occur: the damage reaches past the first checks.
    EXPECT_GT(refused, 0);
    EXPECT_GT(opened, 0);
}
