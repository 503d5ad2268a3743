#include "numeric/fastconvolver.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "slib/exception.h"

namespace hcml {
namespace {

// The smallest power of two above the samples of a block convolved with `taps` taps. Throws
// slib::OutOfMemoryException when no count of 32 bits holds it.
std::uint32_t TransformSize(std::uint32_t taps, std::uint32_t minimumBlock) {
    const std::uint64_t block = std::max(minimumBlock, taps);
    const std::uint64_t size = std::bit_ceil(block + taps);
    if (size > std::numeric_limits<std::uint32_t>::max()) throw slib::OutOfMemoryException();
    return static_cast<std::uint32_t>(size);
}

}  // namespace

void FIRFastConvolver::setFilter(const GenericVector<float, 1>& filter, std::uint32_t minimumBlock) {
    if (filter.size == 0) throw slib::BadParameterException("A filter has to have at least one tap.");
    blockLength = 0;  // until all is there
    dft.setSize(TransformSize(filter.size, minimumBlock));
    overlap.resize(filter.size);
    overlap.fill(0);
    filterSpectrum.resize(dft.size / 2 + 1);
    float* behindTaps = std::reverse_copy(filter.begin(), filter.end(), dft.timeBuffer);
    std::fill(behindTaps, dft.timeBuffer + dft.size, 0.0f);
    dft.ExecuteForward();
    std::copy_n(dft.frequencyBuffer, filterSpectrum.size, filterSpectrum.data);
    blockLength = dft.size - filter.size;
}

void FIRFastConvolver::reset() {
    overlap.fill(0);
}

void FIRFastConvolver::process(const GenericVector<float, 1>& input, GenericVector<float, 1>& output) {
    if (blockLength == 0) throw slib::BadStateException("The convolver has no filter.");
    if (input.size > blockLength)
        throw slib::BadParameterException("The input is longer than the block of the convolver.");
    float* behindInput = std::copy(input.begin(), input.end(), dft.timeBuffer);
    std::fill(behindInput, dft.timeBuffer + dft.size, 0.0f);
    dft.ExecuteForward();
    for (std::uint32_t k = 0; k < filterSpectrum.size; ++k) {
        const std::complex<float> x = dft.frequencyBuffer[k];
        const std::complex<float> h = filterSpectrum[k];
        // Written out, for the operator of std::complex looks for infinities.
        dft.frequencyBuffer[k] = {x.real() * h.real() - x.imag() * h.imag(),
                                  x.real() * h.imag() + x.imag() * h.real()};
    }
    dft.ExecuteInverse();
    output.resize(blockLength);
    AddOverlap(output);
}

// Splits the inverse transform, still without its scale, into the block and what is left for the next one.
void FIRFastConvolver::AddOverlap(GenericVector<float, 1>& output) {
    const float scale = dft.inverseScale;
    for (std::uint32_t i = 0; i < blockLength; ++i)
        output[i] = dft.timeBuffer[i] * scale;
    for (std::uint32_t i = 0; i < overlap.size; ++i) {
        output[i] += overlap[i];
        overlap[i] = dft.timeBuffer[blockLength + i] * scale;
    }
}

void FIRFastConvolverFilter::setFilter(const GenericVector<float, 1>& filter, std::uint32_t minimumBlock) {
    FIRFastConvolver::setFilter(filter, minimumBlock);
    input.resize(blockLength);
    input.fill(0);
    output.resize(blockLength);
    FIRFastConvolverFilter::reset();
}

void FIRFastConvolverFilter::reset() {
    output.fill(0);
    position = 0;
}

}  // namespace hcml
