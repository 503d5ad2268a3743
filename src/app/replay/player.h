#pragma once

// Makes the calls of a recording again. Names and handles are those that the library gives this time; sample
// data comes from the recording, foldback goes into memory of the player's own, to a callback that does
// nothing. What a file says is never trusted: no call gets a pointer to less than it may read or write.
//
//     reader ──> call ──> pace ──> names, handles, memory ──> library ──> what is asked about its answers
//
// What a game asks again and again, the state of a source and the number of buffers played, decides what it
// does next. Where the recording has the later answer the player lets a quarter of a second pass at most
// until the library has it, too: blocks lie differently in time. Calls of threads that have a context of
// their own are made by threads of their own, one after the other all the same.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/recording/calltable.h"
#include "app/recording/recordingreader.h"
#include "app/replay/pace.h"

namespace replay {

/// The library's function of that name; null when it has none.
using FindFunction = std::function<void*(const char* name)>;

/// An answer that isn't that of the recording.
struct Difference {
    std::uint64_t call = 0;  ///< number, from 1 on
    std::int64_t time = 0;   ///< microseconds
    std::string name, recorded, replayed;
};

struct Played {
    std::uint64_t calls = 0;
    std::uint64_t left = 0;  ///< of functions that the library doesn't have
    std::int64_t time = 0;   ///< of the last call, microseconds
    std::uint64_t differences = 0;
    std::vector<Difference> first;  ///< of these
};

class Worker;

class Player {
public:
    /// All outlive this object.
    Player(recording::RecordingReader& reader, const FindFunction& find, Pace& pace);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Makes the next call. False at the end. Throws slib::BadDataException for a damaged recording.
    bool PlayNext();
    /// Ends what contexts are left. The destructor does it too.
    void Finish();

    Played played;

    // For the calls.
    void* FindEntry(std::size_t index);
    const std::string* FindSamples(std::uint64_t number) const { return reader.FindSamples(number); }
    ALuint NameNow(recording::Object object, ALuint recorded) const;
    void TakeName(recording::Object object, ALuint recorded, ALuint now);
    void* HandleNow(std::uint64_t recorded) const;
    void TakeHandle(std::uint64_t recorded, void* now);
    void NoteContext(std::size_t index, void* context, bool isSuccess);
    ALfloat* FoldbackMemory(std::int64_t frames);
    void Compare(const recording::RecordedCall& call, double recorded, double now);
    /// Until `isSo`, or for a quarter of a second.
    template <typename Condition>
    void Await(const Condition& isSo) {
        constexpr std::int64_t longest = 250'000;
        for (std::int64_t passed = 0; passed < longest && !isSo();) {
            const std::int64_t step = pace.StepOn();
            if (step == 0) return;
            passed += step;
        }
    }

private:
    void Make(const recording::RecordedCall& call);

    recording::RecordingReader& reader;
    const FindFunction& find;
    Pace& pace;
    std::vector<void*> entries;
    std::vector<bool> isSought;
    std::map<std::pair<recording::Object, ALuint>, ALuint> names;
    std::map<std::uint64_t, void*> handles;
    std::vector<void*> contexts;
    std::int64_t now = 0;
    std::deque<std::vector<ALfloat>> foldback;  // kept: the library may write to it until the end
    std::map<std::uint64_t, std::unique_ptr<Worker>> workers;
};

}  // namespace replay
