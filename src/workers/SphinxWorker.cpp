// parlevo-sphinx-worker: the offline English engine. Reads one JSON request a
// line on standard input ({"id", "audioPath", "language"}) and answers each
// with one line ({"id", "transcript", "words"} or {"id", "error"}); "words"
// holds each recognised word with its time in the file ({"text", "startMs",
// "endMs"}), which note processing needs to tell speakers apart. The audio
// must be 16 kHz mono 16-bit WAV, which the application converts to
// beforehand.

#include <pocketsphinx.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

struct DecoderDeleter {
    void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
struct ConfigDeleter {
    void operator()(cmd_ln_t* config) const { cmd_ln_free_r(config); }
};

std::uint32_t little32(const char* p) {
    return std::uint32_t(std::uint8_t(p[0])) | std::uint32_t(std::uint8_t(p[1])) << 8 |
           std::uint32_t(std::uint8_t(p[2])) << 16 | std::uint32_t(std::uint8_t(p[3])) << 24;
}

std::uint16_t little16(const char* p) {
    return std::uint16_t(std::uint8_t(p[0]) | std::uint8_t(p[1]) << 8);
}

// The samples of a 16 kHz mono 16-bit WAV file, or an error sentence.
std::optional<std::vector<std::int16_t>> readWave(const std::string& path, std::string& error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = "the audio file could not be opened";
        return std::nullopt;
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) {
        error = "the audio file is not WAV";
        return std::nullopt;
    }
    bool formatOk = false;
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        const std::string id = bytes.substr(at, 4);
        const std::size_t size = little32(bytes.data() + at + 4);
        const std::size_t body = at + 8;
        if (id == "fmt " && body + 16 <= bytes.size()) {
            const char* f = bytes.data() + body;
            formatOk = little16(f) == 1 && little16(f + 2) == 1 && little32(f + 4) == 16000 &&
                       little16(f + 14) == 16;
        } else if (id == "data") {
            if (!formatOk) {
                error = "the audio is not 16 kHz mono 16-bit";
                return std::nullopt;
            }
            const std::size_t available = std::min(size, bytes.size() - body) / 2;
            std::vector<std::int16_t> samples(available);
            std::memcpy(samples.data(), bytes.data() + body, available * 2);
            return samples;
        }
        at = body + size + (size & 1);
    }
    error = "the audio file has no samples";
    return std::nullopt;
}

struct Recognised {
    std::string text;
    Json words = Json::array();
};

// Silence, breath and noise markers are the decoder's, not the speaker's.
bool spoken(const std::string& token) {
    return !token.empty() && token.front() != '<' && token.front() != '[' &&
           token.rfind("++", 0) != 0;
}

// "read(2)" is the dictionary's second pronunciation of "read".
std::string withoutVariant(std::string token) {
    const auto open = token.find('(');
    if (open != std::string::npos && open > 0 && token.back() == ')')
        token.erase(open);
    return token;
}

Recognised transcribe(ps_decoder_t* decoder, const std::vector<std::int16_t>& samples,
                      int framesPerSecond) {
    ps_start_utt(decoder);
    constexpr std::size_t block = 4096;
    for (std::size_t at = 0; at < samples.size(); at += block)
        ps_process_raw(decoder, samples.data() + at, std::min(block, samples.size() - at), FALSE,
                       FALSE);
    ps_end_utt(decoder);
    std::int32_t score = 0;
    const char* hypothesis = ps_get_hyp(decoder, &score);
    Recognised out;
    out.text = hypothesis ? hypothesis : "";
    const double msPerFrame = 1000.0 / std::max(1, framesPerSecond);
    // The decoder counts frames on from one utterance to the next; its
    // sentence start marks where this one began.
    std::optional<int> origin;
    for (ps_seg_t* seg = ps_seg_iter(decoder); seg; seg = ps_seg_next(seg)) {
        const char* word = ps_seg_word(seg);
        int first = 0;
        int last = 0;
        ps_seg_frames(seg, &first, &last);
        if (!origin)
            origin = first;
        first -= *origin;
        last -= *origin;
        if (!word || !spoken(word))
            continue;
        out.words.push_back({{"text", withoutVariant(word)},
                             {"startMs", static_cast<std::int64_t>(first * msPerFrame)},
                             {"endMs", static_cast<std::int64_t>((last + 1) * msPerFrame)}});
    }
    return out;
}

void reply(const Json& id, const char* key, const std::string& value) {
    Json out = {{"id", id}, {key, value}};
    std::cout << out.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
}

void reply(const Json& id, const Recognised& recognised) {
    Json out = {{"id", id}, {"transcript", recognised.text}, {"words", recognised.words}};
    std::cout << out.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
}

} // namespace

int main(int argc, char** argv) {
    std::string model = "/usr/share/pocketsphinx/model/en-us";
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], "--model") == 0)
            model = argv[++i];

    const std::string hmm = model + "/en-us";
    const std::string lm = model + "/en-us.lm.bin";
    const std::string dict = model + "/cmudict-en-us.dict";
    std::unique_ptr<cmd_ln_t, ConfigDeleter> config(
        cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", hmm.c_str(), "-lm", lm.c_str(), "-dict",
                    dict.c_str(), "-logfn", "/dev/null", "-remove_silence", "no", nullptr));
    std::unique_ptr<ps_decoder_t, DecoderDeleter> decoder(config ? ps_init(config.get()) : nullptr);
    if (!decoder) {
        std::cerr << "parlevo-sphinx-worker: the model in " << model << " could not be loaded\n";
        return 1;
    }

    const int framesPerSecond = static_cast<int>(cmd_ln_int32_r(config.get(), "-frate"));
    std::string line;
    while (std::getline(std::cin, line)) {
        const Json request = Json::parse(line, nullptr, false);
        if (request.is_discarded() || !request.is_object() || !request.contains("id")) {
            reply(nullptr, "error", "unreadable request");
            continue;
        }
        const Json id = request["id"];
        const std::string language = request.value("language", "en");
        if (language != "en" && language != "auto" && language.rfind("en-", 0) != 0) {
            reply(id, "error", "only English is understood");
            continue;
        }
        if (!request.contains("audioPath") || !request["audioPath"].is_string()) {
            reply(id, "error", "no audio path");
            continue;
        }
        std::string error;
        const auto samples = readWave(request["audioPath"].get<std::string>(), error);
        if (!samples) {
            reply(id, "error", error);
            continue;
        }
        reply(id, transcribe(decoder.get(), *samples, framesPerSecond));
    }
    return 0;
}
