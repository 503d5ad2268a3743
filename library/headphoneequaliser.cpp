#include "library/headphoneequaliser.h"

#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>

#include "library/erb.h"
#include "library/headfourier.h"
#include "library/headresampler.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace design {
namespace {

using Eigen::Index;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

constexpr double greatestSeconds = 0.341;
constexpr Index shortestLength = 256;
constexpr double lowestLevel = 1e-4;   // of the greatest magnitude of a response
constexpr double tailPower = 1e-6;     // of the whole that comes after the end
constexpr double greatestBoost = 100;  // 40 dB
constexpr sf_count_t mostSamples = 1 << 17;
constexpr std::uintmax_t longestText = 1 << 20;

Index TransformLength(double sampleRate) {
    return static_cast<Index>(std::bit_ceil(static_cast<std::size_t>(2 * greatestSeconds * sampleRate)));
}

// Magnitudes of both ears, bins by ears.
Eigen::MatrixXd Magnitudes(const HeadphoneCorrection& correction, double sampleRate, HeadFourier& fourier) {
    Eigen::MatrixXd magnitudes(fourier.bins, 2);
    if (correction.responses.size() == 0) {
        const Eigen::VectorXd frequencies = Eigen::VectorXd::LinSpaced(fourier.bins, 0, sampleRate / 2);
        const Eigen::ArrayXd levels = FilterLevels(correction.filters, sampleRate, frequencies);
        magnitudes.colwise() = (levels * (std::numbers::ln10 / 20)).exp().matrix();
        return magnitudes;
    }
    const double ratio = sampleRate / correction.sampleRate;
    const auto count =
        static_cast<Index>(std::ceil(static_cast<double>(correction.responses.rows()) * ratio));
    const Eigen::MatrixXd resampled =
        Resample(correction.responses, correction.sampleRate, sampleRate, std::min(count, fourier.length));
    for (Index ear : {0, 1}) {
        const Index channel = std::min(ear, resampled.cols() - 1);
        magnitudes.col(ear) = fourier.Spectrum(resampled.col(channel)).cwiseAbs();
    }
    // Past the band of the measurement the level goes on as it is there.
    const auto last = static_cast<Index>(std::min(0.45 * correction.sampleRate / (sampleRate / 2), 1.0) *
                                         static_cast<double>(fourier.bins - 1));
    for (Index k = last + 1; k < fourier.bins; ++k)
        magnitudes.row(k) = magnitudes.row(last);
    return magnitudes.cwiseMax(lowestLevel * magnitudes.maxCoeff());
}

void KeepLoudness(Eigen::MatrixXd& magnitudes, double sampleRate) {
    const ErbBands bands = MakeErbBands(100, 16000, sampleRate, magnitudes.rows());
    magnitudes /= std::sqrt((bands.weights * magnitudes.cwiseAbs2()).mean());
    if (!(magnitudes.maxCoeff() <= greatestBoost))
        throw slib::BadDataException(
            "The correction raises some frequencies by more than 40 dB over the rest.");
}

// The least power of two that leaves out a millionth of the power, if not `longest`.
Index LengthOf(const Eigen::MatrixXd& signals, Index longest) {
    Index length = shortestLength;
    while (length < longest && signals.bottomRows(signals.rows() - length * 3 / 4).squaredNorm() >
                                   tailPower * signals.squaredNorm())
        length *= 2;
    return length;
}

Transform ToTransform(const Eigen::MatrixXd& signals, double sampleRate, Index length) {
    Transform transform;
    transform.sampleRate = sampleRate;
    transform.width = static_cast<std::uint32_t>(length);
    transform.impulses = decltype(transform.impulses)(2, 2);
    hcml::GenericVector<double, 1> silence(transform.width);
    silence.fill(0);
    transform.impulses.fill(silence);
    const Index fade = length / 4;
    for (const std::uint32_t ear : {0u, 1u})
        for (Index i = 0; i < length; ++i) {
            const double past = static_cast<double>(i - (length - fade)) + 0.5;
            const double turn = std::max(past, 0.0) * std::numbers::pi / static_cast<double>(fade);
            const double gain = 0.5 + 0.5 * std::cos(turn);
            transform.impulses(ear, ear)[static_cast<std::uint32_t>(i)] = gain * signals(i, ear);
        }
    return transform;
}

void CheckResponses(const HeadphoneCorrection& correction) {
    if (correction.responses.size() == 0) return;
    const auto require = [](bool condition, const char* fault) {
        if (!condition) throw slib::BadDataException(std::string("The impulse response ").append(fault));
    };
    require(correction.responses.cols() <= 2, "has more than two channels.");
    require(correction.responses.allFinite(), "holds values that aren't numbers.");
    require(correction.sampleRate >= 8000 && correction.sampleRate <= 768000,
            "has a sample rate that isn't one of sound.");
    require(correction.responses.colwise().squaredNorm().minCoeff() > 1e-20, "is silent.");
}

bool IsWave(const std::string& path) {
    return slib::EqualIgnoringCase(std::filesystem::path(path).extension().string(), ".wav");
}

HeadphoneCorrection ReadWave(const std::string& path) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                             sf_close);
    const auto fail = [&](const std::string& fault) {
        throw slib::BadDataException("'" + path + "' can't be used: " + fault + ".");
    };
    if (!file) fail(sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 2) fail("an impulse response has one or two channels");
    if (info.frames < 1 || info.frames > mostSamples)
        fail("an impulse response has 1 to " + std::to_string(mostSamples) + " samples");
    Eigen::MatrixXd samples(info.channels, info.frames);
    if (sf_readf_double(file.get(), samples.data(), info.frames) != info.frames) fail("it is cut short");
    return {{}, samples.transpose(), static_cast<double>(info.samplerate)};
}

}  // namespace

Transform DesignHeadphoneEqualiser(const HeadphoneCorrection& correction, double sampleRate) {
    CheckResponses(correction);
    HeadFourier fourier(TransformLength(sampleRate));
    Eigen::MatrixXd magnitudes = Magnitudes(correction, sampleRate, fourier);
    KeepLoudness(magnitudes, sampleRate);
    Eigen::MatrixXd signals(fourier.length, 2);
    for (const Index ear : {0, 1})
        signals.col(ear) = fourier.Signal(fourier.MinimumPhase(magnitudes.col(ear)));
    return ToTransform(signals, sampleRate, LengthOf(signals, fourier.length / 2));
}

HeadphoneCorrection ReadHeadphoneCorrection(const std::string& path) {
    if (IsWave(path)) {
        HeadphoneCorrection correction = ReadWave(path);
        CheckResponses(correction);
        return correction;
    }
    std::error_code error;
    if (std::filesystem::file_size(path, error) > longestText && !error)
        throw slib::BadDataException("'" + path + "' is too long for a text of filters.");
    std::ifstream stream(path);
    if (!stream) throw slib::OperatingSystemErrnoException("Unable to open '" + path + "'.");
    return {ReadParametricFilters(stream, path), {}, 0};
}

}  // namespace design
