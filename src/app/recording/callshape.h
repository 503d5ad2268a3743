#pragma once

// How long the lists are that the pointers of a call lead to: by what stands in the call beside them. For the
// recorder, which reads the lists, and the replayer, which makes room for answers. Any thread.

#include <array>
#include <cstddef>
#include <string_view>

#include "app/recording/calltable.h"

namespace recording {

/// The library refuses longer lists of names before it reads them.
inline constexpr std::size_t longestList = std::size_t{1} << 20;
/// No parameter has more values.
inline constexpr std::size_t mostValues = 64;

/// The whole numbers of a call, in the order of its parameters: tokens, counts, sizes and values alike.
struct Integers {
    void Add(ALint value) {
        if (count < values.size()) values[count++] = value;
    }
    ALint operator[](std::size_t place) const { return place < count ? values[place] : 0; }

    std::array<ALint, 8> values{};
    std::size_t count = 0;
};

/// Of a list of names: its length is the call's only whole number.
inline std::size_t NamesIn(const Integers& integers) {
    const ALint length = integers[0];
    return length > 0 && static_cast<std::size_t>(length) <= longestList ? static_cast<std::size_t>(length)
                                                                         : 0;
}

/// Of the values of the parameter that the first whole number names, for a call whose name ends in v. What
/// the numbers of AL_EAXREVERB_..._PAN mean to another effect is one value.
constexpr std::size_t ValuesOf(std::string_view call, ALint parameter, bool isFullReverb) {
    if (!call.ends_with('v')) return 1;
    switch (parameter) {
        case AL_ORIENTATION:
            return 6;
        case AL_POSITION:
        case AL_VELOCITY:
        case AL_DIRECTION:
        case AL_AUXILIARY_SEND_FILTER:
            return 3;
        case AL_STEREO_ANGLES:
            return 2;
        case AL_EAXREVERB_REFLECTIONS_PAN:
        case AL_EAXREVERB_LATE_REVERB_PAN:
            return isFullReverb && call.find("Effectfv") != call.npos ? 3 : 1;
        default:
            return 1;
    }
}

/// Where the value of a property may be the name of an object: the table that it is of.
constexpr Object ObjectOf(Object owner, ALint parameter, std::size_t place) {
    if (owner == Object::Slot && parameter == AL_EFFECTSLOT_EFFECT) return Object::Effect;
    if (owner != Object::Source) return Object::None;
    if (parameter == AL_BUFFER) return Object::Buffer;
    if (parameter == AL_DIRECT_FILTER) return Object::Filter;
    if (parameter != AL_AUXILIARY_SEND_FILTER) return Object::None;
    constexpr std::array ofSend{Object::Slot, Object::None, Object::Filter};
    return place < ofSend.size() ? ofSend[place] : Object::None;
}

/// What a game asks for again and again to know what it may do next; the answer steers a replay.
constexpr bool IsPlayQuery(std::string_view call, ALint parameter) {
    return call.starts_with("alGetSourcei") &&
           (parameter == AL_SOURCE_STATE || parameter == AL_BUFFERS_PROCESSED);
}

}  // namespace recording
