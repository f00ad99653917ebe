#pragma once

// Owning handles for the FFmpeg objects the decoder and encoder use.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace quendra::ffmpeg {

struct InputCloser {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
struct OutputCloser {
    void operator()(AVFormatContext* c) const {
        if (c->pb)
            avio_closep(&c->pb);
        avformat_free_context(c);
    }
};
struct CodecCloser {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameCloser {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketCloser {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct ResamplerCloser {
    void operator()(SwrContext* s) const { swr_free(&s); }
};

using Input = std::unique_ptr<AVFormatContext, InputCloser>;
using Output = std::unique_ptr<AVFormatContext, OutputCloser>;
using Codec = std::unique_ptr<AVCodecContext, CodecCloser>;
using Frame = std::unique_ptr<AVFrame, FrameCloser>;
using Packet = std::unique_ptr<AVPacket, PacketCloser>;
using Resampler = std::unique_ptr<SwrContext, ResamplerCloser>;

} // namespace quendra::ffmpeg
