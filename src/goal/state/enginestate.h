#pragma once

// What a game sets, on its way to the renderer and back. A context holds three copies of the engine's
// parameters:
//
//     al* calls ──> application state ──CopyToSnapshot──> snapshot ──> renderer
//                         ▲     ▲                             │
//              EndSuspend │     └───────MergeProgress─────────┘  (positions, and the stop at the end of data)
//                  suspended state <── al* calls between alcSuspendContext and alcProcessContext
//
// The server runs CopyToSnapshot before and MergeProgress after each block; both cost next to nothing for
// what didn't change. The records are plain data: locks and the choice of the record are the callers' (see
// context.h).

#include <array>
#include <cstdint>
#include <limits>
#include <memory>

#include "goal/sound/buffer.h"
#include "goal/state/basis.h"
#include "goal/state/bufferqueue.h"
#include "goal/state/converterstate.h"
#include "goal/state/effectprocessorparameters.h"
#include "goal/state/entrytable.h"
#include "goal/state/filterstate.h"
#include "goal/state/updateline.h"
#include "numeric/genericvector.h"
#include "numeric/indexset.h"
#include "numeric/segmentedvector.h"
#include "slib/chain.h"
#include "slib/realtime.h"
#include "slib/retirelist.h"
#include "slib/smartptr.h"

namespace slib {

/// A T, and whether it changed since it was last copied.
template <typename T>
struct WithDirtyTag : T {
    bool dirty = false;
};

}  // namespace slib

namespace goal {

using EffectParametersPtr = slib::SmartPtr<EffectProcessorParameters, slib::Counter>;
using hcml::IndexSet;

inline constexpr float pi = 3.14159265F;

/// How the level falls with the distance, by the values of AL_DISTANCE_MODEL.
enum class DistanceModel : std::int32_t {
    None = 0,
    Inverse = 0xD001,
    InverseClamped = 0xD002,
    Linear = 0xD003,
    LinearClamped = 0xD004,
    Exponent = 0xD005,
    ExponentClamped = 0xD006,
};

/// The head of all three records, copied as one block.
struct GlobalParameters {
    float dopplerFactor = 1;
    float dopplerVelocity = 1;
    float speedOfSound = 343.3F;  ///< units per second
    DistanceModel distanceModel = DistanceModel::InverseClamped;
    float listenerGain = 1;  ///< linear
    Vector3 listenerPosition{};
    Vector3 listenerVelocity{};
    Vector3 listenerAt{0, 0, -1};
    Vector3 listenerUp{0, 1, 0};
    float metersPerUnit = 1;
};

struct FilterParametersWithDeletedFlag : FilterParameters {
    bool deleted = false;
};

/// All that a game sets about a source and the renderer only reads.
struct SourceBaseParameters {
    /// One auxiliary send: names as the game gave them, and a copy of the filter as it was then.
    struct AuxSend {
        std::uint32_t slotName = 0;
        std::uint32_t filterName = 0;
        FilterParameters filter;
        std::uint32_t slotSerial = 0;  ///< of the slot that had the name then, or was to have it next
    };

    float gain = 1;
    float minGain = 0;
    float maxGain = 1;
    float referenceDistance = 1;
    float maxDistance = std::numeric_limits<float>::max();
    float pitch = 1;
    float rolloffFactor = 1;
    float coneInnerHalfAngle = pi;  ///< radians
    float coneOuterHalfAngle = pi;  ///< radians
    float coneOuterGain = 0;
    Vector3 position{};
    Vector3 velocity{};
    Vector3 direction{};
    bool looping = false;
    bool relative = false;
    std::array<float, 2> stereoAngles{std::numeric_limits<float>::quiet_NaN(),
                                      std::numeric_limits<float>::quiet_NaN()};  ///< radians, left and right
    bool hasStereoAngles = false;                                                ///< both angles are finite
    float radius = 0;
    Vector3 orientationAt{0, 0, -1};
    Vector3 orientationUp{0, 1, 0};
    hcml::GenericVector<AuxSend, 1> sends;
    std::uint32_t directFilterName = 0;
    FilterParameters directFilter;
    float airAbsorptionFactor = 0;
    float roomRolloffFactor = 0;
    float coneOuterGainHF = 1;
    bool directFilterGainHFAuto = true;
    bool auxSendFilterGainAuto = true;
    bool auxSendFilterGainHFAuto = true;
};

/// AL_SOURCE_STATE and AL_SOURCE_TYPE, by their published values.
enum class SourceState : std::int32_t {
    Initial = 0x1011,
    Playing = 0x1012,
    Paused = 0x1013,
    Stopped = 0x1014
};
enum class SourceType : std::int32_t { Static = 0x1028, Streaming = 0x1029, Undetermined = 0x1030 };

/// One source. The flags say what changed since the last copy to the snapshot.
struct Source : SourceBaseParameters {
    bool parametersDirty = true;      ///< something of the base
    std::uint32_t unqueuedCount = 0;  ///< buffers that left the front of the queue
    BufferQueue queue;                ///< front first; not owned
    bool queueDirty = true;           ///< `queue`
    std::uint64_t position = 0;       ///< frame in the current buffer, 48.16 fixed point
    std::uint32_t queueIndex = 0;     ///< the current buffer, and so the count of those played through
    SourceType sourceType = SourceType::Undetermined;
    SourceState state = SourceState::Initial;
    bool stateChanged = true;  ///< the game changed one of the four above: its value counts
    bool deleted = false;
};

/// One auxiliary effect slot. Each record has its own copy of the effect's parameters.
struct AuxSlotParameters {
    EffectParametersPtr effect;  ///< null for no effect
    float gain = 1;              ///< linear
    bool auxiliarySendAuto = true;
    bool deleted = false;
    std::uint32_t serial = 0;  ///< tells the slots apart that had the same name one after another
};

/// An effect object of the game. It reaches a slot when it is bound to it, by copy.
struct EffectParameters {
    EffectParametersPtr parameters;  ///< null for AL_EFFECT_NULL
    bool deleted = false;
};

// ---- What the renderer has ----
//
// It is built by the threads that ask for it and freed by those of the game: the copy takes pointers, and
// what it has done with goes on a RetireList. Where nobody built what the copy needs, as in a test without a
// game, the copy does.

/// What the renderer keeps about a send.
struct SendState : SourceFilterState {
    std::uint64_t effect = 0;  ///< the effect that it was sent to in the last block, 0 for none
    std::uint32_t slot = 0;    ///< the index of that effect's slot
    bool isLeaving = false;    ///< it fades out of that effect
};

/// Where a source is heard, which follows what the game sets (UpdateLine). Kept while it plays.
struct SourceMotion {
    UpdateLine<8> place;      ///< offset from the listener, gain, velocity in units per second, and nothing
    UpdateLine<3> direction;  ///< of the cone
    float pitch = 0;          ///< of the last block; 0 before the first
    bool hasJumped = false;   ///< in this block

    /// Of a source of several channels: the rotation of B-format, or the weights of the two stereo sides.
    std::array<PathWeights, 2> turn;
};

/// Where a source was heard in the last block, and how loud, for those who watch.
struct SourceMeter {
    Vector3 direction{};       ///< towards it: X ahead, Y left, Z up; zeros of one of several channels
    float distance = 0;        ///< units
    float meanSquare = 0;      ///< of what its direct path adds to the mix, full scale 1, of late
    std::uint32_t blocks = 0;  ///< so far
};

/// What the renderer keeps about a source from block to block.
struct SourceRendererState {
    SourceFilterState direct;
    hcml::GenericVector<SendState, 0> sends;  ///< as many as the source has
    ConverterState converter;                 ///< of one-channel sources, for the sinc qualities
    MultiChannelConverterState multiChannelConverter;
    std::array<float, 8> previousFrame{};  ///< of the linear reader
    SourceMotion motion;
    SourceMeter meter;
    bool keepsAttack = true;  ///< it starts in the coming block, at once and not by a fade

    /// Clean memory on every path, as for a source of `channels` that begins to play on the converter whose
    /// cursor starts as `converterStart`, which outlives it; null for the qualities that have none. Throws
    /// slib::OutOfMemoryException.
    void Prepare(const ConverterCursor* converterStart, std::uint32_t channels);
};

/// A source that plays. One at rest has none.
struct Voice : slib::Retired {
    Source source;  ///< as the renderer has it
    SourceRendererState memory;
    std::uint32_t channels = 1;      ///< that the memory is for
    bool continues = false;          ///< takes over the memory of the voice that it replaces
    bool isEnding = false;           ///< it has left the source, and fades out
    std::uint32_t blocksToFade = 0;  ///< of one that is ending
    std::unique_ptr<Voice> next;     ///< of those that are ending
};

/// An effect as it runs in a slot; the renderer's own class of it is built by its EffectBuilder.
///
///     in the slot ──(no longer what the slot is to have)──> leaving: what is sent to it fades out ──> tail
///     ──> gone
class RunningEffect : public slib::Retired {
public:
    EffectParametersPtr parameters;  ///< the renderer's own copy, never null
    std::uint32_t slotSerial = 0;
    std::uint64_t id = 0;  ///< never 0, and of no other effect
    bool isLeaving = false;
    std::uint32_t blocksToLeave = 0;  ///< of one that is leaving
    float tailGain = 1;               ///< of one whose tail fades out
};

/// Makes the running effects of one run of the server. Any thread.
class EffectBuilder {
public:
    virtual ~EffectBuilder() = default;
    /// With clean memory, and a copy of `parameters`. Throws slib::OutOfMemoryException.
    [[nodiscard]] virtual std::unique_ptr<RunningEffect> Build(
        const EffectProcessorParameters& parameters) const = 0;
};

/// A slot as the renderer has it.
struct RenderedSlot {
    std::unique_ptr<RunningEffect> effect;  ///< null for none
    std::unique_ptr<RunningEffect> tail;    ///< the effect before, as it dies away; null for none
    bool isTailInTheWay = false;            ///< of the effect that is leaving: it is to end soon
    float gain = 1;                         ///< linear
    bool auxiliarySendAuto = true;
};

/// Buffers that have no name any more, and go when no record refers to them.
struct DeletedBuffers : slib::Retired {
    ~DeletedBuffers() override;

    hcml::GenericVector<Buffer*, 1> buffers;  ///< that this holds (Buffer::holders); null for none
    std::uint32_t blocksToHold = 0;           ///< in which a voice may still read them
    std::unique_ptr<DeletedBuffers> next;     ///< of those that are held
};

/// What the server renders from. Only the server's thread touches it, but that the game's threads make room
/// in it, and read of `playing`, `voices` and `slots` what only the copy and the merge change, both with
/// stateMutex held.
struct RenderSnapshot : GlobalParameters {
    IndexSet playing;  ///< the sources that were AL_PLAYING at the copy: all that a block can move
    hcml::SegmentedVector<std::unique_ptr<Voice>> voices;  ///< by source: of those that play, else null
    hcml::SegmentedVector<RenderedSlot> slots;
    IndexSet activeSlots;           ///< those with an effect or a tail
    std::uint32_t sourceCount = 0;  ///< of the application's table at the copy, deleted entries too
    std::uint32_t slotCount = 0;

    std::uint32_t fadeBlocks = 0;             ///< in which what ends fades out; 0: it ends at once
    slib::Chain<Voice> endings;               ///< that fade out
    slib::Chain<DeletedBuffers> heldBuffers;  ///< that these may read
};

/// What al* calls write while the context is suspended.
struct SuspendedState : GlobalParameters {
    EntryTable<Source> sources;
    EntryTable<slib::WithDirtyTag<AuxSlotParameters>> slots;
    std::unique_ptr<DeletedBuffers> deletedBuffers;  ///< null for none
    IndexSet touched;  ///< the sources of which a flag, `state` or `deleted` changed
};

/// What al* calls write and read. Names are indices plus 1; tables never shrink.
struct ApplicationState : SuspendedState {
    EntryTable<EffectParameters> effects;
    EntryTable<FilterParametersWithDeletedFlag> filters;

    // What is on its way to the renderer, by source and by slot, null for nothing.
    hcml::SegmentedVector<std::unique_ptr<Voice>> comingVoices;
    hcml::SegmentedVector<std::unique_ptr<RunningEffect>> comingEffects;

    // What that is to be built for, as long as the server has a run.
    const ConverterCursor* converterStart = nullptr;     ///< null for the qualities that have none
    std::shared_ptr<const EffectBuilder> effectBuilder;  ///< null between two runs
};

/// Begins a run: gives every voice clean memory for the converter whose cursor starts as `converterStart`,
/// and lets go of the effects of the run before, for which others are to be built by `builder`. What ends in
/// the run fades out in `fadeBlocks`. With stateMutex held, by the server; throws slib::OutOfMemoryException.
void BeginRun(RenderSnapshot& snapshot, ApplicationState& application, const ConverterCursor* converterStart,
              std::shared_ptr<const EffectBuilder> builder, std::uint32_t fadeBlocks);

/// Makes room in the snapshot for so many sources and slots. With stateMutex held; throws
/// slib::OutOfMemoryException.
void ReserveRoom(RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t sources,
                 std::uint32_t slots);

/// Builds the voice that the source needs to begin to play; with `continues` the one that goes on in place of
/// one that plays, with `channels` and `sends`. With stateMutex held; throws slib::OutOfMemoryException.
void PrepareVoice(ApplicationState& application, std::uint32_t index, std::uint32_t channels,
                  std::uint32_t sends, bool continues);

/// Builds the voice that a source needs which has one and is to have other counts of channels or sends. With
/// stateMutex held; throws slib::OutOfMemoryException.
void PrepareShape(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
                  std::uint32_t channels, std::uint32_t sends);

/// Builds what the copy would have to build for the touched sources and slots. With stateMutex held; throws
/// slib::OutOfMemoryException.
void PrepareTouched(const RenderSnapshot& snapshot, ApplicationState& application);

/// True when the renderer has, or gets, the running effect of the slot `index` as it is `wanted`. With
/// stateMutex held.
bool IsServed(const RenderSnapshot& snapshot, const ApplicationState& application, std::uint32_t index,
              const AuxSlotParameters& wanted);

/// Brings the snapshot up to date with what the game changed. Costs a comparison for 64 sources of which none
/// was touched. What the renderer has done with goes to `retired`. The server, with stateMutex held; throws
/// slib::OutOfMemoryException where the copy has to build.
void CopyToSnapshot(RenderSnapshot& snapshot, ApplicationState& application,
                    slib::RetireList& retired) SLIB_NONBLOCKING;

/// Calls `use` with every buffer of the game's own memory that the queues of the renderer refer to, once for
/// each place.
template <typename Use>
void ForEachBorrowed(const RenderSnapshot& snapshot, Use use) {
    const auto visit = [&](const Voice& voice) {
        for (Buffer* buffer : voice.source.queue)
            if (!buffer->ownsData) use(*buffer);
    };
    snapshot.playing.ForEach([&](std::uint32_t i) { visit(*snapshot.voices[i]); });
    snapshot.endings.ForEach(visit);
}

/// Brings back what the block moved: positions, current buffers and stops. Where the game changed something
/// since the copy, the game's value stays. The server, with stateMutex held.
void MergeProgress(RenderSnapshot& snapshot, ApplicationState& application,
                   slib::RetireList& retired) SLIB_NONBLOCKING;

/// Copies the application state to the suspended one, whose sources then follow the renderer until the game
/// changes them. With stateMutex held; throws slib::OutOfMemoryException.
void BeginSuspend(SuspendedState& suspended, const ApplicationState& application);

/// Merges what the game changed in the suspended state into the application state. With stateMutex held;
/// throws slib::OutOfMemoryException, and may then be called again.
void EndSuspend(SuspendedState& suspended, ApplicationState& application, RenderSnapshot& snapshot);

/// Copies `position`, `queueIndex`, `sourceType` and `state`.
void CopyPlayState(Source& target, const Source& source);

/// Gives `target` the parameters of `source`, as an object of its own: null for null, in place for the same
/// type, else a new copy. Throws slib::OutOfMemoryException.
void AssignEffect(EffectParametersPtr& target, const EffectParametersPtr& source);

}  // namespace goal
