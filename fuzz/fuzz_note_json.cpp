// Feeds arbitrary bytes to the note decoder. Whatever decodes must survive an
// encode and decode unchanged, or a stored note would drift with every write.

#include "model/Note.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto note = quendra::decodeNote(bytes);
    if (!note)
        return 0;
    const QByteArray encoded = quendra::encodeNote(*note);
    const auto again = quendra::decodeNote(encoded);
    if (!again || !(*again == *note))
        std::abort();
    if (quendra::encodeNote(*again) != encoded)
        std::abort();
    return 0;
}
