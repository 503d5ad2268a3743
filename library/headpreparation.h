#pragma once

// From a measured head to the spectra that decoders are designed on: one time zero, no colour of the
// measuring loudspeaker, no missing directions, sound low frequencies. Pure function, any thread.

#include "library/headdata.h"

namespace design {

/// Spectra of the measured head at `sampleRate` (Hz), `headTransformLength` / 2 + 1 bins, ready for design:
/// - Resampled, and cut to the 10 ms that begin 1 ms before the first sound at any ear.
/// - Where the sphere has no measured direction within 9 degrees, directions are added. There the head is
///   taken for a rigid sphere times a correction, whose level and phase continue smoothly what was measured
///   around.
/// - Equalised to a diffuse field up to 18 kHz, which takes out the loudspeaker, too.
/// - Time zero is the mean over both ears and all directions of the delay that the sphere doesn't explain.
/// - Below 400 Hz, where small loudspeakers and short windows end, the correction fades to a pure delay.
/// - `symmetric` is set when the measured responses are, to within -40 dB.
/// Throws slib::BadDataException when `head` has fewer than 36 directions, no sound, or delays further apart
/// than 5 ms.
HeadSpectra PrepareMeasuredHead(const HeadImpulses& head, double sampleRate);

}  // namespace design
