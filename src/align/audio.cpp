#include "align/audio.h"

#include <sndfile.h>
#include <stdexcept>

namespace mv::align {

Audio decodeAudio(const QString& path, const std::function<bool()>& cancelled) {
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
    const int factor = std::max(1, info.samplerate / 22050);
    Audio a;
    a.rate = info.samplerate / factor;
    if (info.frames > 0) a.samples.reserve(size_t(info.frames / factor) + 1);
    std::vector<float> block(size_t(4096) * size_t(info.channels));
    double acc = 0;
    int n = 0;
    for (;;) {
        const sf_count_t got = sf_readf_float(f, block.data(), 4096);
        if (got <= 0) break;
        for (sf_count_t i = 0; i < got; ++i) {
            float mono = 0;
            for (int c = 0; c < info.channels; ++c)
                mono += block[size_t(i) * size_t(info.channels) + size_t(c)];
            acc += mono / float(info.channels);
            if (++n == factor) {
                a.samples.push_back(float(acc / factor));
                acc = 0;
                n = 0;
            }
        }
        if (cancelled && cancelled()) break;
    }
    const int err = sf_error(f);
    sf_close(f);
    if (a.samples.size() < size_t(a.rate) / 10 || (err != SF_ERR_NO_ERROR && a.samples.empty()))
        throw std::runtime_error(
            QStringLiteral("Cannot decode \"%1\": no sound in it").arg(path).toStdString());
    return a;
}

} // namespace mv::align
