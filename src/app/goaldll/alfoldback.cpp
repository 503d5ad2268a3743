// The calls of the foldback extension.

#include <cstdint>

#include "app/goaldll/alcall.h"

namespace {

using goal::Access;
using goal::Context;
using goal::Process;

bool IsMode(ALenum mode) {
    return mode == AL_FOLDBACK_MODE_MONO || mode == AL_FOLDBACK_MODE_STEREO;
}

// True when the ring always holds two blocks of the server.
bool IsRingLongEnough(Context& context, ALsizei blockCount, ALsizei blockFrames) {
    if (blockCount <= 1 || blockFrames <= 0) return false;
    const slib::Lock lock(context.timingMutex);
    return std::int64_t{blockCount} * blockFrames >= std::int64_t{context.blockFrames} * 2;
}

}  // namespace

AL_API void AL_APIENTRY alRequestFoldbackStart(ALenum mode, ALsizei blockCount, ALsizei blockFrames,
                                               ALfloat* buffer, LPALFOLDBACKCALLBACK callback) {
    goal::ContextCall(Access::Read, true, [&](Process&, Context& context) -> int {
        if (!IsMode(mode)) return AL_INVALID_ENUM;
        if (buffer == nullptr || callback == nullptr) return AL_INVALID_VALUE;
        if (!IsRingLongEnough(context, blockCount, blockFrames)) return AL_INVALID_VALUE;
        context.foldback.Start({.mode = mode,
                                .blockCount = static_cast<std::uint32_t>(blockCount),
                                .blockFrames = static_cast<std::uint32_t>(blockFrames),
                                .buffer = buffer,
                                .callback = callback});
        return AL_NO_ERROR;
    });
}

AL_API void AL_APIENTRY alRequestFoldbackStop(void) {
    goal::ContextCall(Access::Read, true, [](Process&, Context& context) {
        context.foldback.Stop();
        return AL_NO_ERROR;
    });
}
