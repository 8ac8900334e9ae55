#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <string>

// zlib compression behind a 4-byte big-endian length prefix: the payload
// form of a document file.

// The receiver's length as 4 big-endian bytes, then its zlib stream at the
// default compression level.
QByteArray compressWithLength(const QByteArray& data);

// Inverse of compressWithLength. Returns nothing when the data is too short,
// declares an implausible length, or does not inflate to exactly the
// declared length; *reason (when given) then says why, for a person.
std::optional<QByteArray> decompressWithLength(const QByteArray& data,
                                               std::string* reason = nullptr);

// Limits on the declared length: zlib cannot expand by more than about 1032
// to 1, and no document needs more than 1 GiB.
inline constexpr std::uint64_t kMaxZLibExpansion = 1032;
inline constexpr std::uint64_t kMaxUncompressedArchiveSize = std::uint64_t(1) << 30;
