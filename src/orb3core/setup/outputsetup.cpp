#include "orb3core/setup/outputsetup.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "numeric/ambisonicorder.h"
#include "orb3core/acoustics/busbasis.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "orb3core/setup/layoutvalidation.h"
#include "pipe/pipeexception.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace orb3 {
namespace {

// Of the output gain, and once more of each channel's.
constexpr double headroom = 0.45;

constexpr double speedOfSound = 346.4;  // metres a second, as the acoustic models have it
constexpr double longestDelay = 0.5;    // seconds

// Where the channels of a layout go.
struct Wiring {
    std::vector<bool> deviceChannels;         // in use, one flag for each playback channel
    std::vector<std::uint32_t> pipeChannels;  // one for each channel of the layout, each another
};

bool ChooseLayout(slib::Log* activeLog, slib::Log* fullLog, Configuration& configuration,
                  const Frameworks& frameworks, const fl::FormatLibrarian& librarian) {
    bool isChanged = false;
    try {
        isChanged = SelectLayout(frameworks, librarian, configuration, fullLog, false);
        ValidateConfiguration(librarian, configuration, frameworks);
        return isChanged;
    } catch (const std::exception& failure) {
        activeLog->Write(
            std::string("Failed to initialise; attempting to recover using DirectSound. The issue was: ") +
                failure.what(),
            false);
    }
    const bool isRecovered = SelectLayout(frameworks, librarian, configuration, fullLog, true);
    ValidateConfiguration(librarian, configuration, frameworks);
    return isChanged || isRecovered;
}

// The layout was validated, but devices come and go.
audiopipe::DevicePtr FindDeviceOf(const spk::Layout& layout, const Frameworks& frameworks) {
    const audiopipe::FrameworkPtr framework = FindFramework(frameworks, layout.pipeFramework);
    audiopipe::DevicePtr device =
        framework ? FindDevice(*framework, layout.pipeDevice) : audiopipe::DevicePtr();
    if (!device) throw slib::BadDataException("Unknown audio device '" + layout.pipeDevice + "'.");
    return device;
}

Wiring WireUp(const spk::Layout& layout, audiopipe::Device& device) {
    const std::vector<std::string> names = PlaybackChannelNames(device);
    Wiring wiring{std::vector<bool>(names.size()), {}};
    std::vector<std::uint32_t> deviceOf;
    for (const spk::Channel& channel : layout.channels) {
        const auto match = FindChannel(names, channel.pipePlaybackChannel);
        const std::string output = "Output '" + channel.pipePlaybackChannel + "'";
        if (!match) throw slib::BadDataException(output + " was not available.");
        if (wiring.deviceChannels[*match]) throw slib::BadDataException(output + " is used more than once.");
        wiring.deviceChannels[*match] = true;
        deviceOf.push_back(*match);
    }
    const auto first = wiring.deviceChannels.begin();
    for (const std::uint32_t channel : deviceOf)
        wiring.pipeChannels.push_back(static_cast<std::uint32_t>(std::count(first, first + channel, true)));
    return wiring;
}

// Channel `i` of the layout. What passes the range of float would reach the speakers as an infinity.
float ChannelGain(const spk::Layout& layout, std::size_t i, double gain) {
    const double product = layout.gain * headroom * gain * layout.channels[i].gain;
    if (std::abs(product) <= std::numeric_limits<float>::max()) return static_cast<float>(product);
    throw slib::BadDataException("The gain of output '" + layout.channels[i].pipePlaybackChannel +
                                 "' is out of range.");
}

bool IsBass(const spk::Speaker& speaker) {
    return speaker.role == spk::Role::BassManaged || speaker.role == spk::Role::BassLFE;
}

bool IsDialogueOnly(const spk::Speaker& speaker) {
    return speaker.role == spk::Role::FrontCentreDialogue;
}

double Distance(const Location& location) {
    return std::hypot(location.x, location.y, location.z);
}

// The level of a signal that passes the decoder by, to that of one from the sound field: the more speakers
// share the field, the louder it gets.
double DedicatedLevel(const spk::SpeakerSet& set) {
    const auto isOfField = [](const spk::Speaker& s) { return !IsBass(s) && !IsDialogueOnly(s); };
    const auto count = std::count_if(set.speakers.begin(), set.speakers.end(), isOfField);
    return 12.566371f * std::pow(static_cast<double>(count), 0.25) * std::sqrt(0.25 / std::numbers::pi);
}

void Scale(std::vector<DedicatedOutput>& outputs, double factor) {
    for (DedicatedOutput& output : outputs)
        output.gain = static_cast<float>(output.gain * factor);
}

// Low frequencies add up in amplitude, dialogue in power.
void FindDedicatedOutputs(const spk::Layout& layout, const Wiring& wiring, double gain,
                          OutputSetUp& results) {
    for (std::size_t i = 0; i < layout.channels.size(); ++i) {
        const spk::Speaker& speaker = layout.speakers[i];
        const bool isCentre = speaker.role == spk::Role::FrontCentre || IsDialogueOnly(speaker);
        if (!isCentre && !IsBass(speaker)) continue;
        const double distance = layout.discardDistance ? 1 : Distance(speaker.location);
        const float dedicatedGain = ChannelGain(layout, i, gain * DedicatedLevel(layout) * distance);
        (isCentre ? results.centreOutputs : results.bassOutputs)
            .push_back({wiring.pipeChannels[i], dedicatedGain});
    }
    if (!results.bassOutputs.empty())
        Scale(results.bassOutputs, 1 / static_cast<double>(results.bassOutputs.size()));
    if (!results.centreOutputs.empty())
        Scale(results.centreOutputs, 1 / std::sqrt(static_cast<double>(results.centreOutputs.size())));
}

// The decoded signals of a speaker are held back by the way that the furthest one's take longer. The library
// knows how far that is, where the room was measured; the set-up's own places are shares of it.
std::vector<std::uint32_t> FindDelays(const fl::FormatLibrarian& librarian, const spk::Layout& layout,
                                      const Wiring& wiring, double sampleRate) {
    std::vector<std::uint32_t> delays(layout.channels.size(), 0);
    fl::Format format;
    librarian.getFormat(librarian.findFormat(MakeFormatTag(layout.format)), format);
    if (!format.speakers || !(format.speakers->distance > 0)) return delays;
    const std::vector<spk::Speaker>& speakers = format.speakers->speakers;
    double furthest = 0;
    for (const spk::Speaker& speaker : speakers)
        if (!IsBass(speaker) && !IsDialogueOnly(speaker))
            furthest = std::max(furthest, Distance(speaker.location));
    for (std::size_t i = 0; i < std::min(delays.size(), speakers.size()) && furthest > 0; ++i) {
        const double share = 1 - Distance(speakers[i].location) / furthest;
        const double seconds = std::max(0.0, share) * format.speakers->distance / speedOfSound;
        delays[wiring.pipeChannels[i]] =
            static_cast<std::uint32_t>(std::lround(std::min(seconds, longestDelay) * sampleRate));
    }
    return delays;
}

std::string MethodName(const fl::FormatLibrarian& librarian, const std::string& tag) {
    if (!librarian.hasMethod(tag)) return tag;
    fl::Method method;
    librarian.getMethod(librarian.findMethod(tag), method);
    return method.name;
}

int LibraryRate(double sampleRate) {
    if (sampleRate >= 0.5 && sampleRate < std::numeric_limits<int>::max())
        return static_cast<int>(sampleRate + 0.5);
    throw slib::BadParameterException("There are no decoders at " + slib::FormatNumber(sampleRate) + "Hz.");
}

strans::TimeDomainTransform<float, 1> FetchTransform(const fl::FormatLibrarian& librarian,
                                                     std::uint32_t conversion, int rate, slib::Log* log) {
    fl::TransformStatus status;
    librarian.getTransformStatus(conversion, rate, status);
    status.validate();
    if (status.possible && status.needsGeneration) log->Write("Preparing decoder for first use.", false);
    strans::TimeDomainTransform<float, 1> transform;
    librarian.getTransform(conversion, rate, transform);
    transform.validate();
    return transform;
}

// Brings the columns from the layout's order to the pipe's, and applies the channels' gains to them.
void ApplyWiring(const spk::Layout& layout, const Wiring& wiring, double gain,
                 strans::TimeDomainTransform<float, 1>& transform) {
    auto& stored = transform.impulses;
    if (stored.columns != layout.channels.size())
        throw slib::BadDataException("The decoder for format '" + layout.format + "' has " +
                                     std::to_string(stored.columns) + " outputs, but the layout has " +
                                     std::to_string(layout.channels.size()) + " channels.");
    hcml::GenericMatrix<hcml::GenericVector<float, 1>, 0> wired(stored.rows, stored.columns);
    for (std::uint32_t i = 0; i < stored.columns; ++i) {
        const float scale = ChannelGain(layout, i, gain);
        for (std::uint32_t row = 0; row < stored.rows; ++row) {
            hcml::GenericVector<float, 1>& impulse = stored(row, i);
            std::for_each(impulse.begin(), impulse.end(), [scale](float& sample) { sample *= scale; });
            wired(row, wiring.pipeChannels[i]) = std::move(impulse);
        }
    }
    stored = std::move(wired);
}

// The rate that is wanted and the usual ones, of these what the device has, nearest first; never none.
std::vector<std::uint32_t> RatesToTry(audiopipe::Device& device, std::uint32_t wanted) {
    std::vector<std::uint32_t> rates{wanted, 8000,  11025, 16000, 22050,  24000, 32000,
                                     44100,  48000, 88200, 96000, 176400, 192000};
    std::erase_if(rates, [&](std::uint32_t rate) { return !device.IsSampleRateSupported(rate); });
    if (rates.empty()) rates.push_back(wanted);
    const auto distance = [wanted](std::uint32_t rate) {
        return std::max(rate, wanted) - std::min(rate, wanted);
    };
    std::stable_sort(rates.begin(), rates.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return distance(a) < distance(b); });
    return rates;
}

audiopipe::PipePtr OpenAt(audiopipe::Device& device, const Wiring& wiring, const OutputRequest& request,
                          std::uint32_t rate, slib::Log* log) {
    const std::vector<bool> recording(device.GetRecordingChannelCount());
    return audiopipe::PipePtr(
        device
            .OpenPipe(log, rate, request.bufferLength, request.bufferCount, wiring.deviceChannels, recording)
            .release());
}

// At the nearest rate that the device takes.
audiopipe::PipePtr OpenOutput(audiopipe::Device& device, const Wiring& wiring, const OutputRequest& request,
                              slib::Log* log) {
    const std::vector<std::uint32_t> rates = RatesToTry(device, request.sampleRate);
    for (const std::uint32_t rate : rates) {
        try {
            audiopipe::PipePtr pipe = OpenAt(device, wiring, request, rate, log);
            if (rate != request.sampleRate)
                log->Write("The output doesn't run at " + std::to_string(request.sampleRate) + "Hz. Using " +
                               std::to_string(rate) + "Hz.",
                           false);
            return pipe;
        } catch (const audiopipe::PipeException& refusal) {
            if (!refusal.isOfFormat || rate == rates.back()) throw;
        }
    }
    slib::ThrowUnreachable();
}

}  // namespace

OutputRequest RequestFor(const GoalConfig& settings, double gameRate) {
    const bool isGames = !settings.ignoreGameSampleRate && gameRate > 0;
    const double rate = isGames ? gameRate : static_cast<double>(settings.defaultSampleRate);
    if (!(rate > 0))
        throw slib::BadDataException("Bad sample rate in configuration: " + slib::FormatNumber(rate));
    return {.order = static_cast<std::uint32_t>(settings.order),
            .sampleRate = static_cast<std::uint32_t>(rate + 0.5),
            .bufferLength = static_cast<std::uint32_t>(settings.suggestedBufferLength),
            .bufferCount = static_cast<std::uint32_t>(settings.suggestedBufferCount),
            .gain = settings.gain * headroom};
}

OutputSetUp SetUp(slib::Log* activeLog, slib::Log* fullLog, Configuration& configuration,
                  Frameworks frameworks, const fl::FormatLibrarian& librarian, const OutputRequest& request) {
    OutputSetUp result;
    result.isConfigurationChanged = ChooseLayout(activeLog, fullLog, configuration, frameworks, librarian);
    const Configuration::LayoutPtr layout = FindSelectedLayout(configuration);
    const audiopipe::DevicePtr device = FindDeviceOf(*layout, frameworks);
    const std::uint32_t conversion = FindConversion(librarian, layout->format, layout->method, request.order);

    librarian.getConversion(conversion, result.conversion);
    result.formatName = layout->format;
    result.methodName = MethodName(librarian, layout->method);
    const Wiring wiring = WireUp(*layout, *device);
    FindDedicatedOutputs(*layout, wiring, request.gain, result);
    // The output first, so that nothing is generated for a rate that it refuses.
    result.pipe = OpenOutput(*device, wiring, request, activeLog);
    result.transform =
        FetchTransform(librarian, conversion, LibraryRate(result.pipe->GetSampleRate()), activeLog);
    ApplyWiring(*layout, wiring, request.gain, result.transform);
    result.feedDelays = FindDelays(librarian, *layout, wiring, result.pipe->GetSampleRate());
    result.frameworks = std::move(frameworks);
    return result;
}

int ResolveOrder(std::uint32_t inputs, int order) {
    const int greatest = static_cast<int>(std::sqrt(static_cast<double>(inputs)) + 0.5 - 1);
    if (greatest < 1) throw slib::BadDataException("Invalid transform (less that first order).");
    const int resolved = std::min(order, greatest);
    if (hcml::ChannelsOfOrder(static_cast<unsigned>(resolved)) > inputs)
        throw slib::BadDataException(
            "Unable to resolve the decoding order because the configured transform had an input channel "
            "count of " +
            std::to_string(inputs) + ".");
    return resolved;
}

int FitToBus(strans::TimeDomainTransform<float, 1>& transform, int order) {
    const int resolved = ResolveOrder(transform.impulses.rows, order);
    const std::uint32_t channels = hcml::ChannelsOfOrder(static_cast<unsigned>(resolved));
    transform.impulses.resizePreserving(channels, transform.impulses.columns, {});
    convertTransformToBusBasis(transform);
    return resolved;
}

}  // namespace orb3
