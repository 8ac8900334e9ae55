#include "model/DocumentFile.h"

#include "model/ArchiveError.h"
#include "model/BezierPath.h"
#include "model/DocumentRenderer.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoFileData.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>
#include <QSettings>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

constexpr const char* kBadStrokeInFile = "Bad stroke found in save file -- ignoring.";

// Decodes a picture from memory, refusing headers that declare more pixels
// than any drawing needs before anything is allocated for them.
std::optional<QImage> readImage(const QByteArray& data, std::string* reason) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > DocumentFile::kMaxImagePixels) {
        if (reason) *reason = "the picture is too large";
        return std::nullopt;
    }
    QImage image = reader.read();
    if (image.isNull() || qint64(image.width()) * image.height() > DocumentFile::kMaxImagePixels) {
        if (reason) *reason = "not a Vimo file or a picture that can be read";
        return std::nullopt;
    }
    return image;
}

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}

std::string quoted(const QString& path) {
    return "\u201C" + fileName(path).toStdString() + "\u201D";
}

} // namespace

DocumentFile::DocumentFile(QSettings* settings)
    : _settings(settings), _strokes(std::make_shared<Strokes>()) {}

DocumentFile::~DocumentFile() = default;

AffineMatrix DocumentFile::viewMatrix() const {
    return _view_transform ? _view_transform->transformStruct() : AffineMatrix::identity();
}

QImage DocumentFile::imageWithSize(int width, int height, bool transparent) {
    return DocumentRenderer(*_strokes, _view_size, viewMatrix())
        .imageWithSize(width, height, transparent, _background_color);
}

bool DocumentFile::saveBitmapInFile() {
    if (!_settings) return true;
    if (!_settings->contains(kSaveBitmapDefault)) _settings->setValue(kSaveBitmapDefault, true);
    return _settings->value(kSaveBitmapDefault, true).toBool();
}

// Types.

bool DocumentFile::isVimoType(const QString& type) {
    return type == QLatin1String(kDocumentType) || type == QLatin1String(kTemplateType);
}

QString DocumentFile::typeForFile(const QString& path, const QByteArray& content) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String(kDocumentExtension)) return kDocumentType;
    if (suffix == QLatin1String(kTemplateExtension)) return kTemplateType;
    if (content.endsWith(QByteArray::fromRawData(VimoFileData::kTrailer.data(),
                                                 qsizetype(VimoFileData::kTrailer.size()))) ||
        content.startsWith("bplist00"))
        return kDocumentType;
    QBuffer buffer;
    buffer.setData(content);
    buffer.open(QIODevice::ReadOnly);
    return QString::fromLatin1(QImageReader::imageFormat(&buffer));
}

// Writing.

QByteArray DocumentFile::dataRepresentationOfType(const QString& /*type*/) {
    KeyedArchiver archiver;
    archiver.encodeColor(_background_color, "background_color");
    archiver.encodeObject(_strokes.get(), "strokes");
    archiver.encodeString(_window_frame_string, "window");
    const AffineTransform transform(viewMatrix());
    archiver.encodeAffineTransform(&transform, "view_transform");
    if (saveBitmapInFile()) {
        const QImage picture =
            _preview_source ? _preview_source()
                            : imageWithSize(int(_view_size.width), int(_view_size.height), true);
        if (!picture.isNull()) {
            QByteArray png;
            QBuffer buffer(&png);
            buffer.open(QIODevice::WriteOnly);
            picture.save(&buffer, "PNG");
            archiver.encodeData(png, "png");
        }
    }
    return VimoFileData::fileDataFromArchive(archiver.finishEncoding());
}

DocumentFile::Result DocumentFile::writeToFile(const QString& path, const QString& type) {
    QByteArray data;
    try {
        data = dataRepresentationOfType(type);
    } catch (const std::bad_alloc&) {
        return Result::failure("could not save " + quoted(path) + ": not enough memory");
    }
    auto failed = [&](const QString& why) {
        return Result::failure("could not save " + quoted(path) + ": " + why.toStdString());
    };

    // Written to a temporary file beside the target, which replaces the
    // target only once complete, so an interrupted save leaves the old file.
    QSaveFile file(path);
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly)) return failed(file.errorString());
    if (file.write(data) != data.size()) {
        const QString why = file.errorString();
        file.cancelWriting();
        return failed(why);
    }
    if (!file.flush()) {
        const QString why = file.errorString();
        file.cancelWriting();
        return failed(why);
    }

    // The previous version stays beside the new one as "name~": a second
    // name for the old file where the file system allows it, else a copy.
    if (QFileInfo::exists(path)) {
        const QString backup = path + QLatin1Char('~');
        if (QFileInfo::exists(backup) && !QFile::remove(backup)) {
            file.cancelWriting();
            return failed("the previous version could not be kept as " +
                          QFileInfo(backup).fileName());
        }
        const QByteArray from = QFile::encodeName(path), to = QFile::encodeName(backup);
        // A symbolic link is copied, not linked: the link would follow the
        // file it names to its new content.
        const bool linked =
            !QFileInfo(path).isSymLink() && ::link(from.constData(), to.constData()) == 0;
        if (!linked && !QFile::copy(path, backup)) {
            file.cancelWriting();
            return failed("the previous version could not be kept as " +
                          QFileInfo(backup).fileName());
        }
    }
    if (!file.commit()) return failed(file.errorString());
    return Result::success();
}

// Reading.

DocumentFile::Result DocumentFile::readFromFile(const QString& path, const QString& type) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result::failure("could not open " + quoted(path) + ": " +
                               file.errorString().toStdString());
    // QByteArray cannot hold more, and no drawing comes near it.
    if (file.size() > (qint64(1) << 30))
        return Result::failure("the file is too large to be a Vimo drawing");
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Result::failure("could not read " + quoted(path) + ": " +
                               file.errorString().toStdString());
    return loadDataRepresentation(content, type.isEmpty() ? typeForFile(path, content) : type);
}

DocumentFile::Result DocumentFile::loadDataRepresentation(const QByteArray& data,
                                                          const QString& type) {
    if (!isVimoType(type)) {
        // Any other type is a plain picture: a new untitled drawing.
        std::string reason;
        auto image = readImage(data, &reason);
        if (!image) return Result::failure(reason);
        _loaded_image = std::move(image);
        _reset_filename = true;
        return Result::success();
    }

    // Everything is read into locals first: a failure changes nothing.
    std::optional<Color> background;
    std::shared_ptr<Strokes> strokes;
    std::optional<std::string> window;
    std::unique_ptr<AffineTransform> transform;
    QImage preview;
    try {
        const VimoFileData file = VimoFileData::archiveFromFileData(data);
        if (!file.isValid()) return Result::failure(file.errorReason());
        KeyedUnarchiver coder(file.archive());

        background = coder.decodeColor("background_color");
        if (auto array = coder.decodeObjectArray("strokes")) {
            // Files of an earlier format hold the bare stroke array. Its
            // strokes are taken as they are; only what is not a stroke at
            // all is left out.
            Strokes::StrokeArray list;
            list.reserve(array->size());
            for (const auto& object : *array) {
                if (auto stroke = std::dynamic_pointer_cast<Stroke>(object))
                    list.push_back(std::move(stroke));
                else
                    qWarning().noquote() << kBadStrokeInFile;
            }
            strokes = std::make_shared<Strokes>(std::move(list));
        } else {
            strokes = coder.decodeObjectOfClass<Strokes>("strokes");
        }
        window = coder.decodeString("window");
        transform = coder.decodeAffineTransform("view_transform");
        // The picture is only a cache: one that does not decode is ignored
        // and the strokes are painted instead.
        if (auto png = coder.decodeData("png")) {
            if (auto image = readImage(*png, nullptr)) preview = std::move(*image);
        }
    } catch (const ArchiveError& e) {
        return Result::failure(e.what());
    } catch (const std::bad_alloc&) {
        return Result::failure("the file is damaged: it needs more memory than is available");
    }

    _reset_filename = type == QLatin1String(kTemplateType);
    _background_color = background;
    _strokes = strokes ? std::move(strokes) : std::make_shared<Strokes>();
    _window_frame_string = window.value_or(std::string());
    _view_transform = transform ? std::optional<AffineTransform>(*transform) : std::nullopt;
    _preview_image = std::move(preview);
    if (!_preview_image.isNull())
        _view_size = {float(_preview_image.width()), float(_preview_image.height())};
    else if (auto frame = rectFromFrameString(_window_frame_string); frame && !frame->isEmpty())
        _view_size = frame->size();
    strokesReplaced();
    return Result::success();
}

// Images.

std::shared_ptr<Stroke> DocumentFile::addImage(const QImage& image, Point c, float opacity) {
    float w = float(image.width()), h = float(image.height());
    const float viewW = _view_size.width, viewH = _view_size.height;
    // Fitted into the view with a margin of 10 on each side, aspect kept.
    if (w > viewW - 20) {
        float f = (viewW - 20) / w;
        if (!(f > 0)) f = viewW / w;
        w *= f;
        h *= f;
    }
    if (h > viewH - 20) {
        float f = (viewH - 20) / h;
        if (!(f > 0)) f = viewH / h;
        w *= f;
        h *= f;
    }
    const AffineMatrix toWorld = viewMatrix().inverted();
    const Point p0 = toWorld.apply({c.x - w / 2, c.y - h / 2});
    const Point p1 = toWorld.apply({c.x + w / 2, c.y - h / 2});
    const Point p2 = toWorld.apply({c.x + w / 2, c.y + h / 2});
    const Point p3 = toWorld.apply({c.x - w / 2, c.y + h / 2});
    auto corners = std::make_shared<BezierPath>();
    corners->moveToPoint(p0);
    corners->lineToPoint(p1);
    corners->lineToPoint(p2);
    corners->lineToPoint(p3);
    corners->lineToPoint(p0);
    auto stroke = Stroke::initWithImage(image, corners, opacity);
    _strokes->addStroke(stroke);
    return stroke;
}

void DocumentFile::placeLoadedImage() {
    if (!_loaded_image) return;
    addImage(*_loaded_image, {_view_size.width / 2, _view_size.height / 2});
    _loaded_image.reset();
}

// Window frames.

std::optional<Rect> DocumentFile::rectFromFrameString(const std::string& s) {
    // A frame string is short; anything long is not one.
    if (s.size() > 512) return std::nullopt;
    float v[4];
    int n = 0;
    const char* p = s.c_str();
    while (*p && n < 4) {
        const bool starts = (*p >= '0' && *p <= '9') || *p == '-' || *p == '+' || *p == '.';
        char* end = nullptr;
        const float f = starts ? std::strtof(p, &end) : 0;
        if (end && end != p) {
            v[n++] = f;
            p = end;
        } else {
            ++p;
        }
    }
    if (n < 4) return std::nullopt;
    return Rect{v[0], v[1], v[2], v[3]};
}

std::string DocumentFile::frameStringFromRect(const Rect& r) {
    char text[160];
    std::snprintf(text, sizeof text, "{{%g, %g}, {%g, %g}}", double(r.x), double(r.y),
                  double(r.width), double(r.height));
    return text;
}
