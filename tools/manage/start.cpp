#include "tools/manage/start.h"

#include <algorithm>

#include "orb3core/decoder/transformedpipe.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "tools/manage/drydevice.h"
#include "tools/support/progress.h"

namespace tool {

void KeptLog::Write(const std::string& text, bool isError) {
    const slib::Lock lock(mutex);
    lines.push_back({text, isError});
}

std::vector<KeptLog::Line> KeptLog::Lines() const {
    const slib::Lock lock(mutex);
    return lines;
}

std::uint32_t Outcome::AheadFrames() const {
    const std::uint32_t lead = output.pipe->GetLatency() + 2 * output.pipe->GetBufferLength();
    return lead - std::min(lead, blockFrames);
}

Outcome TryStart(const FormatLibrary& library, const orb3::Frameworks& frameworks, int gameRate,
                 KeptLog& log) {
    const Progress progress("Trying a start");
    Outcome outcome;
    orb3::SharedConfiguration shared(&log);
    outcome.before = shared.Read([](const orb3::Configuration& configuration) { return configuration; });
    outcome.mayStore = shared.MayStore();
    outcome.after = outcome.before;
    const orb3::GoalConfig& settings = outcome.after.goalConfig;
    outcome.request = orb3::RequestFor(settings, gameRate);
    outcome.output = orb3::SetUp(&log, &log, outcome.after, WithDryDevices(frameworks), library.Librarian(),
                                 outcome.request);
    outcome.order = orb3::FitToBus(outcome.output.transform, settings.order);
    const auto decoder = orb3::createTransformedPipe(
        outcome.output.transform, &log, outcome.output.pipe,
        settings.useParallelDecoder ? orb3::DecoderMode::Parallel : orb3::DecoderMode::Serial,
        orb3::Limiting::Refined);
    outcome.blockFrames = decoder->blockFrames;
    outcome.decoderFrames = decoder->LatencyFrames();
    return outcome;
}

void CheckRate(const Outcome& outcome, const orb3::Frameworks& frameworks) {
    const Output device = FindOutput(frameworks, orb3::FindSelectedLayout(outcome.after)->pipeDevice);
    if (!device.device->IsSampleRateSupported(outcome.request.sampleRate))
        throw slib::BadStateException("The sample rate must be one that the device runs at, not " +
                                      std::to_string(outcome.request.sampleRate) +
                                      " Hz. Choose another: tessarune-config set DefaultSampleRate 48000.");
}

}  // namespace tool
