#include "align/audio.h"

#include <algorithm>
#include <sndfile.h>
#include <stdexcept>

namespace mv::align {

long long decodeBlocks(const QString& path,
                       const std::function<void(int rate, int channels, long long frames)>& opened,
                       const AudioBlock& take, const std::function<bool()>& cancelled,
                       long long from, long long count) {
    SF_INFO info{};
    SNDFILE* f = sf_open(path.toLocal8Bit().constData(), SFM_READ, &info);
    if (!f)
        throw std::runtime_error(QStringLiteral("Cannot decode \"%1\": %2")
                                     .arg(path, sf_strerror(nullptr))
                                     .toStdString());
    if (info.channels < 1 || info.samplerate < 4000) {
        sf_close(f);
        throw std::runtime_error(
            QStringLiteral("Cannot decode \"%1\": no sound in it").arg(path).toStdString());
    }
    opened(info.samplerate, info.channels, info.frames);
    if (from > 0 && sf_seek(f, from, SEEK_SET) != from) {
        sf_close(f);
        throw std::runtime_error(
            QStringLiteral("Cannot decode \"%1\": it cannot seek").arg(path).toStdString());
    }
    constexpr sf_count_t kBlock = 16384;
    std::vector<float> block(size_t(kBlock) * size_t(info.channels));
    long long frames = 0;
    for (;;) {
        const sf_count_t want = count < 0 ? kBlock : std::min<sf_count_t>(kBlock, count - frames);
        if (want <= 0) break;
        const sf_count_t got = sf_readf_float(f, block.data(), want);
        if (got <= 0) break;
        take(block.data(), size_t(got));
        frames += got;
        if (cancelled && cancelled()) break;
    }
    sf_close(f);
    return frames;
}

Audio decodeAudio(const QString& path, const std::function<bool()>& cancelled) {
    Audio a;
    int factor = 1, channels = 1;
    double acc = 0;
    int n = 0;
    decodeBlocks(
        path,
        [&](int rate, int ch, long long frames) {
            factor = std::max(1, rate / 22050);
            a.rate = rate / factor;
            channels = ch;
            if (frames > 0) a.samples.reserve(size_t(frames / factor) + 1);
        },
        [&](const float* block, size_t got) {
            for (size_t i = 0; i < got; ++i) {
                float mono = 0;
                for (int c = 0; c < channels; ++c)
                    mono += block[i * size_t(channels) + size_t(c)];
                acc += mono / float(channels);
                if (++n == factor) {
                    a.samples.push_back(float(acc / factor));
                    acc = 0;
                    n = 0;
                }
            }
        },
        cancelled);
    if (a.samples.size() < size_t(a.rate) / 10)
        throw std::runtime_error(
            QStringLiteral("Cannot decode \"%1\": no sound in it").arg(path).toStdString());
    return a;
}

} // namespace mv::align
