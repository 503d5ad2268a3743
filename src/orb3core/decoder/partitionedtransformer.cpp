#include "orb3core/decoder/partitionedtransformer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "slib/exception.h"

namespace orb3 {
namespace {

using hcml::SplitComplex;
using Transform = strans::TimeDomainTransform<float, 1>;

constexpr int timeDomain = 0;
constexpr int frequencyDomain = 1;

// Spectra of so many inputs wait for their products in the nearest cache, and as many products go into a sum
// before it is stored. Even, since inputs come in pairs.
constexpr std::uint32_t inputsPerPass = 4;

constexpr std::uint32_t none = 0xFFFFFFFF;  // no output

constexpr std::uint32_t greatestBlockLength = 1u << 29;

// Added to a spectrum's value and taken off again, this clears what is too small to matter, so that no
// denormal value comes into the block loop.
constexpr float flushing = 5.000000058430487e-08f;

float Flushed(float value) {
    const float lifted = value + flushing;
    return lifted - flushing;
}

bool IsAbove(float value, float threshold) {
    return !(std::abs(value) <= threshold);
}

bool ReadsProcessorSSE() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("sse");
#else
    return false;
#endif
}

void CopyStrided(const float* from, std::uint32_t stride, std::uint32_t count, float* to) {
    if (stride == 1) {
        std::memcpy(to, from, count * sizeof(float));
        return;
    }
    for (std::size_t k = 0; k < count; ++k)
        to[k] = from[k * stride];
}

// Writes a row to every `stride`-th float.
void WriteOne(float* to, std::size_t stride, std::uint32_t count, const float* row) {
    for (std::size_t k = 0; k < count; ++k)
        to[k * stride] = row[k];
}

void WriteSilence(float* to, std::size_t stride, std::uint32_t count) {
    for (std::size_t k = 0; k < count; ++k)
        to[k * stride] = 0;
}

// Writes two rows to two adjacent channels.
void WriteTwo(float* to, std::size_t stride, std::uint32_t count, const float* first, const float* second) {
    for (std::size_t k = 0; k < count; ++k) {
        to[k * stride] = first[k];
        to[k * stride + 1] = second[k];
    }
}

void WriteRows(float* const* to, std::size_t stride, std::uint32_t count, const std::uint32_t* outputs,
               const float* first, const float* second) {
    float* one = to[outputs[0]];
    if (second == nullptr) return WriteOne(one, stride, count, first);
    float* two = to[outputs[1]];
    if (two != one + 1) {
        WriteOne(one, stride, count, first);
        WriteOne(two, stride, count, second);
    } else if (stride == 2) {
        WriteTwo(one, 2, count, first, second);
    } else {
        WriteTwo(one, stride, count, first, second);
    }
}

// Adds the tail of the block before and keeps the one of this block, which follows its `count` samples.
void ExchangeTail(float* row, float* tail, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        row[k] += tail[k];
    std::memcpy(tail, row + count, count * sizeof(float));
}

hcml::SpectrumPair Spectra(PartitionBuffer& buffer, std::uint32_t first, std::uint32_t second) {
    return {{buffer.real[first].data, buffer.imaginary[first].data},
            {buffer.real[second].data, buffer.imaginary[second].data}};
}

SplitComplex Exchanged(SplitComplex rows) {
    return {rows.imaginary, rows.real};
}

}  // namespace

void RowPair::resize(std::uint32_t size) {
    // An odd multiple of 128 bytes apart, for sizes that are powers of two: never a multiple of 2 KiB.
    const std::uint32_t step = (size + 31) / 32 * 32 + 32;
    block.resize(2 * step);
    block.clear();
    rows = {block.data, block.data + step};
}

UnbufferedPartitionedTransformer_v4::UnbufferedPartitionedTransformer_v4() : hasSSE(ReadsProcessorSSE()) {}

void UnbufferedPartitionedTransformer_v4::configure(const Transform& transform, float threshold,
                                                    std::uint32_t length) {
    if (length == 0 || length > greatestBlockLength)
        throw slib::BadParameterException("The block length of a transformer is out of range.");
    transform.validate();
    sampleRate = transform.sampleRate;
    inputCount = transform.impulses.rows;
    outputCount = transform.impulses.columns;
    blockLength = length;
    if (transform.width == 1)
        ConfigureGains(transform, threshold);
    else
        ConfigurePartitions(transform, threshold);
    inputPointers.resize(inputCount);
    outputPointers.resize(outputCount);
}

void UnbufferedPartitionedTransformer_v4::ConfigureGains(const Transform& transform, float threshold) {
    mode = timeDomain;
    startLatency = 0;
    gains.resize(inputCount, outputCount);
    for (std::uint32_t e = 0; e < gains.size; ++e) {
        const float gain = transform.impulses[e][transform.start];
        gains[e] = IsAbove(gain, threshold) ? gain : 0;
    }
    partitions.clear();
    buffers.clear();
    inputBlock.resize(blockLength);
    mixed.resize(blockLength, outputCount);
}

void UnbufferedPartitionedTransformer_v4::ConfigurePartitions(const Transform& transform, float threshold) {
    mode = frequencyDomain;
    startLatency = transform.start == 0 ? 0 : transform.Length() - transform.start;
    dft.setSize(std::max(hcml::leastFourierSize, 2 * std::bit_ceil(blockLength)));
    FillPartitions(transform, threshold);
    ConfigureBlocks();
    ConfigureWalk();
}

void UnbufferedPartitionedTransformer_v4::FillPartitions(const Transform& transform, float threshold) {
    const std::uint32_t length = transform.Length();
    partitions.clear();
    partitions.resize(transform.width / blockLength + (transform.width % blockLength != 0));
    hcml::GenericVector<float, 1> taps(dft.size);
    for (std::uint32_t p = 0; p < partitions.size; ++p) {
        partitions[p].real.resize(inputCount, outputCount);
        partitions[p].imaginary.resize(inputCount, outputCount);
        const std::uint32_t taken = p * blockLength, count = std::min(blockLength, transform.width - taken);
        for (std::uint32_t pair = 0; pair < transform.impulses.size; ++pair) {
            const hcml::GenericVector<float, 1>& ring = transform.impulses[pair];
            taps.fill(0);
            for (std::uint32_t k = 0; k < count; ++k)
                taps[k] = ring[(std::size_t{transform.start} + taken + k) % length];
            if (std::any_of(taps.begin(), taps.end(), [&](float tap) { return IsAbove(tap, threshold); }))
                FillSpectrum(partitions[p], pair, taps.data);
        }
    }
}

void UnbufferedPartitionedTransformer_v4::FillSpectrum(PartitionTransform& partition, std::uint32_t pair,
                                                       const float* taps) {
    hcml::FloatTupleVector &real = partition.real[pair], &imaginary = partition.imaginary[pair];
    real.resize(dft.size / 2 + 1);
    imaginary.resize(dft.size / 2 + 1);
    dft.forwardSplit(taps, real.data, imaginary.data);
    for (float* row : {real.data, imaginary.data})
        std::transform(row, row + real.size, row,
                       [this](float v) { return Flushed(v) * (dft.inverseScale / 2); });
}

void UnbufferedPartitionedTransformer_v4::ConfigureBlocks() {
    const std::uint32_t bins = dft.size / 2 + 1;
    factors.resize(hcml::FourierFactorCount(dft.size));
    hcml::FillFourierFactors(dft.size, factors.data);
    inputBlock.resize(dft.size / 2);
    packedSpectrum.resize(dft.size);
    scratch.resize(dft.size);
    outputBlock.resize(dft.size);
    inputReal.resize(inputsPerPass);
    inputImaginary.resize(inputsPerPass);
    for (std::uint32_t slot = 0; slot < inputsPerPass; ++slot) {
        inputReal[slot].resize(bins);
        inputImaginary[slot].resize(bins);
    }
    buffers.clear();
    buffers.resize(partitions.size);
    for (PartitionBuffer& buffer : buffers) {
        for (auto* rows : {&buffer.real, &buffer.imaginary}) {
            rows->resize(outputCount);
            for (hcml::FloatTupleVector& row : *rows)
                row.resize(bins);
        }
    }
    bufferIndex = 0;
    overlap.resize(outputCount, blockLength);
    overlap.fill(0);
}

bool UnbufferedPartitionedTransformer_v4::HasSpectrum(std::uint32_t partition, std::uint32_t input,
                                                      std::uint32_t output) const {
    return partitions[partition].real(input, output).size != 0;
}

bool UnbufferedPartitionedTransformer_v4::HasInput(std::uint32_t input) const {
    for (std::uint32_t p = 0; p < partitions.size; ++p)
        for (std::uint32_t o = 0; o < outputCount; ++o)
            if (HasSpectrum(p, input, o)) return true;
    return false;
}

bool UnbufferedPartitionedTransformer_v4::HasOutput(std::uint32_t output) const {
    for (std::uint32_t p = 0; p < partitions.size; ++p)
        for (std::uint32_t i = 0; i < inputCount; ++i)
            if (HasSpectrum(p, i, output)) return true;
    return false;
}

void UnbufferedPartitionedTransformer_v4::ConfigureWalk() {
    for (auto* list : {&usedInputs, &usedOutputs, &unusedOutputs})
        list->clear();
    for (std::uint32_t i = 0; i < inputCount; ++i)
        if (HasInput(i)) usedInputs.append(i);
    for (std::uint32_t o = 0; o < outputCount; ++o)
        (HasOutput(o) ? usedOutputs : unusedOutputs).append(o);
    passes.clear();
    sums.clear();
    products.clear();
    for (std::uint32_t first = 0; first < usedInputs.size; first += inputsPerPass)
        AddPass(usedInputs.data + first, std::min(inputsPerPass, usedInputs.size - first));
}

void UnbufferedPartitionedTransformer_v4::AddPass(const std::uint32_t* inputs, std::uint32_t count) {
    const std::uint32_t sumsBefore = sums.size;
    for (std::uint32_t p = 0; p < partitions.size; ++p) {
        for (std::uint32_t u = 0; u < usedOutputs.size; u += 2) {
            const std::uint32_t first = usedOutputs[u];
            if (u + 1 == usedOutputs.size) {
                AddSum({p, first, first, 0}, none, inputs, count);
                break;
            }
            const std::uint32_t second = usedOutputs[u + 1];
            AddSum({p, first, second, 0}, none, inputs, count);
            AddSum({p, first, first, 0}, second, inputs, count);
            AddSum({p, second, second, 0}, first, inputs, count);
        }
    }
    passes.append({count, sums.size - sumsBefore});
}

// Of the inputs that have a spectrum for both outputs of `sum` and none for the output `except`.
void UnbufferedPartitionedTransformer_v4::AddSum(Sum sum, std::uint32_t except, const std::uint32_t* inputs,
                                                 std::uint32_t count) {
    const PartitionTransform& partition = partitions[sum.partition];
    for (std::uint32_t slot = 0; slot < count; ++slot) {
        const std::uint32_t i = inputs[slot];
        if (!HasSpectrum(sum.partition, i, sum.first) || !HasSpectrum(sum.partition, i, sum.second)) continue;
        if (except != none && HasSpectrum(sum.partition, i, except)) continue;
        products.append({inputReal[slot].data,
                         inputImaginary[slot].data,
                         {partition.real(i, sum.first).data, partition.real(i, sum.second).data},
                         {partition.imaginary(i, sum.first).data, partition.imaginary(i, sum.second).data}});
        ++sum.count;
    }
    if (sum.count != 0) sums.append(sum);
}

void UnbufferedPartitionedTransformer_v4::process(const hcml::GenericMatrix<float, 1>& input,
                                                  hcml::GenericMatrix<float, 1>& output) {
    if (blockLength == 0 || input.columns != inputCount || input.rows % blockLength != 0 || &input == &output)
        throw slib::BadParameterException("The block doesn't fit the transformer.");
    output.resize(input.rows, outputCount);
    for (std::uint32_t i = 0; i < inputCount; ++i)
        inputPointers[i] = input.data + i;
    Run(input.rows, inputCount, output);
}

void UnbufferedPartitionedTransformer_v4::process(const hcml::ac::Bus& bus,
                                                  hcml::GenericMatrix<float, 1>& output) {
    if (blockLength == 0 || bus.channelCount != inputCount || bus.frames % blockLength != 0)
        throw slib::BadParameterException("The block doesn't fit the transformer.");
    output.resize(bus.frames, outputCount);
    std::copy_n(bus.channels, inputCount, inputPointers.data);
    Run(bus.frames, 1, output);
}

void UnbufferedPartitionedTransformer_v4::Run(std::uint32_t frames, std::uint32_t inputStride,
                                              hcml::GenericMatrix<float, 1>& output) {
    for (std::uint32_t o = 0; o < outputCount; ++o)
        outputPointers[o] = output.data + o;
    for (std::uint32_t done = 0; done < frames; done += blockLength) {
        if (mode == timeDomain)
            RunTimeStep(inputStride);
        else
            RunFrequencyStep(inputStride);
        for (const float*& pointer : inputPointers)
            pointer += std::size_t{blockLength} * inputStride;
        for (float*& pointer : outputPointers)
            pointer += std::size_t{blockLength} * outputCount;
    }
}

void UnbufferedPartitionedTransformer_v4::RunFrequencyStep(std::uint32_t inputStride) {
    const std::uint32_t* inputs = usedInputs.data;
    const Sum* sum = sums.data;
    const hcml::SpectrumProduct* product = products.data;
    for (const Pass& pass : passes) {
        for (std::uint32_t slot = 0; slot < pass.inputs; slot += 2) {
            ReadPair(inputs + slot, std::min(pass.inputs - slot, 2u), inputStride);
            TransformPair(slot);
        }
        RunSums(sum, pass.sums, product);
        inputs += pass.inputs;
        sum += pass.sums;
    }
    for (std::uint32_t u = 0; u < usedOutputs.size; u += 2)
        WritePair(usedOutputs.data + u, std::min(usedOutputs.size - u, 2u));
    for (const std::uint32_t o : unusedOutputs)
        WriteSilence(outputPointers[o], outputCount, blockLength);
    ClearBuffer();
    bufferIndex = (bufferIndex + 1) % buffers.size;
}

// The last one of an odd number shares with silence, since what shares a transform leaks into its neighbour
// at the level of rounding errors.
void UnbufferedPartitionedTransformer_v4::ReadPair(const std::uint32_t* inputs, std::uint32_t count,
                                                   std::uint32_t inputStride) {
    CopyStrided(inputPointers[inputs[0]], inputStride, blockLength, inputBlock.rows.real);
    if (count == 2)
        CopyStrided(inputPointers[inputs[1]], inputStride, blockLength, inputBlock.rows.imaginary);
    else
        std::fill_n(inputBlock.rows.imaginary, blockLength, 0.0f);
}

void UnbufferedPartitionedTransformer_v4::TransformPair(std::uint32_t slot) {
    hcml::TransformHalfEmpty({dft.size, factors.data, inputBlock.rows, packedSpectrum.rows, scratch.rows});
    hcml::SplitPacked(dft.size, packedSpectrum.rows,
                      {{inputReal[slot].data, inputImaginary[slot].data},
                       {inputReal[slot + 1].data, inputImaginary[slot + 1].data}});
}

void UnbufferedPartitionedTransformer_v4::RunSums(const Sum* first, std::uint32_t count,
                                                  const hcml::SpectrumProduct*& product) {
    for (const Sum* sum = first; sum != first + count; ++sum) {
        const std::uint32_t ahead = bufferIndex + sum->partition;
        PartitionBuffer& buffer = buffers[ahead < buffers.size ? ahead : ahead - buffers.size];
        const hcml::SpectrumPair pair = Spectra(buffer, sum->first, sum->second);
        const std::uint32_t vectors = buffer.real[sum->first].tuples;
        if (sum->first == sum->second)
            hcml::AddSpectrumProducts(pair.first, product, sum->count, vectors);
        else
            hcml::AddSpectrumProductsToTwo(pair, product, sum->count, vectors);
        product += sum->count;
    }
}

// The last one of an odd number goes in twice, and comes out once.
void UnbufferedPartitionedTransformer_v4::WritePair(const std::uint32_t* outputs, std::uint32_t count) {
    const std::uint32_t first = outputs[0], second = outputs[count - 1];
    hcml::JoinPacked(dft.size, Spectra(buffers[bufferIndex], first, second), packedSpectrum.rows);
    hcml::TransformComplex({dft.size, factors.data, Exchanged(packedSpectrum.rows),
                            Exchanged(outputBlock.rows), Exchanged(scratch.rows)});
    ExchangeTail(outputBlock.rows.real, &overlap(first, 0), blockLength);
    if (count == 2) ExchangeTail(outputBlock.rows.imaginary, &overlap(second, 0), blockLength);
    WriteRows(outputPointers.data, outputCount, blockLength, outputs, outputBlock.rows.real,
              count == 2 ? outputBlock.rows.imaginary : nullptr);
}

void UnbufferedPartitionedTransformer_v4::ClearBuffer() {
    for (const std::uint32_t o : usedOutputs) {
        buffers[bufferIndex].real[o].clear();
        buffers[bufferIndex].imaginary[o].clear();
    }
}

void UnbufferedPartitionedTransformer_v4::RunTimeStep(std::uint32_t inputStride) {
    mixed.clear();
    for (std::uint32_t i = 0; i < inputCount; ++i) {
        const float* source = inputPointers[i];
        if (inputStride != 1 || blockLength % 4 != 0) {
            CopyStrided(source, inputStride, blockLength, inputBlock.rows.real);
            source = inputBlock.rows.real;
        }
        for (std::uint32_t o = 0; o < outputCount; ++o)
            if (gains(i, o) != 0) mixed.add(o, source, gains(i, o));
    }
    for (std::uint32_t o = 0; o < outputCount; o += 2) {
        const std::uint32_t pair[] = {o, o + 1};
        WriteRows(outputPointers.data, outputCount, blockLength, pair, mixed.channels[o],
                  o + 1 < outputCount ? mixed.channels[o + 1] : nullptr);
    }
}

}  // namespace orb3
