#include "orb3core/transform/transformprecision.h"

#include <algorithm>
#include <utility>

namespace orb3::strans {
namespace {

template <typename From, typename To>
void Change(const TimeDomainTransform<From, 1>& from, TimeDomainTransform<To, 1>& to) {
    TimeDomainTransform<To, 1> fresh;
    fresh.sampleRate = from.sampleRate;
    fresh.start = from.start;
    fresh.width = from.width;
    fresh.impulses.resize(from.impulses.rows, from.impulses.columns);
    for (std::uint32_t i = 0; i < from.impulses.size; ++i) {
        const auto& samples = from.impulses[i];
        fresh.impulses[i].resize(samples.size);
        std::transform(samples.begin(), samples.end(), fresh.impulses[i].begin(),
                       [](From sample) { return static_cast<To>(sample); });
    }
    to = std::move(fresh);
}

}  // namespace

void ChangePrecision(const TimeDomainTransform<double, 1>& from, TimeDomainTransform<float, 1>& to) {
    Change(from, to);
}

void ChangePrecision(const TimeDomainTransform<float, 1>& from, TimeDomainTransform<double, 1>& to) {
    Change(from, to);
}

}  // namespace orb3::strans
