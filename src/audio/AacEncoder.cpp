#include "audio/AacEncoder.h"

#include "audio/FfmpegHandles.h"

#include <QFile>

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

std::unexpected<AacEncoderError> broken(QString message) {
    return std::unexpected(AacEncoderError{false, std::move(message)});
}

// FFmpeg hands system errors back negated; its own codes lie far below them.
std::unexpected<AacEncoderError> unwritable(QString message, int status) {
    const int error = status < 0 && status > -4096 ? -status : 0;
    return std::unexpected(AacEncoderError{true, std::move(message), error});
}

} // namespace

struct AacEncoder::State {
    ffmpeg::Output output;
    ffmpeg::Codec codec;
    AVStream* stream = nullptr;
    ffmpeg::Frame frame{av_frame_alloc()};
    ffmpeg::Packet packet{av_packet_alloc()};
    std::vector<float> pending; // samples waiting for a whole frame
    int64_t nextPts = 0;
    bool finished = false;

    std::expected<void, AacEncoderError> drain() {
        for (;;) {
            const int status = avcodec_receive_packet(codec.get(), packet.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
                return {};
            if (status < 0)
                return broken(u"The audio encoder failed."_s);
            av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
            packet->stream_index = stream->index;
            const int written = av_interleaved_write_frame(output.get(), packet.get());
            av_packet_unref(packet.get());
            if (written < 0)
                return unwritable(u"The encoded audio could not be written."_s, written);
        }
    }

    std::expected<void, AacEncoderError> encode(const float* samples, int count) {
        if (samples) {
            av_frame_unref(frame.get());
            frame->format = codec->sample_fmt;
            frame->sample_rate = codec->sample_rate;
            frame->nb_samples = count;
            av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
            if (av_frame_get_buffer(frame.get(), 0) < 0)
                return broken(u"Out of memory while encoding audio."_s);
            std::copy_n(samples, count, reinterpret_cast<float*>(frame->data[0]));
            frame->pts = nextPts;
            nextPts += count;
        }
        if (avcodec_send_frame(codec.get(), samples ? frame.get() : nullptr) < 0)
            return broken(u"The audio encoder failed."_s);
        return drain();
    }
};

AacEncoder::AacEncoder(std::unique_ptr<State> state)
    : state(std::move(state)) {}
AacEncoder::AacEncoder(AacEncoder&&) noexcept = default;
AacEncoder& AacEncoder::operator=(AacEncoder&&) noexcept = default;
AacEncoder::~AacEncoder() = default;

std::expected<AacEncoder, AacEncoderError> AacEncoder::create(const QString& path) {
    av_log_set_level(AV_LOG_QUIET);
    const QByteArray native = QFile::encodeName(path);
    auto state = std::make_unique<State>();
    AVFormatContext* made = nullptr;
    if (avformat_alloc_output_context2(&made, nullptr, "ipod", native.constData()) < 0 || !made)
        return broken(u"The MPEG-4 audio writer is not available."_s);
    state->output.reset(made);
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!encoder)
        return broken(u"The AAC encoder is not available."_s);
    state->codec.reset(avcodec_alloc_context3(encoder));
    AVCodecContext* codec = state->codec.get();
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    codec->sample_rate = 16000;
    codec->bit_rate = bitRate;
    codec->time_base = AVRational{1, 16000};
    const AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    av_channel_layout_copy(&codec->ch_layout, &mono);
    // Parts of the same audio must come out byte for byte the same, since the
    // transcription cache knows them by their digest.
    state->output->flags |= AVFMT_FLAG_BITEXACT;
    codec->flags |= AV_CODEC_FLAG_BITEXACT;
    if (state->output->oformat->flags & AVFMT_GLOBALHEADER)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // The fast coder is about three times quicker at speech bit rates, with
    // no loss a transcriber notices.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "aac_coder", "fast", 0);
    const int opened = avcodec_open2(codec, encoder, &options);
    av_dict_free(&options);
    if (opened < 0)
        return broken(u"The AAC encoder could not be set up."_s);

    state->stream = avformat_new_stream(state->output.get(), nullptr);
    if (!state->stream || avcodec_parameters_from_context(state->stream->codecpar, codec) < 0)
        return broken(u"The MPEG-4 audio writer could not be set up."_s);
    state->stream->time_base = codec->time_base;
    if (const int opened = avio_open(&state->output->pb, native.constData(), AVIO_FLAG_WRITE);
        opened < 0)
        return unwritable(u"Could not create %1."_s.arg(path), opened);
    if (const int written = avformat_write_header(state->output.get(), nullptr); written < 0)
        return unwritable(u"Could not write %1."_s.arg(path), written);
    return AacEncoder(std::move(state));
}

std::expected<void, AacEncoderError> AacEncoder::write(std::span<const qint16> samples) {
    if (state->finished)
        return broken(u"The audio file is already finished."_s);
    for (qint16 sample : samples)
        state->pending.push_back(float(sample) / 32768.0f);
    const int frameSize = state->codec->frame_size > 0 ? state->codec->frame_size : 1024;
    size_t used = 0;
    while (state->pending.size() - used >= size_t(frameSize)) {
        if (auto encoded = state->encode(state->pending.data() + used, frameSize); !encoded)
            return encoded;
        used += size_t(frameSize);
    }
    state->pending.erase(state->pending.begin(), state->pending.begin() + qsizetype(used));
    return {};
}

std::expected<void, AacEncoderError> AacEncoder::finish() {
    if (state->finished)
        return {};
    state->finished = true;
    if (!state->pending.empty()) {
        if (auto encoded = state->encode(state->pending.data(), int(state->pending.size()));
            !encoded)
            return encoded;
        state->pending.clear();
    }
    if (auto encoded = state->encode(nullptr, 0); !encoded)
        return encoded;
    if (const int written = av_write_trailer(state->output.get()); written < 0)
        return unwritable(u"The audio file could not be completed."_s, written);
    // Closing writes what is still buffered; a full disk shows here.
    if (const int closed = avio_closep(&state->output->pb); closed < 0)
        return unwritable(u"The audio file could not be completed."_s, closed);
    return {};
}

} // namespace quendra
