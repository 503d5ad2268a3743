#pragma once

// The convolution of one long signal with one filter, for work at set-up: a block of the signal costs two
// transforms, whatever the filter's length. Owned and used by one thread at a time; setFilter is slow.
// The resampler is tested against it, and nothing uses it yet: it is for filters too long to be summed
// directly.

#include <complex>
#include <cstdint>

#include "numeric/dft.h"
#include "numeric/genericvector.h"

namespace hcml {

/// Overlap-add convolution in blocks. The taps work in reverse order: with L taps f and an input x, output
/// sample n is the sum over k of f[L-1-k] * x[n-k]. There is no delay beyond that of the taps.
class FIRFastConvolver {
public:
    DFT<float> dft;                                        ///< of N points
    GenericVector<std::complex<float>, 1> filterSpectrum;  ///< N/2 + 1 bins of the reversed taps
    GenericVector<float, 1> overlap;                       ///< L samples that the next block has still to get
    std::uint32_t blockLength = 0;                         ///< samples of a block, N - L; 0 without a filter

    virtual ~FIRFastConvolver() = default;

    /// Takes the taps, with `blockLength` at least `minimumBlock` and L, and starts from silence. Throws
    /// slib::BadParameterException for no taps, and what DFT::setSize throws for too many; there is no filter
    /// then.
    virtual void setFilter(const GenericVector<float, 1>& filter, std::uint32_t minimumBlock);

    /// Forgets the signal so far, so that the next block starts from silence.
    virtual void reset();

    /// Filters one block. `input` has up to `blockLength` samples, and counts as silence after them;
    /// `output`, which may be `input`, is resized to `blockLength`. Throws slib::BadParameterException for a
    /// longer input, and slib::BadStateException without a filter.
    void process(const GenericVector<float, 1>& input, GenericVector<float, 1>& output);

private:
    void AddOverlap(GenericVector<float, 1>& output);
};

/// Takes and gives one sample at a time, with a delay of `blockLength` samples.
class FIRFastConvolverFilter : public FIRFastConvolver {
public:
    std::uint32_t position = 0;      ///< in the block; `blockLength` when it is full
    GenericVector<float, 1> input;   ///< the block being collected
    GenericVector<float, 1> output;  ///< the block being returned

    void setFilter(const GenericVector<float, 1>& filter, std::uint32_t minimumBlock) override;

    /// Starts a new block with silence as its output. What earlier blocks left in `overlap` still comes with
    /// the one after; FIRFastConvolver::reset forgets that.
    void reset() override;

    /// Takes the next sample and returns the one `blockLength` samples earlier, filtered. There is a filter.
    float FilterSample(float x) {
        if (position == blockLength) {
            process(input, output);
            position = 0;
        }
        input[position] = x;
        return output[position++];
    }
};

}  // namespace hcml
