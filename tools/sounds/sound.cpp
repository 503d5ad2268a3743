#include "tools/sounds/sound.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <random>

#include "slib/exception.h"

namespace tool {
namespace {

constexpr int rate = 48000;
constexpr double fullScale = 32767;
constexpr double turn = 2 * std::numbers::pi;
constexpr sf_count_t mostFrames = sf_count_t{600} * 192000;

using File = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

std::int16_t Sample(double value) {
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0, 1.0) * fullScale));
}

// The sound whose value at each time (seconds) is `wave`.
Sound Made(double seconds, const std::function<double(double)>& wave) {
    Sound sound{rate, std::vector<std::int16_t>(static_cast<std::size_t>(std::lround(seconds * rate)))};
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = Sample(wave(static_cast<double>(i) / rate));
    return sound;
}

// Three leaky sums of white noise approximate a fall of 3 dB an octave (Kellet 1999).
class PinkNoise {
public:
    double Next() {
        const double white = uniform(generator);
        low = 0.99765 * low + white * 0.0990460;
        middle = 0.96300 * middle + white * 0.2965164;
        high = 0.57000 * high + white * 1.0526913;
        return low + middle + high + white * 0.1848;
    }

private:
    std::minstd_rand generator;  // the same seed each time
    std::uniform_real_distribution<double> uniform{-1, 1};
    double low = 0, middle = 0, high = 0;
};

}  // namespace

Sound ReadSoundFile(const std::string& path) {
    SF_INFO info{};
    const File file(sf_open(path.c_str(), SFM_READ, &info), &sf_close);
    if (!file || info.frames > mostFrames)
        throw slib::BadDataException("The sound file '" + path +
                                     "' can't be read: " + (file ? "It is too long." : sf_strerror(nullptr)) +
                                     " Install it again, or name another folder.");
    const auto channels = static_cast<std::size_t>(info.channels);
    std::vector<double> frame(channels);
    Sound sound{info.samplerate, {}};
    while (sf_readf_double(file.get(), frame.data(), 1) == 1) {
        double sum = 0;
        for (const double value : frame)
            sum += value;
        sound.samples.push_back(Sample(sum / static_cast<double>(channels)));
    }
    return sound;
}

Sound MakeNoise(double seconds) {
    PinkNoise pink;
    return Made(seconds, [&](double) { return pink.Next() * 0.0935; });
}

Sound MakeBell(int number) {
    constexpr double between = 0.4;  // s
    const double pitch = 330 * std::exp2(number / 4.0);
    return Made(3 * between, [&](double time) {
        const double since = std::fmod(time, between);
        const double tone = std::sin(turn * pitch * since) + 0.5 * std::sin(turn * 2.76 * pitch * since);
        return 0.3 * tone * std::exp(-8 * since);
    });
}

Sound MakeEngine() {
    constexpr int harmonics = 24;
    constexpr double voicePitch = 65;  // Hz: whole turns in the length
    return Made(2, [](double time) {
        double sum = 0;
        for (int k = 1; k <= harmonics; ++k)
            sum += std::sin(turn * voicePitch * k * time + k * k) / std::sqrt(k);
        return 0.1 * sum * (1 + 0.3 * std::sin(turn * 13 * time));
    });
}

}  // namespace tool
