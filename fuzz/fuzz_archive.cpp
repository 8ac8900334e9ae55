// Feeds arbitrary bytes to the document file reader. Every input must end in
// a decoded graph or an ArchiveError / invalid container; anything else
// (a crash, a sanitizer report, another exception, a hang) is a finding.
// Seeds: tests/data/archive.

#include "model/KeyedUnarchiver.h"
#include "model/VimoFileData.h"
#include "support/ArchiveTestNode.h"

#include <cstddef>
#include <cstdint>

namespace {

// Runs one read and swallows the errors the reader is allowed to raise.
template <class F> void attempt(F&& read) {
    try {
        read();
    } catch (const ArchiveError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool registered = (ArchiveTestNode::registerClass(), true);
    (void)registered;

    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const VimoFileData file = VimoFileData::archiveFromFileData(bytes);
    if (!file.isValid()) return 0;
    attempt([&] {
        KeyedUnarchiver reader(file.archive());
        attempt([&] { reader.decodeObject("root"); });
        attempt([&] { reader.decodeObjectArray("root"); });
        // The keys of a document.
        attempt([&] { reader.decodeColor("background_color"); });
        attempt([&] { reader.decodeObjectArray("strokes"); });
        attempt([&] { reader.decodeObject("strokes"); });
        attempt([&] { reader.decodeString("window"); });
        attempt([&] { reader.decodeAffineTransform("view_transform"); });
        attempt([&] { reader.decodeData("png"); });
        attempt([&] { reader.sequentialValues().readInt32(); });
    });
    return 0;
}
