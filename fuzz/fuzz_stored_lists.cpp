// Arbitrary bytes through every decoder of a stored list: nothing may crash
// or hang, and whatever decodes must encode and decode back to itself.

#include "model/AppDataStore.h"

#include <cstdint>
#include <cstdlib>

using namespace quendra;

namespace {

template <typename T>
void roundTrip(const QList<T>& list) {
    const QByteArray encoded = jsonBytes(Json(list));
    if (AppDataStore::decodeList<T>(encoded) != list)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    const auto entries = AppDataStore::decodeList<PersonalDictionaryEntry>(bytes);
    roundTrip(entries);
    const auto normalised = AppDataStore::normalised(entries);
    if (AppDataStore::normalised(normalised) != normalised)
        std::abort(); // normalising twice changes nothing
    AppDataStore::normalised(AppDataStore::decodeLegacyDictionary(bytes));

    roundTrip(AppDataStore::decodeList<VoiceSnippet>(bytes));
    roundTrip(AppDataStore::decodeList<TranscriptEntry>(bytes));
    roundTrip(AppDataStore::decodeList<DictationShortcut>(bytes));
    if (const auto json = parseJson(bytes)) {
        try {
            const auto shortcut = json->get<DictationShortcut>();
            if (Json(shortcut).get<DictationShortcut>() != shortcut)
                std::abort();
        } catch (const std::exception&) {
        }
    }
    for (const auto& snippet : AppDataStore::decodeList<VoiceSnippet>(bytes))
        AppDataStore::expandSnippet(snippet.expansion, {snippet});
    return 0;
}
