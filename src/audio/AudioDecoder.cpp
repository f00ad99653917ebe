#include "audio/AudioDecoder.h"

#include "audio/FfmpegHandles.h"

#include <QFile>

#include <vector>

namespace quendra {

namespace {

using Failure = AudioDecoder::Failure;

class Decoding {
public:
    Decoding(AVCodecContext* codec, SwrContext* resampler, const AudioDecoder::Sink& sink)
        : codec(codec)
        , resampler(resampler)
        , sink(sink) {}

    // Sends one packet (or the end, when null) and hands on every frame it gives.
    std::expected<void, Failure> feed(const AVPacket* packet) {
        int status = avcodec_send_packet(codec, packet);
        if (status < 0 && status != AVERROR(EAGAIN) && status != AVERROR_EOF)
            return std::unexpected(Failure::unreadable);
        for (;;) {
            status = avcodec_receive_frame(codec, frame.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
                return {};
            if (status < 0)
                return std::unexpected(Failure::unreadable);
            auto delivered =
                convert(const_cast<const uint8_t**>(frame->extended_data), frame->nb_samples);
            av_frame_unref(frame.get());
            if (!delivered)
                return delivered;
        }
    }

    // Empties the resampler's delay line.
    std::expected<void, Failure> flush() { return convert(nullptr, 0); }

private:
    std::expected<void, Failure> convert(const uint8_t** input, int count) {
        const int capacity = swr_get_out_samples(resampler, count);
        if (capacity <= 0)
            return {};
        samples.resize(size_t(capacity));
        auto* out = reinterpret_cast<uint8_t*>(samples.data());
        const int produced = swr_convert(resampler, &out, capacity, input, count);
        if (produced < 0)
            return std::unexpected(Failure::unreadable);
        if (produced > 0 && !sink(std::span<const qint16>(samples.data(), size_t(produced))))
            return std::unexpected(Failure::stopped);
        return {};
    }

    AVCodecContext* codec;
    SwrContext* resampler;
    const AudioDecoder::Sink& sink;
    ffmpeg::Frame frame{av_frame_alloc()};
    std::vector<qint16> samples;
};

} // namespace

std::expected<void, Failure> AudioDecoder::decode(const QString& path, const Sink& sink) {
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return std::unexpected(Failure::unreadable);
    ffmpeg::Input input(opened);
    if (avformat_find_stream_info(input.get(), nullptr) < 0)
        return std::unexpected(Failure::unreadable);
    const AVCodec* decoder = nullptr;
    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (stream < 0 || !decoder)
        return std::unexpected(Failure::unreadable);

    ffmpeg::Codec codec(avcodec_alloc_context3(decoder));
    if (!codec ||
        avcodec_parameters_to_context(codec.get(), input->streams[stream]->codecpar) < 0 ||
        avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return std::unexpected(Failure::unreadable);
    if (codec->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC && codec->ch_layout.nb_channels > 0) {
        const int channels = codec->ch_layout.nb_channels;
        av_channel_layout_uninit(&codec->ch_layout);
        av_channel_layout_default(&codec->ch_layout, channels);
    }

    SwrContext* made = nullptr;
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    if (swr_alloc_set_opts2(&made, &mono, AV_SAMPLE_FMT_S16, 16000, &codec->ch_layout,
                            codec->sample_fmt, codec->sample_rate, 0, nullptr) < 0)
        return std::unexpected(Failure::unreadable);
    ffmpeg::Resampler resampler(made);
    if (swr_init(resampler.get()) < 0)
        return std::unexpected(Failure::unreadable);

    Decoding decoding(codec.get(), resampler.get(), sink);
    ffmpeg::Packet packet(av_packet_alloc());
    for (;;) {
        const int status = av_read_frame(input.get(), packet.get());
        if (status == AVERROR_EOF)
            break;
        if (status < 0)
            return std::unexpected(Failure::unreadable);
        std::expected<void, Failure> fed{};
        if (packet->stream_index == stream)
            fed = decoding.feed(packet.get());
        av_packet_unref(packet.get());
        if (!fed)
            return fed;
    }
    if (auto fed = decoding.feed(nullptr); !fed)
        return fed;
    return decoding.flush();
}

} // namespace quendra
