#pragma once

#include <QByteArray>

#include <string>
#include <string_view>

// The container around a document's keyed archive: a 4-byte big-endian
// length of the archive, the archive's zlib stream, and the 12 ASCII bytes
// "VIMO0100ZLIB". Files without the trailer are archives of an earlier,
// uncompressed format and are passed through as they are.
class VimoFileData {
public:
    static constexpr std::string_view kTrailer = "VIMO0100ZLIB";

    // The file content for an archive.
    static QByteArray fileDataFromArchive(const QByteArray& archive);

    // Extracts the archive from a file's content. Never fails for content
    // without the trailer (it is taken as an uncompressed archive, which the
    // unarchiver then judges); a compressed payload that does not inflate
    // gives an invalid result with a reason.
    static VimoFileData archiveFromFileData(const QByteArray& fileContent);

    bool isValid() const { return _error.empty(); }
    // Whether the content carried the trailer.
    bool wasCompressed() const { return _compressed; }
    const QByteArray& archive() const { return _archive; }
    // Why the content could not be read, for a person; empty when valid.
    const std::string& errorReason() const { return _error; }

private:
    QByteArray _archive;
    std::string _error;
    bool _compressed = false;
};
