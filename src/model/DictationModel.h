#pragma once

#include "RawValueEnum.h"

namespace quendra {

enum class DictationModel { hosted, qwen, largeV3, turbo, offline };

template <>
struct RawValueTable<DictationModel> {
    static constexpr std::array<std::pair<DictationModel, QStringView>, 5> entries{{
        {DictationModel::hosted, u"parlevo"},
        {DictationModel::qwen, u"qwen3-asr-1.7b"},
        {DictationModel::largeV3, u"whisper-large-v3"},
        {DictationModel::turbo, u"whisper-large-v3-turbo"},
        // The basic English engine that works without a network.
        {DictationModel::offline, u"pocketsphinx-en-us"},
    }};
};

QString title(DictationModel model);

} // namespace quendra
