#include "app/goaldll/ending.h"

namespace goal {

void Ending::Prepare() {
    if (state.load() != State::Idle) return;
    Start();
    state.store(State::Prepared);
}

void Ending::Cancel() {
    State expected = State::Prepared;
    if (!state.compare_exchange_strong(expected, State::Idle) || !RequestStop()) return;
    begin.Post();
    AwaitEnd();
    JoinEnded();
}

bool Ending::RunWithin(std::uint32_t milliseconds) {
    State expected = State::Prepared;
    if (!state.compare_exchange_strong(expected, State::Begun)) return true;
    LeaveToItself();
    begin.Post();
    return over.WaitFor(milliseconds);
}

void Ending::Run() {
    begin.Wait();
    if (IsStopRequested()) return;
    work();
    over.Post();
}

}  // namespace goal
