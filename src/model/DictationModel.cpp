#include "DictationModel.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString title(DictationModel model) {
    switch (model) {
    case DictationModel::hosted:
        return u"Parlevo"_s;
    case DictationModel::qwen:
        return u"Qwen3 ASR 1.7B (on this computer)"_s;
    case DictationModel::largeV3:
        return u"Whisper Large v3"_s;
    case DictationModel::turbo:
        return u"Whisper Large v3 Turbo"_s;
    case DictationModel::offline:
        return u"Basic English (offline)"_s;
    }
    return {};
}

} // namespace quendra
