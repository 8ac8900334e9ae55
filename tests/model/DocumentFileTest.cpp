#include "SampleDrawing.h"

#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/VimoFileData.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

class VimoDocumentTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
};

} // namespace

// Documents written now are read back with the sample files; here, an
// archive holding nothing, and a drawing without a background.
TEST_F(VimoDocumentTest, NilAndMissingValuesReadAsNothing) {
    DocumentFile doc;
    sample::fill(doc);
    ASSERT_TRUE(doc.loadDataRepresentation(
        VimoFileData::fileDataFromArchive(KeyedArchiver().finishEncoding()), "Vimo Document"));
    EXPECT_FALSE(doc.backgroundColor() || doc.viewTransform());
    EXPECT_EQ(doc.strokes().count(), 0);
    doc.strokes().addStroke(sample::ringStroke());
    const QByteArray file = doc.dataRepresentationOfType("Vimo Document");
    doc.setBackgroundColor(Color::red());
    ASSERT_TRUE(doc.loadDataRepresentation(file, "Vimo Document"));
    EXPECT_FALSE(doc.backgroundColor());
    EXPECT_EQ(doc.strokes().count(), 1);
}

// Reading files with and without the picture is the sample-file test's;
// here, that the picture written is the one the view supplies.
TEST_F(VimoDocumentTest, ThePreviewIsWhatTheViewShows) {
    QSettings settings(path("settings.ini"), QSettings::IniFormat);
    DocumentFile doc(&settings);
    sample::fill(doc);
    auto hasPicture = [&] {
        const QByteArray file = doc.dataRepresentationOfType("Vimo Document");
        return KeyedUnarchiver(VimoFileData::archiveFromFileData(file).archive())
            .containsValueForKey("png");
    };
    // "Save bitmap in Vimo file" is on when absent, and stored so.
    EXPECT_TRUE(hasPicture());
    EXPECT_TRUE(settings.value(DocumentFile::kSaveBitmapDefault).toBool());
    settings.setValue(DocumentFile::kSaveBitmapDefault, false);
    EXPECT_FALSE(hasPicture());
    settings.setValue(DocumentFile::kSaveBitmapDefault, true);

    QImage shown(7, 5, QImage::Format_RGBA8888);
    shown.fill(Qt::green);
    doc.setPreviewSource([&] { return shown; });
    DocumentFile back;
    ASSERT_TRUE(back.loadDataRepresentation(doc.dataRepresentationOfType("Vimo Document"),
                                            "Vimo Document"));
    EXPECT_EQ(back.previewImage().convertToFormat(QImage::Format_RGBA8888), shown);
}

TEST_F(VimoDocumentTest, LargePicturesAreFittedWithAMargin) {
    DocumentFile doc;
    doc.setViewSize({200, 100});
    doc.addImage(sample::picture(400, 100), {100, 50});
    // Width first: 400 → 180 (height 45); then the height fits already.
    EXPECT_EQ(doc.strokes().strokeAtIndex(0)->bounds(), (Rect{10, 27.5f, 180, 45}));
    doc.addImage(sample::picture(100, 400), {100, 50});
    // Height: 400 → 80, width 100 → 20.
    EXPECT_EQ(doc.strokes().strokeAtIndex(1)->bounds(), (Rect{90, 10, 20, 80}));
}

TEST_F(VimoDocumentTest, BadContentGivesAReasonAndChangesNothing) {
    DocumentFile doc;
    sample::fill(doc);
    QByteArray badPayload = doc.dataRepresentationOfType("Vimo Document");
    badPayload[10] = char(badPayload[10] ^ 0x5a);
    const std::tuple<QByteArray, const char*> cases[] = {
        {QByteArray(), "not a Vimo file"},
        {QByteArray("hello, this is not a drawing"), "not a Vimo file"},
        {encoded(sample::picture(4, 4), "PNG"), "not a Vimo file"},
        {QByteArray("VIMO0100ZLIB"), "the file is damaged"},
        {badPayload, "the file is damaged"},
        {QByteArray("bplist00"), "not a Vimo file"},
    };
    for (const auto& [data, reasonStart] : cases) {
        SCOPED_TRACE(data.left(20).toStdString());
        DocumentFile target;
        sample::fill(target);
        const auto result = target.loadDataRepresentation(data, "Vimo Document");
        ASSERT_FALSE(result);
        EXPECT_TRUE(result.reason().starts_with(reasonStart)) << result.reason();
        EXPECT_EQ(target.strokes().count(), doc.strokes().count());
        EXPECT_EQ(target.backgroundColor(), doc.backgroundColor());
    }
    DocumentFile picture;
    EXPECT_FALSE(picture.loadDataRepresentation(QByteArray("\x89PNG\r\n\x1a\n broken", 16), "png"));
    EXPECT_FALSE(picture.loadedImage());
}

// The sample files are typed by their names; here names that do not tell,
// and window frames in both forms.
TEST_F(VimoDocumentTest, TypesAndWindowFramesAreReadFromWhatTheFileHolds) {
    const QByteArray vimo = DocumentFile().dataRepresentationOfType("Vimo Document");
    EXPECT_EQ(DocumentFile::typeForFile("a.VimoTemplate", QByteArray()), "Vimo Template");
    EXPECT_EQ(DocumentFile::typeForFile("noname", vimo), "Vimo Document");
    EXPECT_EQ(DocumentFile::typeForFile("noname", QByteArray("junk")), "");
    EXPECT_EQ(DocumentFile::typeForFile("photo.png", encoded(sample::picture(8, 8), "JPEG")),
              "jpeg");

    EXPECT_EQ(DocumentFile::rectFromFrameString("{{10, -20.5}, {300, 200}}"),
              (Rect{10, -20.5f, 300, 200}));
    EXPECT_EQ(DocumentFile::rectFromFrameString("10 20 300 200 0 0 1920 1080"),
              (Rect{10, 20, 300, 200}));
    EXPECT_FALSE(DocumentFile::rectFromFrameString("{{10, 20}, {300}}"));
    EXPECT_FALSE(DocumentFile::rectFromFrameString(std::string(100000, '7')));
}

TEST_F(VimoDocumentTest, SavingKeepsThePreviousVersion) {
    const QString target = path("drawing.vimo");
    DocumentFile doc;
    sample::fill(doc);
    ASSERT_TRUE(doc.writeToFile(target, "Vimo Document"));
    const QByteArray first = readAll(target);
    doc.strokes().removeLastStroke();
    ASSERT_TRUE(doc.writeToFile(target, "Vimo Document"));
    EXPECT_EQ(readAll(target + "~"), first);
    DocumentFile back;
    ASSERT_TRUE(back.readFromFile(target));
    EXPECT_EQ(back.strokes().count(), doc.strokes().count());
    // Nothing but the file and its backup is left behind.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 2);

    // Saved through a symbolic link: the backup keeps the old content, not a
    // second link to the new one.
    const QString link = path("link.vimo");
    ASSERT_TRUE(QFile::link(target, link));
    const QByteArray second = readAll(target);
    doc.strokes().removeLastStroke();
    ASSERT_TRUE(doc.writeToFile(link, "Vimo Document"));
    EXPECT_EQ(readAll(link + "~"), second);
    EXPECT_NE(readAll(link), second);
}

TEST_F(VimoDocumentTest, AFailedSaveLeavesTheOldFile) {
    const QString target = path("drawing.vimo");
    const QByteArray old("the old version");
    QFile oldFile(target);
    ASSERT_TRUE(oldFile.open(QIODevice::WriteOnly) && oldFile.write(old) == old.size());
    oldFile.close();
    DocumentFile doc;
    sample::fill(doc);
    for (int i = 0; i < 40; ++i)
        doc.strokes().addStroke(sample::penStroke(float(i), 5, Color::blue(), 0, 1, 400));
    const qsizetype size = doc.dataRepresentationOfType("Vimo Document").size();

    // A disk that fills up at several points of the write: the process may
    // not grow any file beyond the limit.
    struct sigaction ignore {
    }, previous{};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &previous);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    for (const rlim_t limit :
         {rlim_t(0), rlim_t(1), rlim_t(4096), rlim_t(size / 2), rlim_t(size - 1)}) {
        SCOPED_TRACE(limit);
        rlimit small = saved;
        small.rlim_cur = limit;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto result = doc.writeToFile(target, "Vimo Document");
        setrlimit(RLIMIT_FSIZE, &saved);
        ASSERT_FALSE(result);
        EXPECT_NE(result.reason().find("drawing.vimo"), std::string::npos) << result.reason();
        EXPECT_EQ(readAll(target), old);
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"drawing.vimo"});
    }
    sigaction(SIGXFSZ, &previous, nullptr);

    EXPECT_FALSE(doc.writeToFile(path("no/such/folder/x.vimo"), "Vimo Document"));
    // A read-only folder (the superuser writes there anyway: then nothing to test).
    QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner);
    if (::access(QFile::encodeName(dir.path()).constData(), W_OK) != 0) {
        EXPECT_FALSE(doc.writeToFile(target, "Vimo Document"));
        EXPECT_EQ(readAll(target), old);
    }
    QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}
