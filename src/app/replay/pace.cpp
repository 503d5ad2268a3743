#include "app/replay/pace.h"

#include <chrono>
#include <thread>

namespace replay {
namespace {

constexpr std::int64_t second = 1'000'000;  // microseconds

std::int64_t Now() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void ClockPace::AwaitTime(std::int64_t time) {
    if (start < 0) start = Now() - time;
    std::this_thread::sleep_for(std::chrono::microseconds(start + time - Now()));
}

std::int64_t ClockPace::StepOn() {
    constexpr std::int64_t step = 2000;
    std::this_thread::sleep_for(std::chrono::microseconds(step));
    return step;
}

void SteppedPace::BeginSound(std::int64_t time) {
    isSounding = true;
    begin = time;
    frames = 0;
}

void SteppedPace::AwaitTime(std::int64_t time) {
    while (isSounding && (frames + blockFrames) * second <= (time - begin) * rate)
        if (StepOn() == 0) return;
}

std::int64_t SteppedPace::StepOn() {
    ALCint frequency = 0;
    const ALCsizei rendered = isSounding ? render(&frequency) : 0;
    if (rendered <= 0 || frequency <= 0) {
        isSounding = false;
        return 0;
    }
    rate = frequency;
    blockFrames = rendered;
    frames += rendered;
    return rendered * second / rate;
}

}  // namespace replay
