#include "numeric/resampling.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

#include "numeric/firfilter.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace hcml {
namespace {

constexpr std::uint32_t minimumBlock = 10000;  // samples; long, for throughput
constexpr double greatestDelay = 1 << 28;      // samples; beyond it no transform holds the taps

std::uint32_t WholeRate(double rate) {
    const double rounded = rate + 0.5;
    if (!(rounded >= 1 && rounded <= std::numeric_limits<std::uint32_t>::max()))
        throw slib::BadParameterException(std::string("Unable to resample, as a sample rate is not valid (") +
                                          slib::FormatNumber(rate) + ").");
    return static_cast<std::uint32_t>(rounded);
}

// Half the order of the low-pass, whose taps are two transition periods long on either side.
std::uint32_t DelayFor(double raisedRate, double transition) {
    const double delay = 2 / (transition / raisedRate) + 0.5;
    if (!(transition > 0 && delay < greatestDelay))
        throw slib::BadParameterException(
            std::string("Unable to resample, as the transition is not valid (") +
            slib::FormatNumber(transition) + ").");
    return static_cast<std::uint32_t>(delay);
}

}  // namespace

VectorResampler::VectorResampler(double oldRate, double newRate, double transition) {
    const std::uint32_t from = WholeRate(oldRate);
    const std::uint32_t to = WholeRate(newRate);
    const std::uint32_t common = std::gcd(from, to);
    up = to / common;
    down = from / common;
    const double cutoff = std::min(oldRate, newRate) * 0.5 - transition;
    if (cutoff <= 0)
        throw slib::BadStateException(
            "The sinc cutoff is not positive. Please increase the sinc truncation.");
    const double raisedRate = oldRate * up;
    delay = DelayFor(raisedRate, transition);
    FIRFilter lowPass;
    lowPass.inverseRate = static_cast<float>(1 / raisedRate);
    lowPass.window = FIRFilter::blackman;
    lowPass.order = static_cast<std::int32_t>(2 * delay);
    designLowPass(lowPass, static_cast<float>(cutoff));
    filter.setFilter(lowPass.taps, minimumBlock);
}

void VectorResampler::process(const GenericVector<float, 1>& input, GenericVector<float, 1>& output) {
    const std::uint64_t raised = std::uint64_t{input.size} * up;
    const std::uint64_t count = (raised + down - 1) / down;
    if (count > std::numeric_limits<std::uint32_t>::max()) throw slib::OutOfMemoryException();
    GenericVector<float, 1> resampled(static_cast<std::uint32_t>(count));
    filter.FIRFastConvolver::reset();
    filter.reset();
    const std::uint64_t skip = std::uint64_t{delay} + filter.blockLength;
    std::uint64_t nextInput = 0;
    std::uint64_t nextOutput = skip;
    std::uint32_t taken = 0;
    std::uint32_t given = 0;
    for (std::uint64_t step = 0; given < count; ++step) {
        float x = 0;
        if (step == nextInput && taken < input.size) {
            x = input[taken++] * static_cast<float>(up);
            nextInput += up;
        }
        const float y = filter.filterSample(x);
        if (step == nextOutput) {
            resampled[given++] = y;
            nextOutput += down;
        }
    }
    output = std::move(resampled);
}

void resampleVector(const GenericVector<float, 1>& input, GenericVector<float, 1>& output, double oldRate,
                    double newRate, double transition) {
    VectorResampler(oldRate, newRate, transition).process(input, output);
}

}  // namespace hcml
