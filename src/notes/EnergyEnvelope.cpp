#include "EnergyEnvelope.h"

#include <QtEndian>

#include <algorithm>

namespace quendra {

void EnergyEnvelope::place(qint64 sectionStartMs, const std::vector<float>& sectionMicrophone,
                           const std::vector<float>& sectionSystem) {
    if (frameMs < 1)
        return;
    const auto first = static_cast<std::size_t>(std::max<qint64>(0, sectionStartMs / frameMs));
    const std::size_t n = std::min(sectionMicrophone.size(), sectionSystem.size());
    const std::size_t end = first + n;
    if (microphone.size() < end)
        microphone.resize(end, 0.0f);
    if (system.size() < end)
        system.resize(end, 0.0f);
    std::copy_n(sectionMicrophone.begin(), n, microphone.begin() + static_cast<qint64>(first));
    std::copy_n(sectionSystem.begin(), n, system.begin() + static_cast<qint64>(first));
}

SectionLevels EnergyEnvelope::decode(const QByteArray& bytes) {
    const auto records = static_cast<std::size_t>(bytes.size()) / recordBytes;
    SectionLevels levels;
    levels.microphone.reserve(records);
    levels.system.reserve(records);
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    for (std::size_t i = 0; i < records; ++i) {
        const uchar* record = data + i * recordBytes;
        levels.microphone.push_back(static_cast<float>(qFromLittleEndian<quint16>(record)) /
                                    65535.0f);
        levels.system.push_back(static_cast<float>(qFromLittleEndian<quint16>(record + 2)) /
                                65535.0f);
    }
    return levels;
}

} // namespace quendra
