#include "app/replay/player.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "app/recording/callshape.h"
#include "app/recording/decodedcall.h"
#include "slib/exception.h"
#include "slib/mutex.h"
#include "slib/text.h"
#include "slib/thread.h"

namespace replay {
namespace {

using recording::Integers;
using recording::Object;
using recording::RecordedCall;

int unknownHandle = 0;  // its address is no handle

// These take it that what they are given is there.
constexpr bool IsTrusting(std::string_view call) {
    return call == "tsrGetVersion" || (call.ends_with('v') && call.find("Source") != call.npos);
}

void ALC_APIENTRY IgnoreEvent(ALenum, ALsizei) {}

// One call about to be made: from what the recording has for each parameter to what the library is given.
template <typename Function>
class Call;

template <typename Result, typename... Parameters>
class Call<Result(Parameters...)> {
public:
    using Decoded = recording::DecodedCall<Result(Parameters...)>;
    using Entry = Result (*)(Parameters...);

    Call(Player& player, const RecordedCall& call)
        : player(player),
          row(recording::calls[call.index]),
          call(call),
          decoded(recording::ByteReader(call.content)) {
        std::apply([&](const auto&... each) { (Look(each), ...); }, decoded.arguments);
    }

    void Make(Entry entry) {
        AwaitUnqueued();
        const auto arguments = [&]<std::size_t... i>(std::index_sequence<i...>) {
            return std::tuple<Parameters...>{Supply<Parameters>(std::get<i>(decoded.arguments))...};
        }
        (std::index_sequence_for<Parameters...>());
        if constexpr (std::is_void_v<Result>) {
            std::apply(entry, arguments);
        } else {
            TakeResult(std::apply(entry, arguments));
        }
        AwaitAnswer([&] { static_cast<void>(std::apply(entry, arguments)); });
        TakeNames();
        if constexpr (sizeof...(Parameters) > 0) NoteEnd(std::get<0>(arguments));
    }

private:
    // ---- What the parameters say of each other ----

    template <typename T>
    void Look(const T& argument) {
        if constexpr (std::is_same_v<T, ALint>) {
            integers.Add(argument);
        } else if constexpr (std::is_same_v<T, ALuint>) {
            name = argument;
        } else if constexpr (std::is_same_v<T, std::optional<std::vector<ALuint>>>) {
            if (argument) listLength = argument->size();
        } else if constexpr (std::is_same_v<T, recording::Samples>) {
            if (argument.number) samples = player.FindSamples(*argument.number);
        }
    }

    // A number that says how much the library may read or write isn't above what there is.
    ALint Bounded(std::size_t place, ALint value) const {
        const auto most = [&](std::size_t limit) {
            return static_cast<std::size_t>(std::max(value, 0)) > limit ? static_cast<ALint>(limit) : value;
        };
        if (place == 0 && listLength && recording::NamesIn(integers) > *listLength) return most(*listLength);
        if (place == 1 && samples != nullptr) return most(samples->size());
        const bool isSized = place == 1 && row.name == "alcGetIntegerv";
        return isSized ? most(recording::mostValues) : value;
    }

    ALint NamedNow(std::size_t place, ALint value) const {
        const Object object = recording::ObjectOf(row.object, integers[0], place);
        return static_cast<ALint>(player.NameNow(object, static_cast<ALuint>(value)));
    }

    // ---- What the library is given ----

    template <typename T, typename D>
    T Supply(const D& argument) {
        if constexpr (std::is_same_v<T, ALint>) {
            const std::size_t place = seen++;
            return place == 0 ? Bounded(0, argument) : NamedNow(place - 1, Bounded(place, argument));
        } else if constexpr (std::is_same_v<T, ALuint>) {
            return player.NameNow(row.object, argument);
        } else if constexpr (recording::isValue<T>) {
            return argument;
        } else if constexpr (recording::isHandle<T>) {
            return static_cast<T>(player.HandleNow(argument.number));
        } else if constexpr (recording::isText<T>) {
            return argument ? argument->c_str() : nullptr;
        } else if constexpr (recording::isCallback<T>) {
            return argument.isGiven ? &IgnoreEvent : nullptr;
        } else if constexpr (recording::isSamples<T>) {
            return samples != nullptr ? const_cast<char*>(samples->data()) : nullptr;
        } else if constexpr (recording::isList<T>) {
            return SupplyList(argument);
        } else {
            return SupplyRoom<std::remove_pointer_t<T>>(argument.isGiven);
        }
    }

    // As many values as any parameter has; a list of attributes then ends with a 0 in any case.
    template <typename T>
    const T* SupplyList(const std::optional<std::vector<T>>& list) {
        if (!list && !IsTrusting(row.name)) return nullptr;
        T* const values = Room<T>(std::max(list ? list->size() + 1 : 1, recording::mostValues));
        for (std::size_t i = 0; list && i < list->size(); ++i) {
            values[i] = (*list)[i];
            if constexpr (std::is_same_v<T, ALuint>) values[i] = player.NameNow(row.listed, values[i]);
            if constexpr (std::is_same_v<T, ALint>) values[i] = NamedNow(i, values[i]);
        }
        return values;
    }

    template <typename T>
    T* SupplyRoom(bool isGiven) {
        if (!isGiven && !IsTrusting(row.name)) return nullptr;
        if constexpr (std::is_same_v<T, ALuint>) {
            made = Room<ALuint>(std::max<std::size_t>(recording::NamesIn(integers), 1));
            return made;
        } else if constexpr (std::is_same_v<T, ALfloat>) {
            if (row.name == "alRequestFoldbackStart")
                return player.FoldbackMemory(std::int64_t{integers[1]} * integers[2]);
            return Room<T>(recording::mostValues);
        } else {
            T* const values = Room<T>(recording::mostValues);
            if constexpr (std::is_same_v<T, ALint>) answer = values;
            return values;
        }
    }

    // Zeros, until the end of the call.
    template <typename T>
    T* Room(std::size_t count) {
        memory.emplace_back(count * sizeof(T));
        return reinterpret_cast<T*>(memory.back().data());
    }

    // ---- What the library answered ----

    template <typename R>
    void TakeResult(R result) {
        if constexpr (recording::isHandle<R>) {
            player.TakeHandle(decoded.result.number, result);
            player.NoteContext(call.index, result, result != nullptr);
        } else if constexpr (recording::isValue<R>) {
            player.Compare(call, static_cast<double>(decoded.result), static_cast<double>(result));
        }
    }

    template <typename T>
    void NoteEnd(T first) {
        if constexpr (recording::isHandle<T>)
            if (row.name == "alcDestroyContext") player.NoteContext(call.index, first, true);
    }

    void TakeNames() {
        if constexpr (sizeof...(Parameters) == 2) {
            const auto& list = std::get<1>(decoded.arguments);
            if constexpr (std::is_same_v<std::decay_t<decltype(list)>, recording::Answers<ALuint>>)
                for (std::size_t i = 0; made != nullptr && i < list.values.size(); ++i)
                    if (i < recording::NamesIn(integers))
                        player.TakeName(row.listed, list.values[i], made[i]);
        }
    }

    // Until as many buffers are played as the game got back.
    void AwaitUnqueued() {
        if constexpr (sizeof...(Parameters) == 3) {
            const auto& list = std::get<2>(decoded.arguments);
            if constexpr (std::is_same_v<std::decay_t<decltype(list)>, recording::Answers<ALuint>>) {
                const auto& gotten = list.values;
                if (gotten.empty() || gotten.front() == 0) return;
                auto* const ask = reinterpret_cast<void (*)(ALuint, ALenum, ALint*)>(
                    player.FindEntry(recording::IndexOf("alGetSourcei")));
                if (ask == nullptr) return;
                player.Await([&] {
                    ALint processed = integers[0];
                    ask(player.NameNow(Object::Source, name), AL_BUFFERS_PROCESSED, &processed);
                    return processed >= integers[0];
                });
            }
        }
    }

    template <typename Ask>
    void AwaitAnswer(const Ask& ask) {
        if (answer == nullptr || !recording::IsPlayQuery(row.name, integers[0])) return;
        if constexpr (sizeof...(Parameters) == 3) {
            const auto& recorded = std::get<2>(decoded.arguments);
            if constexpr (std::is_same_v<std::decay_t<decltype(recorded)>, recording::Answers<ALint>>) {
                if (recorded.values.empty()) return;
                const ALint then = recorded.values.front();
                const bool isState = integers[0] == AL_SOURCE_STATE;
                player.Await([&] {
                    const bool isEarlier =
                        isState ? then == AL_STOPPED && *answer == AL_PLAYING : *answer < then;
                    if (isEarlier) ask();
                    return isState ? then != AL_STOPPED || *answer != AL_PLAYING : *answer >= then;
                });
                player.Compare(call, then, *answer);
            }
        }
    }

    Player& player;
    const recording::CallFacts& row;
    const RecordedCall& call;
    const Decoded decoded;

    Integers integers;
    ALuint name = 0;
    std::optional<std::size_t> listLength;
    const std::string* samples = nullptr;
    std::size_t seen = 0;
    std::deque<std::vector<std::byte>> memory;
    ALuint* made = nullptr;
    ALint* answer = nullptr;
};

template <typename Function>
void MakeCall(Player& player, const RecordedCall& call) {
    Call<Function> made(player, call);
    auto* const entry = reinterpret_cast<Function*>(player.FindEntry(call.index));
    if (entry == nullptr) {
        ++player.played.left;
        return;
    }
    made.Make(entry);
}

using Maker = void (*)(Player& player, const RecordedCall& call);

constexpr auto makers = recording::calls.ForEach<Maker>(
    []<std::size_t, typename Function>() -> Maker { return &MakeCall<Function>; });

}  // namespace

// A thread of the game's, which makes calls when it is told to.
class Worker : public slib::Thread {
public:
    Worker() : Thread("Player", Priority::Normal) { Start(); }
    ~Worker() override {
        if (!RequestStop()) return;
        begin.Post();
        AwaitEnd();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Do(const std::function<void()>& job) {
        failure = nullptr;
        work = &job;
        begin.Post();
        done.Wait();
        if (failure) std::rethrow_exception(failure);
    }

private:
    void Run() override {
        for (begin.Wait(); !IsStopRequested(); begin.Wait()) {
            try {
                (*work)();
            } catch (...) {
                failure = std::current_exception();
            }
            done.Post();
        }
    }

    slib::Semaphore begin, done;
    const std::function<void()>* work = nullptr;
    std::exception_ptr failure;
};

Player::Player(recording::RecordingReader& reader, const FindFunction& find, Pace& pace)
    : reader(reader), find(find), pace(pace), entries(recording::callCount), isSought(recording::callCount) {}

Player::~Player() {
    Finish();
}

bool Player::PlayNext() {
    constexpr std::size_t mostWorkers = 64;
    RecordedCall call;
    if (!reader.Next(call)) return false;
    now = played.time = call.time;
    ++played.calls;
    pace.AwaitTime(now);
    const bool begins = call.index == recording::IndexOf("alcSetThreadContext");
    if (begins && workers.size() < mostWorkers && !workers.contains(call.thread))
        workers[call.thread] = std::make_unique<Worker>();
    const auto worker = workers.find(call.thread);
    if (worker == workers.end())
        Make(call);
    else
        worker->second->Do([&] { Make(call); });
    return true;
}

void Player::Make(const RecordedCall& call) {
    makers[call.index](*this, call);
}

void Player::Finish() {
    workers.clear();
    const auto destroy =
        reinterpret_cast<LPALCDESTROYCONTEXT>(FindEntry(recording::IndexOf("alcDestroyContext")));
    for (void* const context : std::exchange(contexts, {}))
        if (destroy != nullptr) destroy(static_cast<ALCcontext*>(context));
}

void* Player::FindEntry(std::size_t index) {
    if (!isSought[index]) entries[index] = find(std::string(recording::calls[index].name).c_str());
    isSought[index] = true;
    return entries[index];
}

ALuint Player::NameNow(Object object, ALuint recorded) const {
    constexpr ALuint unknown = 0x40000000;
    if (object == Object::None || recorded == 0) return recorded;
    const auto name = names.find({object, recorded});
    return name != names.end() ? name->second : recorded | unknown;
}

void Player::TakeName(Object object, ALuint recorded, ALuint made) {
    if (recorded != 0 && made != 0) names[{object, recorded}] = made;
}

void* Player::HandleNow(std::uint64_t recorded) const {
    if (recorded == 0) return nullptr;
    const auto handle = handles.find(recorded);
    return handle != handles.end() ? handle->second : &unknownHandle;
}

void Player::TakeHandle(std::uint64_t recorded, void* given) {
    if (recorded != 0 && given != nullptr) handles[recorded] = given;
}

void Player::NoteContext(std::size_t index, void* context, bool isSuccess) {
    if (index == recording::IndexOf("alcDestroyContext")) {
        if (std::erase(contexts, context) > 0 && contexts.empty()) pace.EndSound();
    } else if (index == recording::IndexOf("alcCreateContext") && isSuccess) {
        if (contexts.empty()) pace.BeginSound(now);
        contexts.push_back(context);
    }
}

ALfloat* Player::FoldbackMemory(std::int64_t frames) {
    constexpr std::int64_t most = std::int64_t{1} << 22;
    constexpr std::size_t mostRings = 16;
    if (frames <= 0 || frames > most || foldback.size() == mostRings) return nullptr;
    foldback.emplace_back(static_cast<std::size_t>(2 * frames));
    return foldback.back().data();
}

void Player::Compare(const RecordedCall& call, double recorded, double replayed) {
    constexpr std::size_t mostKept = 20;
    if (recorded == replayed) return;
    ++played.differences;
    if (played.first.size() == mostKept) return;
    played.first.push_back({played.calls, call.time, std::string(recording::calls[call.index].name),
                            slib::FormatNumber(recorded), slib::FormatNumber(replayed)});
}

}  // namespace replay
