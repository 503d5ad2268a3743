#pragma once

// The thread that owns the audio path of a context. It builds a run (library, output, decoder, renderer),
// renders block after block until it has to stop or the configuration changes; then it restarts with a new
// run:
//
//     Constructed ──Start──> Setting up ──> Rendering ──stop──> Ended
//                               ▲               │  │
//                               ├──Restarting <─┘  │
//                               └──Passing time <──┘ exception
//
// The game doesn't wait for long: a first set-up that takes more than a tenth of a second, as that of an
// output that doesn't answer, goes on while time passes without a sound, and a first start measures the
// machine beside a run on the usual settings.
//
// The output is the only clock: the hand-over of a block waits until there is room for it. A failure before
// the first block ends the thread. After it a block that fails is left out, and when one after the other
// does, or what is built anew doesn't work, time passes without a sound, sources move on by the clock, and
// the run is built anew after pauses that grow, on the last configuration that worked. A run that the machine
// doesn't keep up with is no real-time thread for that time, and after three seconds it is built anew with
// less to do.

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "goal/dsp/samplerateconverter.h"
#include "goal/engine.h"
#include "goal/relief.h"
#include "orb3core/settings/configuration.h"
#include "platform/urgentthread.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/thread.h"

namespace goal {

struct Context;
class EffectBuilder;

/// Start and End are for the thread that makes and destroys the context; all else happens on the server's
/// own.
class ServerThread : public slib::Thread {
public:
    /// Nothing runs yet. `engine` outlives this object.
    explicit ServerThread(Engine& engine);
    /// End must have been called.
    ~ServerThread() override;

    /// Starts rendering `context`, which holds this object, and returns when its first block is about to be
    /// rendered. `frequency` is the rate in Hz that the game asked for, -1 when it named none. Called once,
    /// with contextLifetimeMutex and apiMutex held. Throws slib::BadStateException "Failed to start: " and
    /// the reason; the thread has ended then.
    void Start(Context& context, double frequency);

    /// Stops the thread and waits for it; a second time does nothing. The caller doesn't hold apiMutex,
    /// unless Start failed.
    void End();

private:
    struct Machine;
    class Equipped;
    class Preparation;
    class Measurement;

    void Run() override;
    void Fail(const char* reason) noexcept;
    void ReportFailure(const char* reason) noexcept;
    void RunUntilStopped();
    void RunOnce();
    void Perform(Machine& run);
    void PassTime();
    template <typename IsOver>
    void PassTimeUntil(const IsOver& isOver);
    void PrepareFirst(Machine& run);
    void Prepare(Machine& run);
    bool IsRepair() const;
    void OpenLibrary(Machine& run);
    void SetUp(Machine& run);
    void BuildDecoder(Machine& run);
    void ChooseConverter(orb3::SampleRateConversion conversion, std::shared_ptr<const EffectBuilder> effects,
                         std::uint32_t fadeBlocks);
    void BuildEffects();
    void BuildRenderer(Machine& run);
    void PublishTiming(double rate, std::uint32_t frames);
    void PublishExpectedTiming();
    void SignalStart();
    void RenderBlocks(Machine& run);
    bool NoteOutput(const Machine& run);
    void RenderBlock(Machine& run);
    void LeaveBlockOut(Machine& run, const std::exception& failure);
    void NoteBlock(Machine& run);
    void NoteLoad(Machine& run);
    void SetUrgent(const Machine& run, bool urgent);
    void TakeSnapshot();
    void NoteSuspension();
    void WriteBlock(Machine& run);
    bool IsLeaving();
    void TakePendingConfiguration();
    slib::Log* LogInForce();
    void ChooseLog();
    void ReportRights();
    void ReportRun();
    bool IsSuspendSupported();

    Engine& engine;
    slib::Log* const mainLog;
    slib::Log* activeLog;  // mainLog when logging is verbose, else errorLog; the server's own while it runs
    slib::ErrorLog errorLog;
    Context* context = nullptr;
    slib::Semaphore startSignal;
    bool startSignalled = false;
    bool hasStartFailed = false;  // written before startSignal is posted,
    std::string startFailure;     // as is the reason, where there is memory for it
    std::unique_ptr<SampleRateConverter> sampleRateConverter;  // of the sinc qualities; outlives restarts
    double requestedFrequency = -1;
    double sampleRate = 0;          // Hz
    std::uint32_t blockFrames = 0;  // frames of a block

    std::unique_ptr<Measurement> measurement;  // of the machine, at a first start

    std::uint32_t generation = 0;  // of the configuration that it runs on

    std::string lastFailure;                        // of those after the first block, as logged
    std::uint32_t failedRuns = 0;                   // in a row
    std::optional<orb3::Configuration> lastWorked;  // what a run rendered on
    Relief relief;                                  // since the last change of the settings
    std::optional<platform::UrgentThread> urgency;  // while it runs
    bool isOverloadLogged = false;
    std::uint32_t suspendedBlocks = 0;  // in a row
    bool isSuspensionLogged = false;
};

}  // namespace goal
