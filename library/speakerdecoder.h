#pragma once

// Designs the transforms that decode the spatial format for speakers. Called by the program that builds a
// format library and by checks; offline, free functions without state, the same result every time.
//
// Loudness is the sum over speakers of the energy of their signals at the listener, as in a diffuse field. A
// plane wave of amplitude 1 from straight ahead has the loudness 4 pi by every method, order and layout; so
// has the same signal on the dedicated dialogue path, see MakeSpeakerSet.

#include <string>
#include <vector>

#include "library/decodermatrix.h"
#include "library/layouts.h"
#include "orb3core/transform/timedomaintransform.h"

namespace design {

/// How a method is named in a library.
struct MethodText {
    std::string tag;
    std::string name;
    std::string writeup;
};
MethodText DescribeMethod(SpeakerMethod method);

/// The methods that fit the layout, best first; none for headphones.
std::vector<SpeakerMethod> MethodsFor(const SpeakerLayout& layout);

/// 3 for the best method, then 2 and 1, as conversions count.
int PriorityOf(SpeakerMethod method);

struct SpeakerDecoder {
    SpeakerMethod method;
    unsigned order;
    int priority;
    orb3::strans::TimeDomainTransform<double, 1> transform;  ///< (order + 1)² inputs by speakers
};

/// Designs for one rate in Hz. Rings are powers of two; gains alone make rings of one sample, filters begin
/// before time zero. Speakers that take dedicated signals get silence. Unequal distances are made up for by
/// gains and delays to that of the furthest speaker, and measured ones below 4 m by what their nearness does
/// to low frequencies. The bass of small speakers goes to those of the role BassManaged, where there are any.
/// Throws slib::BadParameterException for an order outside 1 to 4, a rate that isn't positive and finite, and
/// a layout of headphones or without speakers to decode for.
SpeakerDecoder DesignSpeakerDecoder(const SpeakerLayout& layout, unsigned order, SpeakerMethod method,
                                    double sampleRate);

/// The same for several methods and rates at once, rates within methods, in less time.
std::vector<SpeakerDecoder> DesignSpeakerDecoders(const SpeakerLayout& layout, unsigned order,
                                                  const std::vector<SpeakerMethod>& methods,
                                                  const std::vector<int>& rates);

}  // namespace design
