#include "tools/ResourcePaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cstdlib>

namespace {
bool looksLikeResources(const QString& dir) {
    return QFileInfo(dir + "/Pens").isDir() || QFileInfo(dir + "/Images").isDir();
}
} // namespace

std::string ResourcePaths::resourceDir() {
    if (const char* env = std::getenv("VIMO_RESOURCE_DIR"); env && *env)
        return QDir::cleanPath(QString::fromLocal8Bit(env)).toStdString();
    if (QCoreApplication::instance()) {
        const QString exe = QCoreApplication::applicationDirPath();
        for (const char* rel : {"/../share/vimo/resources", "/../resources", "/../../resources"}) {
            const QString candidate = QDir::cleanPath(exe + rel);
            if (looksLikeResources(candidate)) return candidate.toStdString();
        }
    }
    return VIMO_SOURCE_RESOURCE_DIR;
}
