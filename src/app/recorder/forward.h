#pragma once

// What every exported call of the recorder does: passes the call on, and has it written down with what came
// of it. All of it follows from the call's type and row. On the game's threads.

#include <pthread.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "app/recorder/recorder.h"
#include "app/recording/callshape.h"
#include "app/recording/calltable.h"
#include "app/recording/decodedcall.h"

namespace recorder {

/// One call under way: while it lives the thread isn't cancelled, and from Lock on no other call is passed
/// on.
class Turn {
public:
    explicit Turn(Recorder& recorder) : recorder(recorder) {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
        ++recorder.underWay;
    }
    ~Turn() SLIB_UNCHECKED_LOCKS {
        if (isLocked) {
            --recorder.depth;
            recorder.mutex.Unlock();
        }
        --recorder.underWay;
        pthread_setcancelstate(cancellation, nullptr);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    void Lock() SLIB_UNCHECKED_LOCKS {
        if (isLocked) return;
        recorder.mutex.Lock();
        isLocked = true;
        ++recorder.depth;
    }
    /// False for a call that the library makes inside another one, or a signal's handler.
    bool IsGames() const { return recorder.depth == 1; }

private:
    Recorder& recorder;
    int cancellation = 0;
    bool isLocked = false;
};

/// What a call passes on for a parameter: itself, or for an answer that is recorded a place of our own, where
/// it shows whether the call wrote anything.
template <typename T>
struct Passed {
    Passed(T value, std::string_view, const recording::Integers&) : value(value) {}
    T Value() { return value; }
    void GiveBack() {}

    T value;
};

template <>
struct Passed<ALuint*> {
    Passed(ALuint* list, std::string_view, const recording::Integers& integers) : list(list) {
        if (list != nullptr) try {
                names.resize(recording::NamesIn(integers));
            } catch (const std::exception&) {  // unrecorded then
            }
    }
    ALuint* Value() { return names.empty() ? list : names.data(); }
    void GiveBack() {
        for (std::size_t i = 0; i < names.size(); ++i)
            if (names[i] != 0) list[i] = names[i];
    }

    ALuint* list;
    std::vector<ALuint> names;
};

template <>
struct Passed<ALint*> {
    Passed(ALint* place, std::string_view call, const recording::Integers& integers)
        : place(place), isWatched(place != nullptr && recording::IsPlayQuery(call, integers[0])) {}
    ALint* Value() { return isWatched ? &answer : place; }
    void GiveBack() {
        if (isWatched && answer != none) *place = answer;
    }

    static constexpr ALint none = -1;  // no state and no count
    ALint* place;
    bool isWatched;
    ALint answer = none;
};

/// Writes the arguments of one call, as app/recording/decodedcall.h says.
class CallEncoder {
public:
    CallEncoder(Recorder& recorder, const recording::CallFacts& row, const recording::Integers& integers,
                ALuint name)
        : recorder(recorder), writer(recorder.writer), row(row), integers(integers), name(name) {}

    template <typename T>
    void Put(const Passed<T>& passed) {
        const T value = passed.value;
        if constexpr (recording::isValue<T>)
            writer.Put(value);
        else if constexpr (recording::isHandle<T>)
            recorder.PutHandle(value);
        else if constexpr (recording::isCallback<T>)
            writer.Number(value != nullptr ? 1 : 0);
        else if constexpr (recording::isText<T>)
            PutText(value);
        else if constexpr (recording::isSamples<T>)
            PutSamples(value);
        else if constexpr (recording::isList<T>)
            PutList(value);
        else
            writer.Number(value != nullptr ? 1 : 0);
    }
    void Put(const Passed<ALuint*>& passed) {
        writer.Number(passed.list != nullptr ? passed.names.size() + 1 : 0);
        for (const ALuint made : passed.names)
            writer.Put(made);
    }
    void Put(const Passed<ALint*>& passed) {
        const bool isAnswered = passed.answer != Passed<ALint*>::none;
        writer.Number(passed.place == nullptr ? 0 : isAnswered ? 2 : 1);
        if (isAnswered) writer.Put(passed.answer);
    }

private:
    void PutText(const char* text) {
        constexpr std::size_t longest = 4096;
        if (text == nullptr) return writer.Number(0);
        const std::string_view whole(text);
        const std::string_view kept = whole.substr(0, longest);
        writer.Number(kept.size() + 1);
        writer.bytes += kept;
    }

    template <typename T>
    void PutList(const T* list) {
        if (list == nullptr) return writer.Number(0);
        const std::size_t length = Length(list);
        writer.Number(length + 1);
        for (std::size_t i = 0; i < length; ++i)
            writer.Put(list[i]);
    }

    std::size_t Length(const ALuint*) const { return recording::NamesIn(integers); }
    std::size_t Length(const ALfloat*) const {
        return recording::ValuesOf(row.name, integers[0], IsFullReverb());
    }
    // Of the attributes of a context up to the 0 that ends them, or of values.
    std::size_t Length(const ALint* list) const {
        if (integers.count > 0) return recording::ValuesOf(row.name, integers[0], false);
        std::size_t length = 0;
        while (length + 2 < recording::mostValues && list[length] != 0)
            length += 2;
        return length + 1;
    }

    // Those that the buffer now has: where the call was refused it may not have looked at them.
    void PutSamples(const void* bytes) {
        const auto size = static_cast<std::size_t>(std::max(integers[1], 0));
        ALint held = 0;
        if (row.object == recording::Object::Buffer && bytes != nullptr && size > 0)
            Ask(recording::IndexOf("alGetBufferi"), AL_SIZE, held);
        if (size == 0 || held != integers[1]) return writer.Number(0);
        recorder.PutSamples(bytes, size);
    }

    // The numbers of its two directions mean something else to other effects.
    bool IsFullReverb() const {
        ALint type = 0;
        const bool mayBe =
            integers[0] == AL_EAXREVERB_REFLECTIONS_PAN || integers[0] == AL_EAXREVERB_LATE_REVERB_PAN;
        if (mayBe && row.object == recording::Object::Effect)
            Ask(recording::IndexOf("alGetEffecti"), AL_EFFECT_TYPE, type);
        return type == AL_EFFECT_EAXREVERB;
    }

    // An error that this makes was made by the call before.
    void Ask(std::size_t index, ALenum parameter, ALint& answer) const {
        auto* const ask = reinterpret_cast<void (*)(ALuint, ALenum, ALint*)>(recorder.Function(index));
        ask(name, parameter, &answer);
    }

    Recorder& recorder;
    recording::ByteWriter& writer;
    const recording::CallFacts& row;
    const recording::Integers& integers;
    const ALuint name;
};

/// A device or a context comes or goes, for which the library may wait for threads of its own.
constexpr bool MayWait(std::string_view call) {
    return call == "alcCreateContext" || call == "alcDestroyContext" || call == "alcOpenDevice" ||
           call == "alcCloseDevice";
}

/// What the length of its lists follows from.
template <typename... Parameters>
recording::Integers IntegersOf(Parameters... parameters) {
    recording::Integers integers;
    [[maybe_unused]] const auto look = [&]<typename T>(T parameter) {
        if constexpr (std::is_same_v<T, ALint>) integers.Add(parameter);
    };
    (look(parameters), ...);
    return integers;
}

/// That of the object that it is about.
template <typename... Parameters>
ALuint NameOf(Parameters... parameters) {
    ALuint name = 0;
    [[maybe_unused]] const auto look = [&]<typename T>(T parameter) {
        if constexpr (std::is_same_v<T, ALuint>) name = parameter;
    };
    (look(parameters), ...);
    return name;
}

/// A call of that type as the recorder makes it. One function for all rows of the type.
template <typename Result, typename... Parameters>
Result Record(Recorder& recorder, std::size_t index, bool mayWait, Result (*function)(Parameters...),
              std::type_identity_t<Parameters>... parameters) {
    const recording::CallFacts& row = recording::calls[index];
    Turn turn(recorder);
    if (!mayWait) turn.Lock();
    const recording::Integers integers = IntegersOf(parameters...);
    const ALuint name = NameOf(parameters...);
    std::tuple<Passed<Parameters>...> passed{Passed<Parameters>(parameters, row.name, integers)...};
    const auto make = [&] {
        return std::apply([&](auto&... each) { return function(each.Value()...); }, passed);
    };
    const auto note = [&](const auto& putResult) {
        std::apply([](auto&... each) { (each.GiveBack(), ...); }, passed);
        turn.Lock();
        if (!turn.IsGames()) return;
        recorder.Note(index, [&] {
            CallEncoder encoder(recorder, row, integers, name);
            std::apply([&](const auto&... each) { (encoder.Put(each), ...); }, passed);
            putResult(encoder);
        });
    };
    if constexpr (std::is_void_v<Result>) {
        make();
        note([](auto&) {});
    } else {
        const Result result = make();
        note([&]([[maybe_unused]] auto& encoder) {
            if constexpr (recording::isResultKept<Result>) encoder.Put(Passed<Result>(result, {}, integers));
        });
        return result;
    }
}

/// The entry of a row.
template <std::size_t index, typename Function>
struct Entry;

template <std::size_t index, typename Result, typename... Parameters>
struct Entry<index, Result(Parameters...)> {
    static constexpr std::string_view name = recording::calls[index].name;
    static_assert(recording::calls[index].type == &recording::typeMark<Result(Parameters...)>);

    /// Passes a call on.
    static Result Forward(Parameters... parameters) {
        if constexpr (name == "alcCreateContext") NoteExit();
        if constexpr (name == "alGetProcAddress" || name == "alcGetProcAddress")
            return TheRecorder().EntryFor(std::get<sizeof...(Parameters) - 1>(std::tuple(parameters...)),
                                          Make(parameters...));
        else
            return Make(parameters...);
    }

private:
    static Result Make(Parameters... parameters) {
        Recorder& recorder = TheRecorder();
        auto* const function = reinterpret_cast<Result (*)(Parameters...)>(recorder.Function(index));
        if (function == nullptr) return Result();
        return recorder.IsOn() ? Record(recorder, index, MayWait(name), function, parameters...)
                               : function(parameters...);
    }
};

/// Those of all rows, for EntryOf.
inline const auto& Entries() {
    static const auto entries =
        recording::calls.ForEach<void*>([]<std::size_t index, typename Function>() -> void* {
            return reinterpret_cast<void*>(&Entry<index, Function>::Forward);
        });
    return entries;
}

}  // namespace recorder
