#pragma once

// The thread that owns the audio path of a context. It builds a run (library, output, decoder, renderer),
// renders block after block until it has to stop or the configuration changes; then it restarts with a new
// run:
//
//     Constructed ──Start──> Setting up ──> Rendering ──stop──> Ended
//                               ▲               │  │               ▲
//                               └──Restarting <─┘  └──exception────┘
//
// The output is the only clock: the hand-over of a block waits until there is room for it.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "goal/dsp/samplerateconverter.h"
#include "goal/engine.h"
#include "orb3core/settings/goalconfig.h"
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
    ~ServerThread() override = default;

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

    void Run() override;
    void Fail(const char* reason);
    void RunUntilStopped();
    void Perform(Machine& run);
    void SetUp(Machine& run);
    void BuildDecoder(Machine& run);
    void ChooseConverter(orb3::SampleRateConversion conversion, std::shared_ptr<const EffectBuilder> effects);
    void BuildRenderer(Machine& run);
    void PublishTiming();
    void SignalStart();
    void RenderBlocks(Machine& run);
    void TakeSnapshot();
    void WriteBlock(Machine& run);
    bool IsLeaving();
    void TakePendingConfiguration();
    slib::Log* LogInForce();
    void ChooseLog();
    void ReportRun();
    bool IsSuspendSupported();

    Engine& engine;
    slib::Log* const mainLog;
    slib::Log* activeLog;  // mainLog when logging is verbose, else errorLog; the server's own while it runs
    slib::ErrorLog errorLog;
    Context* context = nullptr;
    slib::Semaphore startSignal;
    bool startSignalled = false;
    std::string startFailure;                                  // written before startSignal is posted
    std::unique_ptr<SampleRateConverter> sampleRateConverter;  // of the sinc qualities; outlives restarts
    double requestedFrequency = -1;
    double sampleRate = 0;          // Hz
    std::uint32_t blockFrames = 0;  // frames of a block
};

}  // namespace goal
