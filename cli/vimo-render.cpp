// vimo-render: writes a PNG of a Vimo drawing (or of any picture opened as a
// drawing) as its saved view shows it, at a given pixel size, or as a
// thumbnail. It needs no display, no home directory and no user settings, so
// it can serve as the desktop's thumbnailer:
//
//   vimo-render --thumbnail 256 drawing.vimo thumbnail.png

#include "model/DocumentFile.h"

#include <QImage>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr const char* kUsage =
    "Usage: vimo-render [OPTIONS] INPUT OUTPUT.png\n"
    "\n"
    "Writes a PNG of the drawing in INPUT (a .vimo or .vimotemplate file, or a\n"
    "picture, which opens as a drawing holding it), as its saved view shows it.\n"
    "\n"
    "Options:\n"
    "  --size WxH         render at W by H pixels: the saved view zoomed by\n"
    "                     W / view width around its centre\n"
    "  --thumbnail N      at most N pixels on the longer side; uses the picture\n"
    "                     saved in the file when there is one\n"
    "  --view-size WxH    the view size for files that do not save one\n"
    "                     (pictures, files without a window frame); default 640x480\n"
    "  --opaque           white where the drawing has no background colour\n"
    "                     (default: transparent)\n"
    "  -h, --help         show this help\n"
    "\n"
    "Exit status: 0 on success, 1 when INPUT cannot be read or OUTPUT cannot be\n"
    "written (with a one-line reason), 2 for wrong arguments.\n";

int usageError(const std::string& what) {
    std::fprintf(stderr, "vimo-render: %s (try --help)\n", what.c_str());
    return 2;
}

bool parseSize(const char* text, int& w, int& h) {
    char* end = nullptr;
    const long lw = std::strtol(text, &end, 10);
    if (end == text || (*end != 'x' && *end != 'X')) return false;
    const char* rest = end + 1;
    const long lh = std::strtol(rest, &end, 10);
    if (end == rest || *end != '\0') return false;
    if (lw < 1 || lh < 1 || lw > 32768 || lh > 32768) return false;
    w = int(lw);
    h = int(lh);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    int width = 0, height = 0, thumbnail = 0, viewW = 640, viewH = 480;
    bool opaque = false;
    std::string input, output;
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        auto value = [&]() -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (!std::strcmp(arg, "-h") || !std::strcmp(arg, "--help")) {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (!std::strcmp(arg, "--size")) {
            const char* v = value();
            if (!v || !parseSize(v, width, height)) return usageError("--size needs WxH");
        } else if (!std::strcmp(arg, "--view-size")) {
            const char* v = value();
            if (!v || !parseSize(v, viewW, viewH)) return usageError("--view-size needs WxH");
        } else if (!std::strcmp(arg, "--thumbnail")) {
            const char* v = value();
            char* end = nullptr;
            const long n = v ? std::strtol(v, &end, 10) : 0;
            if (!v || *end != '\0' || n < 1 || n > 4096)
                return usageError("--thumbnail needs a size from 1 to 4096");
            thumbnail = int(n);
        } else if (!std::strcmp(arg, "--opaque")) {
            opaque = true;
        } else if (arg[0] == '-' && arg[1] != '\0') {
            return usageError(std::string("unknown option ") + arg);
        } else if (input.empty()) {
            input = arg;
        } else if (output.empty()) {
            output = arg;
        } else {
            return usageError("too many arguments");
        }
    }
    if (input.empty() || output.empty()) return usageError("needs INPUT and OUTPUT");
    if (thumbnail && width) return usageError("--size and --thumbnail exclude each other");

    // No settings: rendering reads none and writes none.
    DocumentFile document(nullptr);
    document.setViewSize({float(viewW), float(viewH)});
    const QString inputPath = QString::fromLocal8Bit(input.c_str());
    const auto result = document.readFromFile(inputPath);
    if (!result) {
        std::fprintf(stderr, "vimo-render: %s: %s\n", input.c_str(), result.reason().c_str());
        return 1;
    }
    document.placeLoadedImage();

    const Size view = document.viewSize();
    const int vw = std::max(1, int(view.width)), vh = std::max(1, int(view.height));
    QImage image;
    if (thumbnail) {
        const double f = std::min(1.0, double(thumbnail) / std::max(vw, vh));
        const int tw = std::max(1, int(std::lround(vw * f)));
        const int th = std::max(1, int(std::lround(vh * f)));
        const QImage& saved = document.previewImage();
        if (!saved.isNull() && !opaque)
            image = saved.scaled(tw, th, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        else
            image = document.imageWithSize(tw, th, !opaque);
    } else if (width) {
        image = document.imageWithSize(width, height, !opaque);
    } else {
        image = document.imageWithSize(vw, vh, !opaque);
    }
    if (image.isNull()) {
        std::fprintf(stderr, "vimo-render: %s: the picture would be too large\n", input.c_str());
        return 1;
    }
    // Straight alpha is what PNG stores.
    image = image.convertToFormat(QImage::Format_RGBA8888);
    if (!image.save(QString::fromLocal8Bit(output.c_str()), "PNG")) {
        std::fprintf(stderr, "vimo-render: could not write %s\n", output.c_str());
        return 1;
    }
    return 0;
}
