#include "numeric/resampling.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace hcml {
namespace {

constexpr double greatestDelay = 1 << 24;  // samples; twice as many taps, which take 134 MB

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
    lowPass.inverseRate = static_cast<float>(1 / raisedRate);
    lowPass.window = FIRWindow::Blackman;
    lowPass.order = static_cast<std::int32_t>(2 * delay);
    designLowPass(lowPass, static_cast<float>(cutoff));
}

// The output at `time`, in samples of the raised rate, where input sample n is at n * up.
float VectorResampler::SampleAt(std::uint64_t time, const GenericVector<float, 1>& input) const {
    const std::uint64_t latest = time + delay;  // what meets the first tap
    const std::uint64_t first = time > delay ? (time - delay + up - 1) / up : 0;
    const std::uint64_t end = std::min<std::uint64_t>(latest / up + 1, input.size);
    double sum = 0;
    for (std::uint64_t n = first; n < end; ++n)
        sum += static_cast<double>(lowPass.taps[static_cast<std::uint32_t>(latest - n * up)]) *
               static_cast<double>(input[static_cast<std::uint32_t>(n)]);
    return static_cast<float>(sum * up);
}

void VectorResampler::process(const GenericVector<float, 1>& input, GenericVector<float, 1>& output) const {
    const std::uint64_t raised = std::uint64_t{input.size} * up;
    const std::uint64_t count = (raised + down - 1) / down;
    if (count > std::numeric_limits<std::uint32_t>::max()) throw slib::OutOfMemoryException();
    GenericVector<float, 1> resampled(static_cast<std::uint32_t>(count));
    for (std::uint32_t m = 0; m < resampled.size; ++m)
        resampled[m] = SampleAt(std::uint64_t{m} * down, input);
    output = std::move(resampled);
}

void resampleVector(const GenericVector<float, 1>& input, GenericVector<float, 1>& output, double oldRate,
                    double newRate, double transition) {
    VectorResampler(oldRate, newRate, transition).process(input, output);
}

}  // namespace hcml
