#include "library/speakerdecoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <optional>

#include "library/timedresponse.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

constexpr double speedOfSound = 346.4;  // metres a second, as the acoustic models have it
constexpr double farDistance = 4;       // metres, from where a speaker's waves are plane

// From decoded signals to output channels: a matrix of gains and turns of the phase, and a delay for each
// output.
struct OutputStage {
    SpeakerRing speakers;
    Eigen::MatrixXcd mix;               // outputs by decoded signals; real, or imaginary for a quarter turn
    std::vector<double> gains, delays;  // one an output; linear, seconds
    // What an output gets of the signals, where small speakers leave their bass to others.
    std::vector<std::optional<CrossoverPart>> parts;
    double bassCrossover = 0;               // Hz
    std::vector<double> measuredDistances;  // metres, one a decoded signal; 0 where nobody knows
};

// Left, right and centre in phase, surrounds a quarter turn ahead on the left and behind on the right, each
// of unit energy: the matrix of Scheiber (1971) in the form that matrix decoders of five outputs expect.
OutputStage MatrixStage() {
    OutputStage stage;
    stage.speakers.isFlat = true;
    for (double azimuth : {30.0, -30.0, 0.0, 110.0, -110.0})
        stage.speakers.directions.push_back(DirectionAt(azimuth * pi / 180, 0));
    const std::complex<double> near(0, std::sqrt(2.0 / 3)), far(0, std::sqrt(1.0 / 3));
    const double centre = std::sqrt(0.5);
    stage.mix.resize(2, 5);
    stage.mix << 1, 0, centre, near, far,  //
        0, 1, centre, -far, -near;
    stage.speakers.coherence = (stage.mix.adjoint() * stage.mix).real();
    stage.gains = {1, 1};
    stage.delays = {0, 0};
    stage.parts.resize(2);
    stage.measuredDistances.assign(5, 0);
    return stage;
}

// The sub-woofers take the bass of all small speakers in equal shares, and the others keep in step with it.
void ManageBass(const SpeakerLayout& layout, const std::vector<std::size_t>& decoded, OutputStage& stage) {
    const std::vector<std::size_t> bass = layout.BassSpeakers();
    if (bass.empty()) return;
    stage.bassCrossover = layout.bassCrossover;
    for (std::size_t k = 0; k < decoded.size(); ++k) {
        const bool isSmall = layout.speakers[decoded[k]].type == orb3::spk::SpeakerType::Small;
        stage.parts[decoded[k]] = isSmall ? CrossoverPart::Rest : CrossoverPart::AllPass;
        for (const std::size_t output : bass) {
            stage.parts[output] = CrossoverPart::Bass;
            if (isSmall)
                stage.mix(static_cast<Index>(output), static_cast<Index>(k)) =
                    1 / static_cast<double>(bass.size());
        }
    }
}

OutputStage SpeakerStage(const SpeakerLayout& layout) {
    OutputStage stage;
    stage.speakers.isFlat = layout.IsFlat();
    const std::vector<std::size_t> decoded = layout.DecodedSpeakers();
    stage.mix = Eigen::MatrixXcd::Zero(static_cast<Index>(layout.speakers.size()),
                                       static_cast<Index>(decoded.size()));
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        const RoomSpeaker& speaker = layout.speakers[decoded[i]];
        stage.speakers.directions.push_back(speaker.direction);
        stage.mix(static_cast<Index>(decoded[i]), static_cast<Index>(i)) = 1;
        stage.measuredDistances.push_back(speaker.hasDistance ? speaker.distance : 0);
    }
    const double reference = layout.ReferenceDistance();
    for (const RoomSpeaker& speaker : layout.speakers) {
        stage.gains.push_back(speaker.distance / reference);
        stage.delays.push_back(std::max(0.0, reference - speaker.distance) / speedOfSound);
    }
    stage.parts.resize(layout.speakers.size());
    ManageBass(layout, decoded, stage);
    return stage;
}

// Scales gains, signals by channels, to the loudness 4 pi for a plane wave from ahead. `coherence` is that of
// the ring.
Eigen::MatrixXd Calibrated(const Eigen::MatrixXd& gains, unsigned order, const Eigen::MatrixXd& coherence) {
    const Eigen::VectorXd ahead = gains * PlaneWaveMatrix({Direction::UnitX()}, order).row(0).transpose();
    const double loudness = coherence.size() > 0 ? ahead.dot(coherence * ahead) : ahead.squaredNorm();
    return gains * std::sqrt(4 * pi / loudness);
}

// By degree, for a speaker at this distance in metres; impulses where it is unknown, or far.
std::vector<TimedResponse> NearFieldFilters(unsigned order, double distance, double sampleRate) {
    std::vector<TimedResponse> filters{TimedResponse::Impulse(1)};
    for (unsigned degree = 1; degree <= order; ++degree)
        filters.push_back(distance > 0 && distance < farDistance
                              ? NearFieldCompensation(degree, distance, sampleRate)
                              : TimedResponse::Impulse(1));
    return filters;
}

using Responses = std::vector<std::vector<TimedResponse>>;  // outer by inner, as their maker says

// Channels by decoded signals.
Responses DecodedResponses(const OutputStage& stage, unsigned order, const DecoderMatrices& matrices,
                           double sampleRate) {
    const Eigen::MatrixXd low = Calibrated(matrices.low, order, stage.speakers.coherence);
    const Eigen::MatrixXd high = Calibrated(matrices.high, order, stage.speakers.coherence);
    const bool differ = !low.isApprox(high, 1e-9);
    const TimedResponse lowPass =
        differ ? LowPass(matrices.crossover, sampleRate) : TimedResponse::Impulse(0);
    Responses responses(static_cast<std::size_t>(high.cols()));
    for (Index k = 0; k < high.rows(); ++k) {
        const std::vector<TimedResponse> nearField =
            NearFieldFilters(order, stage.measuredDistances[static_cast<std::size_t>(k)], sampleRate);
        for (Index c = 0; c < high.cols(); ++c) {
            TimedResponse response = TimedResponse::Impulse(high(k, c));
            response.Add(lowPass, low(k, c) - high(k, c));
            responses[static_cast<std::size_t>(c)].push_back(
                Convolve(response, nearField[DegreeOf(static_cast<unsigned>(c))]));
        }
    }
    return responses;
}

// Outputs by decoded signals.
Responses StageResponses(const OutputStage& stage, double sampleRate) {
    const bool turns = !stage.mix.imag().isZero(0);
    const TimedResponse ahead = turns ? QuarterTurn(1, sampleRate) : TimedResponse{};
    const TimedResponse behind = turns ? QuarterTurn(-1, sampleRate) : TimedResponse{};
    Responses responses(stage.gains.size());
    for (std::size_t o = 0; o < responses.size(); ++o) {
        TimedResponse delay = Delay(stage.delays[o], sampleRate);
        if (const auto part = stage.parts[o])
            delay = Convolve(delay, LinkwitzRiley(*part, stage.bassCrossover, sampleRate));
        for (Index k = 0; k < stage.mix.cols(); ++k) {
            const std::complex<double> gain = stage.mix(static_cast<Index>(o), k) * stage.gains[o];
            TimedResponse response;
            if (gain.real() != 0) response.Add(delay, gain.real());
            if (gain.imag() != 0)
                response.Add(Convolve(gain.imag() > 0 ? ahead : behind, delay), std::abs(gain.imag()));
            responses[o].push_back(response);
        }
    }
    return responses;
}

// Channels by outputs.
Responses Combine(const Responses& decoded, const Responses& stage) {
    Responses combined(decoded.size());
    for (std::size_t c = 0; c < decoded.size(); ++c)
        for (const std::vector<TimedResponse>& output : stage) {
            TimedResponse sum;
            for (std::size_t k = 0; k < output.size(); ++k)
                sum.Add(Convolve(decoded[c][k], output[k]), 1);
            combined[c].push_back(sum);
        }
    return combined;
}

orb3::strans::TimeDomainTransform<double, 1> ToTransform(const Responses& responses, double sampleRate) {
    Index first = 0, end = 1;
    for (const std::vector<TimedResponse>& outputs : responses)
        for (const TimedResponse& response : outputs) {
            if (response.taps.size() == 0) continue;
            first = std::min(first, response.first);
            end = std::max(end, response.End());
        }
    const Index length = static_cast<Index>(std::bit_ceil(static_cast<std::uint32_t>(end - first)));
    orb3::strans::TimeDomainTransform<double, 1> transform;
    transform.sampleRate = sampleRate;
    transform.start = static_cast<std::uint32_t>((length + first) % length);
    transform.width = static_cast<std::uint32_t>(end - first);
    transform.impulses = {static_cast<std::uint32_t>(responses.size()),
                          static_cast<std::uint32_t>(responses[0].size())};
    std::size_t next = 0;
    for (const std::vector<TimedResponse>& outputs : responses)
        for (const TimedResponse& response : outputs) {
            hcml::GenericVector<double, 1>& ring = transform.impulses.data[next++];
            ring.resize(static_cast<std::uint32_t>(length));
            std::fill_n(ring.data, length, 0.0);
            for (Index i = 0; i < response.taps.size(); ++i)
                ring.data[(length + response.first + i) % length] = response.taps[i];
        }
    transform.validate();
    return transform;
}

void CheckRate(double sampleRate) {
    if (!(sampleRate > 0 && std::isfinite(sampleRate)))
        throw slib::BadParameterException("A decoder's sample rate must be above 0.");
}

OutputStage StageOf(const SpeakerLayout& layout, unsigned order) {
    if (order < 1 || order > 4) throw slib::BadParameterException("Decoders are of orders 1 to 4.");
    if (layout.kind == LayoutKind::Headphones || layout.DecodedSpeakers().empty())
        throw slib::BadParameterException("The layout '" + layout.name + "' has no speakers to decode for.");
    return layout.kind == LayoutKind::MatrixStereo ? MatrixStage() : SpeakerStage(layout);
}

SpeakerDecoder MakeDecoder(const OutputStage& stage, unsigned order, SpeakerMethod method,
                           const DecoderMatrices& matrices, double sampleRate) {
    const Responses responses =
        Combine(DecodedResponses(stage, order, matrices, sampleRate), StageResponses(stage, sampleRate));
    return {method, order, PriorityOf(method), ToTransform(responses, sampleRate)};
}

}  // namespace

MethodText DescribeMethod(SpeakerMethod method) {
    switch (method) {
        case SpeakerMethod::Basic:
            return {"basic", "Basic",
                    "Reproduces pressure and velocity of the sound field at the centre (mode matching). "
                    "Exact for "
                    "low frequencies and a listener in the middle; elsewhere sources blur."};
        case SpeakerMethod::Energy:
            return {"energy", "Energy",
                    "Concentrates the energy of a source in its direction (max-rE), evenly all around. "
                    "Steady for "
                    "several listeners and high frequencies. No delay."};
        case SpeakerMethod::DualBand:
            return {"dualband", "Dual Band",
                    "Basic below and Energy above a crossover that follows the order, in phase at all "
                    "frequencies. The most natural sound for one listener in the middle."};
        case SpeakerMethod::AllRound:
            return {
                "allround", "All-Round",
                "Pans a dense sphere of virtual sources over the real speakers, with imaginary ones in the "
                "gaps. Forgiving of speakers that stand where they may."};
    }
    slib::ThrowUnreachable();
}

std::vector<SpeakerMethod> MethodsFor(const SpeakerLayout& layout) {
    if (layout.kind == LayoutKind::Headphones) return {};
    std::vector<SpeakerMethod> methods{SpeakerMethod::DualBand, SpeakerMethod::Energy, SpeakerMethod::Basic};
    const bool hasPlane = layout.kind == LayoutKind::MatrixStereo || layout.DecodedSpeakers().size() >= 3;
    if (hasPlane) methods.insert(methods.end() - 1, SpeakerMethod::AllRound);
    // Their crossovers make responses of 40 ms, which hardly anybody wants for the others.
    if (!layout.BassSpeakers().empty()) methods.resize(1);
    return methods;
}

int PriorityOf(SpeakerMethod method) {
    switch (method) {
        case SpeakerMethod::DualBand:
            return 3;
        case SpeakerMethod::Energy:
            return 2;
        case SpeakerMethod::AllRound:
        case SpeakerMethod::Basic:
            return 1;
    }
    slib::ThrowUnreachable();
}

SpeakerDecoder DesignSpeakerDecoder(const SpeakerLayout& layout, unsigned order, SpeakerMethod method,
                                    double sampleRate) {
    CheckRate(sampleRate);
    const OutputStage stage = StageOf(layout, order);
    return MakeDecoder(stage, order, method, DesignDecoderMatrices(stage.speakers, order, {method}).front(),
                       sampleRate);
}

std::vector<SpeakerDecoder> DesignSpeakerDecoders(const SpeakerLayout& layout, unsigned order,
                                                  const std::vector<SpeakerMethod>& methods,
                                                  const std::vector<int>& rates) {
    for (const int rate : rates)
        CheckRate(rate);
    const OutputStage stage = StageOf(layout, order);
    const std::vector<DecoderMatrices> matrices = DesignDecoderMatrices(stage.speakers, order, methods);
    std::vector<SpeakerDecoder> decoders;
    decoders.reserve(methods.size() * rates.size());
    for (std::size_t m = 0; m < methods.size(); ++m)
        for (const int rate : rates)
            decoders.push_back(MakeDecoder(stage, order, methods[m], matrices[m], rate));
    return decoders;
}

}  // namespace design
