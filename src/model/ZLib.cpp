#include "model/ZLib.h"

#include "raster/Assert.h"

#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <limits>

QByteArray compressWithLength(const QByteArray& data) {
    const auto length = std::uint64_t(data.size());
    VIMO_ASSERT(length <= std::numeric_limits<std::uint32_t>::max());
    // Room for incompressible input: the larger of zlib's own bound and
    // length * 1.001 + 12.
    const auto bound = std::max<std::uint64_t>(compressBound(uLong(length)),
                                               std::uint64_t(double(length) * 1.001 + 12));
    QByteArray out(qsizetype(bound + 4), Qt::Uninitialized);
    qToBigEndian(std::uint32_t(length), out.data());
    uLongf compressedSize = uLongf(bound);
    const int rc = compress(reinterpret_cast<Bytef*>(out.data() + 4), &compressedSize,
                            reinterpret_cast<const Bytef*>(data.constData()), uLong(length));
    VIMO_ASSERT(rc == Z_OK);
    out.truncate(qsizetype(4 + compressedSize));
    return out;
}

std::optional<QByteArray> decompressWithLength(const QByteArray& data, std::string* reason) {
    auto fail = [reason](const char* why) -> std::optional<QByteArray> {
        if (reason) *reason = why;
        return std::nullopt;
    };
    if (data.size() < 4) return fail("the file is damaged: it ends before its length");
    const std::uint64_t declared = qFromBigEndian<std::uint32_t>(data.constData());
    const auto compressed = std::uint64_t(data.size() - 4);
    if (declared > kMaxUncompressedArchiveSize)
        return fail("the file is damaged: it declares a content larger than 1 GiB");
    if (declared > compressed * kMaxZLibExpansion)
        return fail("the file is damaged: its declared length is impossible for its size");

    QByteArray out(qsizetype(declared), Qt::Uninitialized);
    // zlib needs a valid pointer even for an empty output.
    Bytef empty = 0;
    Bytef* dest = declared ? reinterpret_cast<Bytef*>(out.data()) : &empty;
    uLongf inflated = uLongf(declared);
    const int rc = uncompress(dest, &inflated, reinterpret_cast<const Bytef*>(data.constData() + 4),
                              uLong(compressed));
    if (rc != Z_OK) return fail("the file is damaged: its compressed content cannot be inflated");
    if (inflated != declared)
        return fail("the file is damaged: its content is shorter than its declared length");
    return out;
}
