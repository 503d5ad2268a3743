#include "goal/serverthread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>
#include <utility>

#include "goal/context.h"
#include "goal/headfollower.h"
#include "goal/loadmeter.h"
#include "goal/machinery.h"
#include "goal/render/headturn.h"
#include "goal/render/silentrenderer.h"
#include "goal/render/sourcereader.h"
#include "goal/state/comingeffect.h"
#include "goal/statuspage.h"
#include "goal/statusreport.h"
#include "goal/version.h"
#include "numeric/ambisonicorder.h"
#include "orb3core/decoder/transformedpipe.h"
#include "orb3core/store/configstore.h"
#include "pipe/pipeexception.h"
#include "platform/clock.h"
#include "slib/exception.h"
#include "slib/priority.h"
#include "slib/standardformats.h"
#include "slib/text.h"

namespace goal {
namespace {

// A failure thrown again with where it happened.
template <typename Work>
auto Explained(const char* explanation, const Work& work) {
    try {
        return work();
    } catch (const std::exception& exception) {
        throw slib::BadDataException(explanation + std::string(exception.what()));
    }
}

// Runs what may lack the memory for a line of the log, which is no reason not to go on.
template <typename Work>
void UnlessMemoryLacks(const Work& work) noexcept {
    try {
        work();
    } catch (const std::exception&) {
    }
}

std::string Plural(std::uint32_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

// What one run owns, in the order of construction; all of it is destroyed when the run ends, last first.
struct ServerThread::Machine {
    orb3::Configuration configuration;
    double sampleRate = 0;  // Hz
    std::uint32_t blockFrames = 0;
    std::atomic<bool> isPromising{false};  // what refuses a start has been looked at, but for the output
    orb3::Configuration asked;             // as it was set up, for the next one should that not work
    FormatLibrary library;
    OutputSetUp outputSetUp;
    int order = 0;
    std::unique_ptr<orb3::TransformedPipeUPT> decoder;
    std::unique_ptr<BlockRenderer> renderer;
    RenderOutput output;
    std::vector<orb3::DirectFeed> feeds;
    std::shared_ptr<const TrackerInput> tracker;  // null where no head is followed
    HeadFollower follower;
    std::optional<HeadTurn> turn;
    std::uint32_t blocks = 0;        // rendered
    std::uint32_t failedBlocks = 0;  // in a row
    bool isWritten = false;          // the current block
    std::optional<LoadMeter> load;   // where the output tells how long it is waited for
    double waited = -1;              // s, of the output so far
    double lastWait = 0;             // s, when that last grew
    std::uint32_t overloads = 0;     // of its windows, in a row
    bool isTooMuch = false;          // to be built anew with less
    std::optional<StatusReport> report;
};

// As long as it lives, what the game's records hold for the renderer is made for this run.
class ServerThread::Equipped {
public:
    Equipped(ServerThread& server, const Machine& run) : context(*server.context) {
        server.ChooseConverter(run.configuration.goalConfig.sampleRateConversion,
                               server.relief.isWithoutEffects ? nullptr : run.renderer->Effects(),
                               run.renderer->FadeBlocks());
    }
    // From here on calls build nothing for the renderer, which goes.
    ~Equipped() {
        const slib::Lock lock(context.stateMutex);
        context.application.effectBuilder.reset();
    }
    Equipped(const Equipped&) = delete;
    Equipped& operator=(const Equipped&) = delete;

private:
    Context& context;
};

// As long as it lives, the blocks of this run may be recorded.
class ServerThread::Recorded {
public:
    Recorded(Context& context, const Machine& run) : recordings(context.recordings) {
        recordings.BeginRun({static_cast<std::uint32_t>(run.sampleRate + 0.5), run.blockFrames,
                             static_cast<unsigned>(run.order), run.outputSetUp.transform.impulses.columns});
    }
    ~Recorded() { recordings.EndRun(); }
    Recorded(const Recorded&) = delete;
    Recorded& operator=(const Recorded&) = delete;

private:
    RecordingDesk& recordings;
};

// The set-up of the first run, which may have to wait for a sound server.
class ServerThread::Preparation : public slib::Thread {
public:
    Preparation(ServerThread& server, Machine& run)
        : Thread("Setup", Priority::Normal), server(server), machine(run) {
        Start();
    }
    ~Preparation() override { Stop(); }

    bool IsOver() const { return isOver.load(std::memory_order_acquire); }
    // Waits for the end, which it tells the outcome of.
    void Finish() {
        Stop();
        if (failure) std::rethrow_exception(failure);
    }

    slib::Semaphore over;  // posted at the end

private:
    void Run() override {
        try {
            server.Prepare(machine);
        } catch (...) {
            failure = std::current_exception();
        }
        isOver.store(true, std::memory_order_release);
        over.Post();
    }

    ServerThread& server;
    Machine& machine;
    std::exception_ptr failure;
    std::atomic<bool> isOver{false};
};

// Chooses the settings of a first start beside the run that has begun on what most machines carry.
class ServerThread::Measurement : public slib::Thread {
public:
    explicit Measurement(orb3::SharedConfiguration& configuration)
        : Thread("Measurement", Priority::Normal), configuration(configuration) {
        Start();
    }
    ~Measurement() override { Stop(); }

private:
    void Run() override {
        try {
            configuration.CompleteChoice();
        } catch (const std::exception&) {  // no memory, no thread: the next start chooses
        }
    }

    orb3::SharedConfiguration& configuration;
};

ServerThread::~ServerThread() = default;

ServerThread::ServerThread(Engine& engine)
    : Thread("Renderer", Priority::Normal),
      engine(engine),
      mainLog(engine.log),
      activeLog(&errorLog),
      errorLog(engine.log) {
    ChooseLog();
}

slib::Log* ServerThread::LogInForce() {
    const bool isVerbose =
        engine.configuration.Peek([](const orb3::Configuration& c) { return c.goalConfig.isLoggingVerbose; });
    return isVerbose ? mainLog : static_cast<slib::Log*>(&errorLog);
}

void ServerThread::ChooseLog() {
    activeLog = LogInForce();
    if (activeLog == mainLog) mainLog->Write("Verbose logging is enabled.", false);
}

bool ServerThread::IsSuspendSupported() {
    return engine.configuration.Peek(
        [](const orb3::Configuration& c) { return c.goalConfig.isSuspendSupported; });
}

void ServerThread::Start(Context& owner, double frequency) {
    mainLog->Write(std::string("Starting Tessarune 32bit v") + versionText +
                       ". Free software under the MIT licence, without warranty.",
                   false);
    requestedFrequency = frequency;
    {
        const slib::Lock lock(engine.configuration.configurationMutex);
        generation = engine.configuration.generation;
    }
    context = &owner;
    Thread::Start();
    startSignal.Wait();
    if (hasStartFailed)
        throw slib::BadStateException("Failed to start: " +
                                      (startFailure.empty() ? "Out of memory." : startFailure));
    if (engine.status != nullptr) engine.status->NoteContextMade();
    UnlessMemoryLacks([&] { LogInForce()->Write("Rendering started.", false); });
}

void ServerThread::End() {
    if (context == nullptr) return;
    UnlessMemoryLacks([&] { LogInForce()->Write("Stopping Tessarune.", false); });
    Thread::Stop();
    measurement.reset();
    if (engine.status != nullptr && !hasStartFailed) engine.status->NoteContextEnded();
    context = nullptr;
    UnlessMemoryLacks([&] { mainLog->Write("Stopped Tessarune.", false); });
}

// Whatever happens, a thread that waits in Start is released.
void ServerThread::Run() {
    try {
        urgency.emplace(slib::rendererLevel);
        RunUntilStopped();
        ReportRun();
    } catch (const std::exception& exception) {
        Fail(exception.what());
    } catch (...) {
        Fail("An unknown exception.");
    }
    urgency.reset();
    SignalStart();
}

void ServerThread::Fail(const char* reason) noexcept {
    hasStartFailed = !startSignalled;
    if (hasStartFailed && engine.status != nullptr) engine.status->NoteContextFailed(reason);
    UnlessMemoryLacks([&] {
        if (hasStartFailed) startFailure = reason;
        mainLog->Write(std::string("Exception: ") + reason, true);
    });
}

// The same failure again, as of a run that is tried anew, is no news.
void ServerThread::ReportFailure(const char* reason) noexcept {
    UnlessMemoryLacks([&] {
        if (std::exchange(lastFailure, reason) != reason)
            mainLog->Write(std::string("Exception: ") + reason, true);
    });
}

// A real-time thread only while it renders: what is set up takes its time.
void ServerThread::RunUntilStopped() {
    while (!IsStopRequested()) {
        urgency->SetUrgent(false);
        try {
            RunOnce();
            continue;
        } catch (const std::exception& exception) {
            if (!startSignalled) throw;
            ReportFailure(exception.what());
        } catch (...) {
            if (!startSignalled) throw;
            ReportFailure("An unknown exception.");
        }
        ++failedRuns;
        urgency->SetUrgent(false);
        PassTime();
        if (!IsStopRequested()) TakePendingConfiguration();
    }
}

void ServerThread::RunOnce() {
    Machine run;
    Perform(run);
    if (!IsStopRequested()) TakePendingConfiguration();
}

// Until the next try: a pause that grows from a tenth of a second to five.
void ServerThread::PassTime() {
    constexpr std::uint32_t firstPause = 100, longestPause = 5000;  // milliseconds
    const std::uint32_t pause =
        failedRuns > 6 ? longestPause : std::min(firstPause << failedRuns, longestPause);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(pause);
    PassTimeUntil([&] { return std::chrono::steady_clock::now() >= end || IsLeaving(); });
}

// Nothing is heard, but what plays goes on, so that no game waits for ever for the end of a sound.
template <typename IsOver>
void ServerThread::PassTimeUntil(const IsOver& isOver) {
    using Clock = std::chrono::steady_clock;
    if (engine.status != nullptr) engine.status->NoteOutputAway();
    Clock::time_point last = Clock::now();
    std::optional<SilentRenderer> renderer;
    while (!isOver()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const Clock::time_point now = Clock::now();
        try {
            if (!renderer) renderer.emplace();
            TakeSnapshot();
            renderer->Advance(context->snapshot, std::chrono::duration<double>(now - last).count());
            const slib::Lock lock(context->stateMutex);
            MergeProgress(context->snapshot, context->application, engine.retired);
        } catch (const std::exception&) {  // no memory: the next step has another chance
        }
        last = now;
    }
}

// One run, from the set-up to the last block.
void ServerThread::Perform(Machine& run) {
    if (startSignalled)
        Prepare(run);
    else
        PrepareFirst(run);
    const Equipped equipped(*this, run);
    BuildEffects();
    if (IsLeaving()) return;
    PublishTiming(run.sampleRate, run.blockFrames);
    if (engine.status != nullptr)
        run.report.emplace(*engine.status, run.outputSetUp, *run.decoder,
                           static_cast<std::uint32_t>(run.order));
    SignalStart();
    if (!measurement && engine.configuration.IsChoiceOpen())
        measurement = std::make_unique<Measurement>(engine.configuration);
    {
        const Recorded recorded(*context, run);
        RenderBlocks(run);
        ReportRights();
        SetUrgent(run, false);  // before files are completed
    }
    if (run.configuration.goalConfig.measureOutputPeak) run.decoder->reportPeak(mainLog);
}

// The game goes on before a server that keeps it waiting has answered: its sound joins in. What refuses a
// start does so quickly, or later on as a failed run.
void ServerThread::PrepareFirst(Machine& run) {
    constexpr std::uint32_t step = 10, usual = 70, ofOutput = 40;  // ms
    Preparation preparation(*this, run);
    std::uint32_t passed = 0, promising = 0;
    while (!preparation.IsOver() && (passed < usual || promising < ofOutput || context->gate.IsClosed())) {
        static_cast<void>(preparation.over.WaitFor(step));
        passed += step;
        if (run.isPromising) promising += step;
    }
    if (!preparation.IsOver()) {
        PublishExpectedTiming();
        SignalStart();
        PassTimeUntil([&] { return preparation.IsOver(); });
    }
    preparation.Finish();
}

void ServerThread::Prepare(Machine& run) {
    OpenLibrary(run);
    SetUp(run);
    BuildDecoder(run);
    BuildRenderer(run);
}

// On what worked before, after a run that failed.
bool ServerThread::IsRepair() const {
    return failedRuns > 0 && lastWorked;
}

void ServerThread::OpenLibrary(Machine& run) {
    run.configuration = IsRepair() ? *lastWorked : engine.configuration.ReadForStart();
    const std::string path = orb3::ReadFormatLibraryPath();
    if (path.empty()) throw slib::BadDataException("No format library is configured.");
    run.library =
        Explained("Unable to locate format library. You probably need to reinstall. The error was: ",
                  [&] { return engine.machinery->OpenFormatLibrary(path, mainLog); });
}

void ServerThread::SetUp(Machine& run) {
    orb3::GoalConfig settings;
    OutputRequest request;
    const auto read = [&] {
        settings = run.configuration.goalConfig;
        request = orb3::RequestFor(relief.Of(settings), requestedFrequency);
    };
    read();
    run.isPromising = true;
    const auto setUp = [&] {
        return engine.machinery->SetUp(request, activeLog, mainLog, run.configuration, run.library);
    };
    run.outputSetUp = Explained("Have you run the configuration program? Failed to set up speakers: ", [&] {
        try {
            return setUp();
        } catch (const slib::OperatingSystemErrnoException&) {
            // A library that another program has changed since it was opened lacks files that it listed.
            OpenLibrary(run);  // and reads the configuration, of which the attempt may have changed some
            read();
            return setUp();
        }
    });
    if (run.outputSetUp.isConfigurationChanged && !IsRepair())
        engine.configuration.StoreConfiguration(run.configuration);
    run.asked = run.configuration;
    run.configuration.goalConfig = relief.Of(settings);
    run.sampleRate = run.outputSetUp.pipe->GetSampleRate();
}

// The order of the bus is that of the decoder, whose inputs become those of the bus.
void ServerThread::BuildDecoder(Machine& run) {
    orb3::strans::TimeDomainTransform<float, 1>& transform = run.outputSetUp.transform;
    run.order = orb3::FitToBus(transform, run.configuration.goalConfig.order);
    run.configuration.goalConfig.order = run.order;
    activeLog->Write("Using decoder of order " + std::to_string(run.order) + " for '" +
                         run.outputSetUp.formatName + "', method '" + run.outputSetUp.methodName + "'.",
                     false);
    const orb3::GoalConfig& settings = run.configuration.goalConfig;
    run.decoder = orb3::createTransformedPipe(
        transform, activeLog, run.outputSetUp.pipe,
        settings.useParallelDecoder ? orb3::DecoderMode::Parallel : orb3::DecoderMode::Serial,
        settings.sound == orb3::Sound::Classic ? orb3::Limiting::Plain : orb3::Limiting::Refined,
        run.outputSetUp.feedDelays);
    run.decoder->SetTap(context->recordings.output);
    run.blockFrames = run.decoder->blockFrames;
    if (run.outputSetUp.pipe->GetWaitedTime() >= 0) run.load.emplace(run.blockFrames / run.sampleRate);
    activeLog->Write("Decoder started (sample rate " + slib::FormatNumber(run.sampleRate * 0.001) + "kHz).",
                     false);
}

// The tables are rebuilt only for another quality.
void ServerThread::ChooseConverter(orb3::SampleRateConversion conversion,
                                   std::shared_ptr<const EffectBuilder> effects, std::uint32_t fadeBlocks) {
    const std::optional<SincQuality> quality = SincQualityOf(conversion);
    std::unique_ptr<SampleRateConverter> other;  // and then the one before, which goes after the lock
    if (quality && (sampleRateConverter == nullptr || sampleRateConverter->quality != *quality))
        other = std::make_unique<SampleRateConverter>(*quality);
    const slib::Lock lock(context->stateMutex);
    if (other != nullptr) std::swap(other, sampleRateConverter);
    BeginRun(context->snapshot, context->application, quality ? &sampleRateConverter->start : nullptr,
             std::move(effects), fadeBlocks);
}

// Those that the game's slots have by now. What it binds meanwhile it builds itself.
void ServerThread::BuildEffects() {
    ApplicationState& application = context->application;
    for (std::uint32_t i = 0;; ++i) {
        ComingEffect coming;
        std::uint32_t serial = 0;
        {
            const slib::Lock lock(context->stateMutex);
            if (i >= application.slots.size) return;
            serial = application.slots[i].serial;
            coming.Note(context->snapshot, application, i, application.slots[i]);
        }
        coming.Build();
        const slib::Lock lock(context->stateMutex);
        if (!IsServed(context->snapshot, application, i, application.slots[i]))
            coming.Send(application, i, serial);
    }
}

void ServerThread::BuildRenderer(Machine& run) {
    int filterOrder = context->filterOrderAttribute;
    if (filterOrder == 0) filterOrder = run.configuration.goalConfig.defaultFilterOrder == 2 ? 2 : 1;
    run.renderer = engine.machinery->CreateRenderer(run.sampleRate, run.configuration, filterOrder,
                                                    run.blockFrames, activeLog);
    run.output.spatial.resize(run.blockFrames, hcml::ChannelsOfOrder(static_cast<unsigned>(run.order)));
    run.output.lowFrequency.resize(run.blockFrames);
    run.output.dialogue.resize(run.blockFrames);
    run.output.hasLowFrequency = !run.outputSetUp.bassOutputs.empty();
    run.output.hasDialogue = !run.outputSetUp.centreOutputs.empty();
    FollowHead(run);
    run.feeds.reserve(run.outputSetUp.bassOutputs.size() + run.outputSetUp.centreOutputs.size());
    const double refreshRate = std::floor(10 * run.sampleRate / run.blockFrames + 0.5) * 0.1;
    activeLog->Write("Renderer started (refresh rate " + slib::FormatNumber(refreshRate) + "Hz, block size " +
                         std::to_string(run.blockFrames) + ")" +
                         (IsSuspendSupported() ? "" : ", suspend/process is disabled") + ".",
                     false);
}

// A layout of the user's own for headphones has another name, and says Always.
void ServerThread::FollowHead(Machine& run) {
    const orb3::GoalConfig& settings = run.configuration.goalConfig;
    const bool isForHead =
        run.outputSetUp.formatName == slib::GetStandardFormatName(slib::StandardFormat::HeadphoneStereo);
    switch (settings.headTracking) {
        case orb3::HeadTracking::Off:
            return;
        case orb3::HeadTracking::Headphones:
            if (!isForHead) return;
            break;
        case orb3::HeadTracking::Always:
            break;
    }
    run.turn.emplace(static_cast<unsigned>(run.order), run.blockFrames);
    run.tracker = engine.trackers.Use(static_cast<std::uint16_t>(settings.headTrackingPort), mainLog);
    activeLog->Write("Listening to a head tracker at port " + std::to_string(settings.headTrackingPort) + ".",
                     false);
}

// The field as the head hears it.
const hcml::ac::Bus& ServerThread::Turned(Machine& run) {
    if (run.tracker == nullptr) return run.output.spatial;
    const TrackedPose pose = run.tracker->Newest();
    const std::int64_t now = platform::NowNanoseconds();
    const hcml::Quaternion head = run.follower.Next(pose, now, run.blockFrames / run.sampleRate);
    if (run.report) run.report->NoteHead(head, pose.IsFresh(now));
    return run.turn->Turn(run.output.spatial, head);
}

bool ServerThread::IsLeaving() {
    if (IsStopRequested()) return true;
    const slib::Lock lock(engine.configuration.configurationMutex);
    return engine.configuration.isRestartRequested || engine.configuration.generation != generation;
}

void ServerThread::PublishTiming(double rate, std::uint32_t frames) {
    sampleRate = rate;
    blockFrames = frames;
    const slib::Lock lock(context->timingMutex);
    context->sampleRate = rate;
    context->refreshRate = static_cast<float>(rate / frames);
    context->blockFrames = frames;
}

// While the output hasn't told.
void ServerThread::PublishExpectedTiming() {
    const OutputRequest expected = engine.configuration.Peek(
        [&](const orb3::Configuration& c) { return orb3::RequestFor(c.goalConfig, requestedFrequency); });
    PublishTiming(expected.sampleRate, std::max(expected.bufferLength, 1U));
}

void ServerThread::SignalStart() {
    if (!std::exchange(startSignalled, true)) startSignal.Post();
}

void ServerThread::RenderBlocks(Machine& run) {
    SetUrgent(run, true);
    while (!IsLeaving() && !run.isTooMuch && !NoteOutput(run)) {
        if (!context->gate.Enter()) continue;
        try {
            RenderBlock(run);
            NoteBlock(run);
            if (!context->gate.IsClosed()) NoteLoad(run);
        } catch (const std::exception& exception) {
            LeaveBlockOut(run, exception);
        }
        context->gate.Leave({run.blockFrames, run.sampleRate});
    }
}

// True when the output is to be opened anew.
bool ServerThread::NoteOutput(const Machine& run) {
    if (!run.outputSetUp.pipe->HasOutputChanged()) return false;
    mainLog->Write("Restarting because the sound output has changed.", false);
    return true;
}

void ServerThread::RenderBlock(Machine& run) {
    run.isWritten = false;
    run.decoder->AwaitRoom();
    if (run.report) run.report->BeginRendering();
    TakeSnapshot();
    run.renderer->renderBlock(context->snapshot, run.output);
    {
        const slib::Lock lock(context->stateMutex);
        MergeProgress(context->snapshot, context->application, engine.retired);
    }
    if (run.report) run.report->EndRendering();
    WriteBlock(run);
    context->foldback.ProcessBlock(run.output);
    if (run.report) run.report->NoteBlock(context->snapshot, !context->gate.IsClosed());
}

// One failure costs a block; many in a row are one of the run.
void ServerThread::LeaveBlockOut(Machine& run, const std::exception& failure) {
    constexpr std::uint32_t mostFailures = 16;
    run.renderer->Abandon(context->snapshot, run.output);
    const bool isOfOutput = dynamic_cast<const audiopipe::PipeException*>(&failure) != nullptr;
    if (isOfOutput || ++run.failedBlocks == mostFailures) throw;
    ReportFailure(failure.what());
    if (!run.isWritten) WriteBlock(run);
}

// A run that has rendered for a while is what to go back to.
void ServerThread::NoteBlock(Machine& run) {
    constexpr std::uint32_t enough = 64;
    run.failedBlocks = 0;
    if (run.blocks == enough) return;
    if (++run.blocks == 1) lastWorked = std::move(run.asked);
    if (run.blocks == enough) failedRuns = 0;
}

// A thread that never waits leaves nothing to those below it, so it doesn't stay above them.
void ServerThread::NoteLoad(Machine& run) {
    constexpr std::uint32_t untilLogged = 2, untilRelieved = 6;  // windows
    constexpr double longestSpin = 0.05;                         // s
    if (!run.load) return;
    const double now = 1e-9 * static_cast<double>(platform::NowNanoseconds());
    const double waited = run.outputSetUp.pipe->GetWaitedTime();
    if (std::exchange(run.waited, waited) != waited)
        run.lastWait = now;
    else if (now - run.lastWait > longestSpin)
        SetUrgent(run, false);
    const std::optional<double> share = run.load->Note(now, waited);
    if (!share) return;
    run.overloads = *share > 1 ? run.overloads + 1 : 0;
    if (*share <= 1) SetUrgent(run, true);
    if (run.overloads == untilLogged && !std::exchange(isOverloadLogged, true))
        mainLog->Write("This machine can't keep up: what plays in a second takes " +
                           slib::FormatNumber(std::ceil(*share * 100) * 0.01) + " seconds to render.",
                       true);
    if (run.overloads < untilRelieved || run.outputSetUp.pipe->IsPatient()) return;
    run.overloads = 0;
    const std::string line = relief.Increase(run.order, run.configuration.goalConfig);
    run.isTooMuch = !line.empty();
    if (run.isTooMuch) mainLog->Write(line, true);
}

void ServerThread::SetUrgent(const Machine& run, bool urgent) {
    run.decoder->SetUrgent(urgent);
    urgency->SetUrgent(urgent);
}

// The game's calls wait for the length of the copy at most. They never see half of the server's step, and the
// server never sees half of a call.
void ServerThread::TakeSnapshot() {
    NoteSuspension();
    slib::Lock apiLock(context->engine.apiMutex);
    suspendedBlocks = context->suspendCount > 0 ? suspendedBlocks + 1 : 0;
    MarkBufferUsage(*context);
    const slib::Lock stateLock(context->stateMutex);
    apiLock.Release();
    CopyToSnapshot(context->snapshot, context->application, engine.retired);
}

// What a game that forgets to end a suspension sounds like is silence, whose reason nobody sees.
void ServerThread::NoteSuspension() {
    constexpr double longest = 2;  // seconds
    if (isSuspensionLogged || suspendedBlocks * static_cast<double>(blockFrames) < longest * sampleRate)
        return;
    isSuspensionLogged = true;
    mainLog->Write(
        "The game has suspended its context for over two seconds, and nothing that it changes is heard. If "
        "it never resumes it, set IsSuspendSupported to False.",
        true);
}

void ServerThread::WriteBlock(Machine& run) {
    run.isWritten = true;
    RecordingDesk& recordings = context->recordings;
    if (run.report) run.report->NoteRecording(recordings.field.IsInUse(), recordings.output.IsInUse());
    recordings.field.Take(run.output.spatial);
    run.feeds.clear();
    if (run.output.lowFrequencyWritten)
        for (const DedicatedOutput& target : run.outputSetUp.bassOutputs)
            run.feeds.push_back({target.channel, run.output.lowFrequency.data, target.gain});
    if (run.output.dialogueWritten)
        for (const DedicatedOutput& target : run.outputSetUp.centreOutputs)
            run.feeds.push_back({target.channel, run.output.dialogue.data, target.gain});
    run.decoder->writeBus(Turned(run), run.feeds);
}

void ServerThread::TakePendingConfiguration() {
    {
        orb3::SharedConfiguration& shared = engine.configuration;
        const slib::Lock lock(shared.configurationMutex);
        if (shared.isRestartRequested) shared.TakePending();
        if (std::exchange(generation, shared.generation) == shared.generation) return;
    }
    failedRuns = 0;
    relief = {};
    lastFailure.clear();
    ChooseLog();
    mainLog->Write("Restarting because of configuration change.", false);
}

// Once a process.
void ServerThread::ReportRights() {
    static std::atomic_flag isReported;
    if (urgency->IsRefused() && activeLog == mainLog && !isReported.test_and_set())
        mainLog->Write(
            "The renderer had no real-time rights, so the sound may falter while other programs are busy. "
            "The "
            "user guide says how to allow them.",
            false);
}

void ServerThread::ReportRun() {
    bool suspendUsed = false;
    {
        const slib::Lock lock(context->stateMutex);
        suspendUsed = context->suspendUsed;
    }
    const char* use = "not used.";
    if (suspendUsed) use = IsSuspendSupported() ? "used." : "used (but is currently disabled).";
    activeLog->Write("Ran with " + Plural(context->snapshot.sourceCount, "source") + " and " +
                         Plural(context->snapshot.slotCount, "effect slot") + ". Suspend/process was " + use,
                     false);
}

}  // namespace goal
