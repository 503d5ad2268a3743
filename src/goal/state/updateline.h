#pragma once

// A value that a game sets at its own pace, some sixty times a second, drawn as a smooth line: the next
// update is expected when the last ones let expect it, and what is heard arrives at the value just then, on a
// cubic Hermite spline. So the steps between the updates, and the blocks in which they happen to be seen,
// aren't heard. Kept for each source and for the listener; on the server's thread, once a block.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace goal {

/// What of the times is the same for all lines. In frames.
struct UpdatePace {
    UpdatePace(double sampleRate, std::uint32_t blockFrames)
        : block(static_cast<float>(blockFrames)),
          usual(static_cast<float>(sampleRate / 60)),
          longest(static_cast<float>(sampleRate / 10)),
          latest(std::max(block, static_cast<float>(sampleRate * 0.024))) {}

    float block;
    float usual;    ///< between two updates, until they tell
    float longest;  ///< between two updates; later ones begin anew
    float latest;   ///< from an update to the arrival at it
};

/// When updates come, and when what is heard is to arrive at the last one. The blocks in which the updates of
/// a steady game are seen jitter by a block; the arrivals follow their average, as a phase-locked loop does.
struct UpdateClock {
    float since = 1e9F;   ///< frames since the last update
    float period = 0;     ///< frames between updates
    float remaining = 0;  ///< frames until the arrival; negative once it's past
    std::uint32_t count = 0;

    /// At an update.
    void Note(const UpdatePace& pace) {
        const float margin = pace.block / 2;
        if (since > pace.longest || remaining < -period) {
            if (since > pace.longest || period == 0) period = pace.usual;
            count = 0;
            remaining = period + margin;
        } else {
            ++count;
            const float weight = std::max(1.0F / 16, 1 / static_cast<float>(count + 1));
            // An update that brings the same value isn't seen.
            const float steps = count < 4 ? 1 : std::max(1.0F, std::round(since / period));
            period += weight * (since / steps - period);
            remaining += steps * period;
            remaining += weight * (period + margin - remaining);
        }
        remaining = std::clamp(remaining, pace.block, pace.latest);
        since = 0;
    }

    /// From an update to the arrival, in the average.
    float Lead(const UpdatePace& pace) const {
        return std::clamp(period + pace.block / 2, pace.block, pace.latest);
    }

    void Advance(const UpdatePace& pace) {
        since += pace.block;
        remaining -= pace.block;
    }
};

template <std::size_t size>
class UpdateLine {
public:
    using Value = std::array<float, size>;

    /// Whether the game has set another value since, or none was ever set.
    bool IsNews(const Value& wanted) const { return !hasValue || wanted != last; }

    /// Where the next value would be if it went on as between the last two.
    Value Expected() const { return IsMoving() ? Sum(last, step, 1) : last; }

    /// The last step, 0 where the value stood.
    Value LastStep() const { return IsMoving() ? step : Value{}; }

    bool HasValue() const { return hasValue; }
    const Value& Last() const { return last; }

    /// Is there at once.
    void Jump(const Value& wanted) {
        const float since = hasValue ? 0 : clock.since;
        *this = UpdateLine();
        hasValue = true;
        last = value = target = wanted;
        clock.since = since;
    }

    /// The same for one component; the others go on.
    void JumpComponent(std::size_t i, float wanted) {
        last[i] = value[i] = from[i] = target[i] = wanted;
        step[i] = slopes[0][i] = slopes[1][i] = drift[i] = 0;
    }

    /// Goes to `wanted`, which is finite. `velocity` is what the game says about the way on of the first
    /// `carried` components, per frame: if the last step agrees with it, they go to where they will be by
    /// then, and on.
    void Aim(const Value& wanted, const UpdatePace& pace, const Value& velocity = {},
             std::size_t carried = 0) {
        const bool wasMoving = IsMoving();
        const Value present = Slope();
        clock.Note(pace);
        const Value before = std::exchange(step, Sum(wanted, last, -1));
        last = wanted;
        drift = {};
        Value to = wanted;
        if (wasMoving) {
            const float share = 1 / clock.period;
            for (std::size_t i = 0; i < size; ++i)
                drift[i] = (1.5F * step[i] - 0.5F * before[i]) * share;
        }
        isCarried = wasMoving && Agrees(velocity, carried);
        if (isCarried) {
            std::copy_n(velocity.begin(), carried, drift.begin());
            for (std::size_t i = 0; i < carried; ++i)
                to[i] += drift[i] * clock.Lead(pace);
        }
        Head(present, to);
    }

    /// The value at the end of the block.
    const Value& Advance(const UpdatePace& pace) {
        if (!isUnderWay) {
            if (clock.since <= pace.longest) clock.Advance(pace);
            return value;
        }
        if (clock.remaining > pace.block)
            value = At(1 - (clock.remaining - pace.block) / length);
        else
            Arrive(pace.block - std::max(clock.remaining, 0.0F));
        clock.Advance(pace);
        // It goes on until the next update should have come, or longer where the game has said so.
        if (drift != Value{} && clock.since > (isCarried ? 1.5F : 1) * clock.period + pace.block) ComeBack();
        return value;
    }

private:
    static Value Sum(const Value& a, const Value& b, float factor) {
        Value sum;
        for (std::size_t i = 0; i < size; ++i)
            sum[i] = a[i] + factor * b[i];
        return sum;
    }

    bool IsMoving() const { return clock.since <= 4 * clock.period; }

    bool Agrees(const Value& velocity, std::size_t count) const {
        float off = 0, whole = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const float difference = step[i] - velocity[i] * clock.period;
            off += difference * difference;
            whole += step[i] * step[i];
        }
        return whole > 0 && off <= whole / 16;
    }

    // The spline from `from` to `target` at the share `t` of its length.
    Value At(float t) const {
        const float left = 1 - t, rise = t * t * (3 - 2 * t);
        const float begin = t * left * left * length, end = t * t * left * length;
        Value at;
        for (std::size_t i = 0; i < size; ++i)
            at[i] = from[i] + rise * (target[i] - from[i]) + (begin * slopes[0][i] - end * slopes[1][i]);
        return at;
    }

    // How it moves there, per frame.
    Value SlopeAt(float t) const {
        const float left = 1 - t;
        const float way = 6 * t * left / length, begin = left * (1 - 3 * t), end = t * (3 * t - 2);
        Value at;
        for (std::size_t i = 0; i < size; ++i)
            at[i] = way * (target[i] - from[i]) + begin * slopes[0][i] + end * slopes[1][i];
        return at;
    }

    // How the value moves, per frame.
    Value Slope() const {
        if (!isUnderWay) return {};
        return clock.remaining > 0 ? SlopeAt(1 - clock.remaining / length) : drift;
    }

    // From where the value is, and moves by `present` per frame, to be at `to` after clock.remaining frames
    // and drift on.
    void Head(const Value& present, const Value& to) {
        slopes = {present, drift};
        from = value;
        target = to;
        length = clock.remaining;
        isUnderWay = true;
    }

    // `past` frames ago.
    void Arrive(float past) {
        value = target = Sum(target, drift, past);
        isUnderWay = drift != Value{};
    }

    // The game has stopped telling where the value is.
    void ComeBack() {
        const Value present = Slope();
        drift = {};
        clock.remaining = clock.period;
        Head(present, last);
    }

    // First what a value that stands needs.
    bool hasValue = false;
    bool isUnderWay = false;
    bool isCarried = false;  // the drift is the game's
    UpdateClock clock;
    Value last{};                   // set by the game
    Value value{};                  // heard
    Value step{};                   // between the last two
    Value from{};                   // of the spline
    Value target{};                 // to be heard at the arrival
    std::array<Value, 2> slopes{};  // of the spline at both ends, per frame
    Value drift{};                  // per frame, after it
    float length = 1;               // of the spline, in frames
};

}  // namespace goal
