#include "model/VimoFileData.h"

#include "model/ZLib.h"

QByteArray VimoFileData::fileDataFromArchive(const QByteArray& archive) {
    QByteArray out = compressWithLength(archive);
    out.append(kTrailer.data(), qsizetype(kTrailer.size()));
    return out;
}

VimoFileData VimoFileData::archiveFromFileData(const QByteArray& fileContent) {
    VimoFileData result;
    const auto trailerSize = qsizetype(kTrailer.size());
    // Content shorter than the trailer cannot carry it.
    if (fileContent.size() < trailerSize ||
        std::string_view(fileContent.constData() + fileContent.size() - trailerSize,
                         kTrailer.size()) != kTrailer) {
        result._archive = fileContent;
        return result;
    }
    result._compressed = true;
    // A view of the payload without copying it.
    const QByteArray payload =
        QByteArray::fromRawData(fileContent.constData(), fileContent.size() - trailerSize);
    std::string reason;
    if (auto archive = decompressWithLength(payload, &reason))
        result._archive = std::move(*archive);
    else
        result._error = reason;
    return result;
}
