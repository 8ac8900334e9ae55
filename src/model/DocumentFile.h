#pragma once

#include "model/AffineTransform.h"
#include "raster/Color.h"
#include "raster/Geometry.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSettings;
class Stroke;
class Strokes;

// The saved state of one drawing and its reading and writing, without a
// window: the background colour, the stroke list, the window frame, the view
// transform and the cached picture ("png") that lets a document open without
// repainting its strokes. The file is a keyed archive behind a length and a
// trailer (docs/file-format.md); templates are the same bytes and open
// untitled; plain image files open as a new untitled drawing holding the
// picture as one image stroke.
//
// The window and view take what was read (windowFrameString, viewTransform,
// previewImage, loadedImage) once they exist; until then the document keeps
// it, and a headless user (vimo-render) reads it directly.
class DocumentFile {
public:
    // The outcome of opening or saving: success, or a reason for a person.
    class Result {
    public:
        static Result success() { return Result(); }
        static Result failure(std::string reason) { return Result(std::move(reason)); }
        bool ok() const { return !_failed; }
        explicit operator bool() const { return ok(); }
        const std::string& reason() const { return _reason; }

    private:
        Result() = default;
        explicit Result(std::string reason) : _reason(std::move(reason)), _failed(true) {}
        std::string _reason;
        bool _failed = false;
    };

    // Document types (the type decides how a file is read) and extensions.
    static constexpr const char* kDocumentType = "Vimo Document";
    static constexpr const char* kDocumentExtension = "vimo";
    static constexpr const char* kTemplateType = "Vimo Template";
    static constexpr const char* kTemplateExtension = "vimotemplate";
    // The user default deciding whether saving embeds the picture.
    static constexpr const char* kSaveBitmapDefault = "Save bitmap in Vimo file";
    // Pictures read from files (plain images, the cached "png") are refused
    // beyond this many pixels.
    static constexpr qint64 kMaxImagePixels = qint64(64) << 20;

    // settings holds the user defaults; without it the defaults apply and
    // nothing is stored (tests, vimo-render).
    explicit DocumentFile(QSettings* settings = nullptr);
    virtual ~DocumentFile();
    DocumentFile(const DocumentFile&) = delete;
    DocumentFile& operator=(const DocumentFile&) = delete;

    // Saved state.
    const std::optional<Color>& backgroundColor() const { return _background_color; }
    void setBackgroundColor(const std::optional<Color>& c) { _background_color = c; }
    Strokes& strokes() { return *_strokes; }
    const std::shared_ptr<Strokes>& strokesPointer() const { return _strokes; }
    // The window frame as "{{x, y}, {width, height}}"; empty when unknown.
    const std::string& windowFrameString() const { return _window_frame_string; }
    void setWindowFrameString(std::string s) { _window_frame_string = std::move(s); }
    // The view's world-to-view transform; none for a new drawing.
    const std::optional<AffineTransform>& viewTransform() const { return _view_transform; }
    void setViewTransform(const std::optional<AffineTransform>& t) { _view_transform = t; }
    // The size of the view (and its canvas). After reading it is the size of
    // the cached picture, else of the saved window frame, else what it was.
    Size viewSize() const { return _view_size; }
    void setViewSize(Size s) { _view_size = s; }

    // Read-time state for the window and view.
    // The cached picture read from "png" (upright); null when there was none.
    const QImage& previewImage() const { return _preview_image; }
    void clearPreviewImage() { _preview_image = QImage(); }
    // The picture of an opened image file, until placeLoadedImage().
    const std::optional<QImage>& loadedImage() const { return _loaded_image; }
    // Whether the file opened untitled (a template or an image): saving must
    // ask for a name.
    bool resetFilename() const { return _reset_filename; }

    // The picture that saving embeds: by default the strokes rendered at the
    // view size under the view transform, over the background colour or
    // transparency. The view replaces it with what it shows.
    void setPreviewSource(std::function<QImage()> source) { _preview_source = std::move(source); }
    // The drawing rendered at a pixel size (see DocumentRenderer).
    QImage imageWithSize(int width, int height, bool transparent);

    // The type of a file by its extension, or for other names by its content:
    // a Vimo archive is a "Vimo Document", a picture gives its image format
    // ("png", "jpeg", ...); empty when it is neither.
    static QString typeForFile(const QString& path, const QByteArray& content);
    static bool isVimoType(const QString& type);

    // The file content for the drawing (the same for every type).
    QByteArray dataRepresentationOfType(const QString& type);
    // Reads a file's content. On failure nothing of the document changes. On
    // success the stroke list is a new one: give it the undo manager again.
    Result loadDataRepresentation(const QByteArray& data, const QString& type);
    // Reads a file, its type found by typeForFile when not given.
    Result readFromFile(const QString& path, const QString& type = QString());
    // Saves atomically: the new content goes to a temporary file that
    // replaces the old one only once completely written; the old version is
    // kept beside it as "name~". On failure the old file is untouched.
    Result writeToFile(const QString& path, const QString& type);

    // Places a picture as an image stroke centred on a point in view
    // coordinates, fitted into the view with a margin of 10 (aspect kept),
    // and adds it to the list.
    std::shared_ptr<Stroke> addImage(const QImage& image, Point centre, float opacity = 1);
    // Places the opened image file's picture at the view's centre and drops
    // it; nothing when none was loaded.
    void placeLoadedImage();

    // The frame in a window frame string, in either "{{x, y}, {w, h}}" or
    // plain "x y w h ..." form; none when it holds no four numbers.
    static std::optional<Rect> rectFromFrameString(const std::string& s);
    static std::string frameStringFromRect(const Rect& r);

protected:
    // A file was read and its strokes replaced the list (a new Strokes).
    virtual void strokesReplaced() {}

private:
    bool saveBitmapInFile();
    AffineMatrix viewMatrix() const;

    QSettings* _settings;
    std::optional<Color> _background_color;
    std::shared_ptr<Strokes> _strokes;
    std::string _window_frame_string;
    std::optional<AffineTransform> _view_transform;
    Size _view_size{640, 480};
    QImage _preview_image;
    std::optional<QImage> _loaded_image;
    bool _reset_filename = false;
    std::function<QImage()> _preview_source;
};
