#pragma once

// The core of the decoder: applies a transform, a matrix of impulse responses, to a stream of many channels.
// The spatial bus goes in, the channels of speakers or headphones come out. Configured at set-up; process
// runs on the thread that decodes, one at a time, takes no lock and allocates nothing.
//
// A uniformly partitioned convolution in the frequency domain, with no latency of its own:
//
//     input pair -> transform -> spectra -> times every partition -> buffers[bufferIndex + p], per output
//     buffers[bufferIndex] -> inverse transform, two outputs at once -> + overlap -> output pair
//
// There is no history of input spectra. Each is multiplied by all partitions of the response at once, into a
// ring of sums for the blocks to come, so that the memory is per output, not per input. Two real channels
// share one complex transform, in both directions. A transform of width 1 is a plain matrix of gains.

#include <cstdint>

#include "numeric/bus.h"
#include "numeric/dft.h"
#include "numeric/floattuplevector.h"
#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"
#include "numeric/kernels/fourierkernel.h"
#include "numeric/kernels/spectrumkernel.h"
#include "orb3core/transform/timedomaintransform.h"
#include "slib/realtime.h"

namespace orb3 {

/// The spectra of B taps of every response, inputs by outputs. One of size 0 has nothing in this partition.
/// They have the factor 1/2N: 1/N is the inverse transform's, and 1/2 belongs to the taking apart of two
/// inputs that shared a transform.
struct PartitionTransform {
    hcml::GenericMatrix<hcml::FloatTupleVector, 0> real, imaginary;
};

/// The spectra of one block to come, one of N/2 + 1 bins for each output.
struct PartitionBuffer {
    hcml::GenericVector<hcml::FloatTupleVector, 0> real, imaginary;
};

/// Two rows of one block: of two real signals, or the real and the imaginary part of a complex one.
struct RowPair {
    hcml::FloatTupleVector block;
    hcml::SplitComplex rows{nullptr, nullptr};  ///< in `block`

    /// Two rows of `size` zeros, with room for one more float each. Throws slib::OutOfMemoryException.
    void resize(std::uint32_t size);
};

/// The fields are public to be read. With B = `blockLength`, N is twice the smallest power of two not below
/// B, and at least 16; P partitions of B taps make up the width of the transform.
class UnbufferedPartitionedTransformer_v4 {
public:
    int mode = 0;                    ///< 0 time domain, 1 frequency domain
    bool hasSSE;                     ///< what the processor says; the kernels find their vectors themselves
    double sampleRate = 0;           ///< of the transform, Hz
    std::uint32_t startLatency = 0;  ///< samples by which the output lags the transform's time zero
    std::uint32_t blockLength = 0;   ///< B, samples per channel in one step; 0 before configure
    std::uint32_t inputCount = 0;    ///< rows of the transform
    std::uint32_t outputCount = 0;   ///< columns of the transform
    hcml::GenericMatrix<float, 1> gains;                    ///< time domain: linear, inputs by outputs
    hcml::DFT<float> dft;                                   ///< of size N, makes the spectra of the responses
    hcml::GenericVector<PartitionTransform, 0> partitions;  ///< P; none in the time domain
    hcml::GenericVector<PartitionBuffer, 0> buffers;        ///< ring of P; none in the time domain
    std::uint32_t bufferIndex = 0;                          ///< ring entry of the current block
    RowPair inputBlock;                                     ///< two inputs, B samples and zeros up to N/2
    RowPair outputBlock;                                    ///< two outputs, N samples each
    /// Spectra of N/2 + 1 bins, times 2: as many inputs as one pass takes.
    hcml::GenericVector<hcml::FloatTupleVector, 0> inputReal, inputImaginary;
    hcml::GenericMatrix<float, 1> overlap;               ///< tails of the block before, outputs by B
    hcml::GenericVector<const float*, 0> inputPointers;  ///< where the next block of each input is read
    hcml::GenericVector<float*, 0> outputPointers;       ///< where the next block of each output is written

    UnbufferedPartitionedTransformer_v4();
    UnbufferedPartitionedTransformer_v4(const UnbufferedPartitionedTransformer_v4&) = delete;
    UnbufferedPartitionedTransformer_v4& operator=(const UnbufferedPartitionedTransformer_v4&) = delete;

    /// Takes `transform` for steps of `length` samples, and forgets all earlier sound. Partitions whose taps
    /// all lie at or below `threshold`, a magnitude, are dropped and cost nothing; inputs that are left with
    /// none are never read. Throws slib::BadParameterException for a length of 0 or above 2^29, what validate
    /// of the transform and setSize of the DFT throw, and slib::OutOfMemoryException; after that only
    /// configure may follow.
    void configure(const strans::TimeDomainTransform<float, 1>& transform, float threshold,
                   std::uint32_t length);

    /// `input` is frames by inputs, interleaved, and `output` another matrix, which becomes frames by
    /// outputs. The frames are a multiple of `blockLength`, and every step's output is complete: it holds
    /// the step's own input. Throws slib::BadParameterException, with nothing done, for other shapes, and
    /// allocates only when `output` has another size.
    void process(const hcml::GenericMatrix<float, 1>& input,
                 hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;
    /// The same with planar input.
    void process(const hcml::ac::Bus& bus, hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;

private:
    // What one pass adds to the spectra of two outputs, or of one that is both, in one entry of the ring:
    // `count` of `products`, from where the last sum ended.
    struct Sum {
        std::uint32_t partition, first, second, count;
    };
    // Inputs whose spectra are in the nearest cache at once: so many of `usedInputs` and of `sums`, from
    // where the last pass ended.
    struct Pass {
        std::uint32_t inputs, sums;
    };

    void ConfigureGains(const strans::TimeDomainTransform<float, 1>& transform, float threshold);
    void ConfigurePartitions(const strans::TimeDomainTransform<float, 1>& transform, float threshold);
    void FillPartitions(const strans::TimeDomainTransform<float, 1>& transform, float threshold);
    void FillSpectrum(PartitionTransform& partition, std::uint32_t pair, const float* taps);
    void ConfigureBlocks();
    void ConfigureWalk();
    void AddPass(const std::uint32_t* inputs, std::uint32_t count);
    void AddSum(Sum sum, std::uint32_t except, const std::uint32_t* inputs, std::uint32_t count);
    bool HasSpectrum(std::uint32_t partition, std::uint32_t input, std::uint32_t output) const;
    bool HasInput(std::uint32_t input) const;
    bool HasOutput(std::uint32_t output) const;

    void Run(std::uint32_t frames, std::uint32_t inputStride, hcml::GenericMatrix<float, 1>& output);
    void RunFrequencyStep(std::uint32_t inputStride);
    void RunTimeStep(std::uint32_t inputStride);
    void ReadPair(const std::uint32_t* inputs, std::uint32_t count, std::uint32_t inputStride);
    void TransformPair(std::uint32_t slot);
    void RunSums(const Sum* first, std::uint32_t count, const hcml::SpectrumProduct*& products);
    void WritePair(const std::uint32_t* outputs, std::uint32_t count);
    void ClearBuffer();

    // The plan of a step, in the order in which it is walked.
    hcml::GenericVector<Pass, 1> passes;
    hcml::GenericVector<Sum, 1> sums;
    hcml::GenericVector<hcml::SpectrumProduct, 1> products;
    hcml::GenericVector<std::uint32_t, 1> usedInputs, usedOutputs, unusedOutputs;

    hcml::FloatTupleVector factors;
    RowPair packedSpectrum, scratch;
    hcml::ac::Bus mixed;  // the outputs of a time-domain step
};

}  // namespace orb3
