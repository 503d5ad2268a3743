#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orb3core/transform/transformcompression.h"
#include "orb3core/transform/transformreader.h"
#include "orb3core/transform/transformwriter.h"
#include "slib/files.h"
#include "slib/memorystreambuffer.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace orb3::strans;
using testing_support::Failure;
using Transform = TimeDomainTransform<double, 1>;

struct Shape {
    std::uint32_t rows, columns, length, start, width;
};

// Noise that dies away, behind a stretch of silence; the last response is silent throughout.
Transform MakeTransform(const Shape& shape) {
    std::mt19937 random(shape.width);
    Transform transform{44100, shape.start, shape.width, {shape.rows, shape.columns}};
    for (std::uint32_t i = 0; i < transform.impulses.size; ++i) {
        transform.impulses[i].resize(shape.length);
        transform.impulses[i].fill(0);
        for (std::uint32_t k = shape.width / 4; k < shape.width && i + 1 < transform.impulses.size; ++k)
            transform.impulses[i][(shape.start + k) % shape.length] =
                std::normal_distribution()(random) * std::exp(-10.0 * k / shape.width);
    }
    return transform;
}

std::string Written(const Transform& transform, TransformForm form) {
    std::ostringstream stream;
    writeTransform(stream, transform, form);
    return stream.str();
}

// Sample-wise error relative to the peak, or NaN for another shape.
template <typename T>
double Error(const Transform& expected, const TimeDomainTransform<T, 1>& got) {
    if (got.sampleRate != expected.sampleRate || got.start != expected.start || got.width != expected.width ||
        got.impulses.rows != expected.impulses.rows || got.impulses.columns != expected.impulses.columns ||
        got.Length() != expected.Length())
        return std::nan("");
    double error = 0, peak = 1e-300;
    for (std::uint32_t i = 0; i < expected.impulses.size; ++i)
        for (std::uint32_t t = 0; t < expected.Length(); ++t) {
            error = std::max(error, std::abs(expected.impulses[i][t] - double{got.impulses[i][t]}));
            peak = std::max(peak, std::abs(expected.impulses[i][t]));
        }
    return error / peak;
}

class Forms : public testing::TestWithParam<int> {
protected:
    const TransformForm form = static_cast<TransformForm>(GetParam());
};

INSTANTIATE_TEST_SUITE_P(All, Forms, testing::Range(0, 8));

// Two transforms follow each other in one stream, but for the text form, which has no end of its own.
TEST_P(Forms, WrittenAndRead_KeepTheRingsWithinTheErrorOfTheForm) {
    const double bounds[] = {5e-8,       0,           0x1p-24,       1 / 254.0,
                             1 / 4094.0, 1 / 65534.0, 1 / 1048574.0, 1 / 16777214.0};
    const double bound = bounds[GetParam()] + (GetParam() == 1 ? 0 : 0x1p-23);
    for (const Shape& shape : {Shape{1, 2, 1, 0, 1}, Shape{2, 3, 1024, 1000, 100}, Shape{1, 3, 20, 3, 16},
                               Shape{25, 2, 512, 0, 512}, Shape{1, 2, 60000, 50000, 45000}}) {
        const Transform transform = MakeTransform(shape);
        const std::string bytes = Written(transform, form);
        const std::string twice = GetParam() == 0 ? bytes : bytes + bytes;
        slib::MemoryStreamBuffer buffer(twice.data(), twice.data() + twice.size());
        std::istream stream(&buffer);
        Transform exact;
        readTransform(stream, exact);
        EXPECT_LE(Error(transform, exact), bound) << shape.length;
        if (GetParam() == 0) stream.seekg(0);
        TimeDomainTransform<float, 1> single;
        readTransform(stream, single);
        EXPECT_LE(Error(transform, single), bound + 0x1p-24) << shape.length;
    }
}

TEST_P(Forms, CutOrFlippedAnywhere_EndInAnErrorOrAValidTransform) {
    const std::string whole = Written(MakeTransform({2, 2, 32, 20, 17}), form);
    const Transform before = MakeTransform({1, 1, 4, 0, 4});
    const auto isRead = [&](const std::string& bytes) {
        std::istringstream stream(bytes);
        Transform transform = before;
        const bool isGood = Failure<slib::StringException>([&] { readTransform(stream, transform); }).empty();
        EXPECT_TRUE(isGood || Error(before, transform) == 0);
        EXPECT_NO_THROW(transform.validate());
        return isGood;
    };
    EXPECT_TRUE(isRead(whole));
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(isRead(whole.substr(0, size)) && form != TransformForm::Text) << size;
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
        std::string flipped = whole;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
        isRead(flipped);
    }
}

// The bits of a text of ones and zeros, the first one lowest in its byte.
std::string Bits(const std::string& text) {
    std::string bytes;
    std::size_t count = 0;
    for (const char c : text) {
        if (c == ' ') continue;
        if (count % 8 == 0) bytes += '\0';
        bytes.back() = static_cast<char>(bytes.back() | (c - '0') << count++ % 8);
    }
    return bytes;
}

std::string Header(const std::string& magic, const std::vector<std::uint32_t>& fields, float rate = 48000) {
    std::string bytes = magic + std::string(4 + 4 * fields.size(), '\0');
    std::memcpy(bytes.data() + 4, &rate, 4);
    std::memcpy(bytes.data() + 8, fields.data(), 4 * fields.size());
    return bytes;
}

std::string Repeated(const std::string& text, int times) {
    return times == 0 ? "" : text + Repeated(text, times - 1);
}

TEST(CompressedForm, PutTogetherByHand_ReadsAsItWasMeant) {
    // Halves of 8: silence; then order 2, with 5 and -7 at k = 2, then -1, 0, 3 and three zeros at k = 0.
    const std::string split = "1 0 1 01 00010 0 01 10 1 10 10 00000 1 0 0 0 0 1110" + Repeated(" 0 0", 3);
    // One leaf of order 0 with values as they are: -2, the greatest, and zeros.
    const std::string raw = "0 1 00 11111" + Repeated("1", 31) + "0 0" + Repeated("1", 31);
    std::istringstream stream(Header("trn2", {1, 2, 32, 30, 16, std::bit_cast<std::uint32_t>(0.5F)}) +
                              Bits(split + raw + Repeated("0", 14 * 32)));
    Transform transform;
    readTransform(stream, transform);
    const double expected[] = {5, -2, -5, -8, -8, -8, -8, -8};
    for (std::uint32_t k = 0; k < 8; ++k) {
        EXPECT_EQ(transform.impulses[0][(30 + k) % 32], 0);
        EXPECT_EQ(transform.impulses[0][6 + k], expected[k] / 2) << k;
    }
    EXPECT_EQ(transform.impulses[1][30], -1);
    EXPECT_EQ(transform.impulses[1][31], 2147483647 / 2.0);
}

TEST(CompressedForm, OfKnownValues_TakesTheShortestCode) {
    std::string bytes;
    BitWriter writer(bytes);
    ImpulseEncoder encoder(writer);
    encoder.Encode(std::vector<std::int32_t>{3, -1});
    std::vector<std::int32_t> values(16);
    encoder.Encode(values);
    values[15] = 100;
    encoder.Encode(values);
    encoder.Encode(
        std::vector<std::int32_t>{10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150});
    writer.Finish();
    EXPECT_EQ(bytes,
              Bits("1 00 00001 0 1 10 1 0 0   0 0   1 0 1 00 00100" + Repeated(" 0 0000 0", 7) +
                   " 0 0100 1111110 1 01 00100 0 1010 0 0 1010 0 00000 1 1111111110" + Repeated(" 0 0", 12)));
}

TEST(CompressedForm, OfAnyValues_LosesNothing) {
    std::mt19937_64 random(1);
    for (std::size_t size = 1; size < 4000; size += 1 + size / 3)
        for (int bits = 1; bits <= 32; bits += 3) {
            std::vector<std::int32_t> values(size), back(size);
            for (std::int32_t& value : values)
                value = static_cast<std::int32_t>(random()) >> (32 - bits);
            values[random() % size] = bits % 2 == 0 ? std::numeric_limits<std::int32_t>::min() : 1 << 20;
            for (std::size_t i = size / 2 + 1; i < size; ++i)  // a part that differences shorten
                values[i] = static_cast<std::int32_t>(i * i * i >> bits);
            std::string bytes;
            BitWriter writer(bytes);
            ImpulseEncoder encoder(writer);
            encoder.Encode(values);
            encoder.Encode(values);
            writer.Finish();
            std::istringstream stream(bytes + "next");
            {
                StreamWindow window(stream);
                BitReader reader(window);
                for (int time : {1, 2}) {
                    DecodeImpulse(reader, back);
                    ASSERT_EQ(back, values) << time;
                }
            }
            ASSERT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "next");
        }
}

TEST(TextForm, OfAWrappedResponse_StandsInTheOrderOfTheRing) {
    Transform transform = MakeTransform({2, 2, 2, 1, 2});
    for (std::uint32_t i = 0; i < 8; ++i)
        transform.impulses[i / 2][i % 2] = i == 6 ? -1e-10 / 3 : i / 8.0;
    EXPECT_EQ(Written(transform, TransformForm::Text),
              "sr=44100\nstart=1\nwidth=2\n\n0 0.25\n0.5 -3.3333333e-11\n\n0.125 0.375\n0.625 0.875\n");
}

std::string Reading(const std::string& bytes) {
    std::istringstream stream(bytes);
    TimeDomainTransform<float, 1> transform;
    errno = EIO;  // of another failure, long ago
    return Failure<slib::StringException>([&] { readTransform(stream, transform); });
}

TEST(Reading, WhatIsWrong_TellsWhy) {
    const std::string sr = "sr=48000\nstart=0\nwidth=1\n\n";
    const std::string invalid = "A transform to be loaded is not valid.";
    const std::string tooLarge = "A transform to be loaded is too large for what its file holds.";
    const std::string empty = "Unable to load a transform as the transform file seems to be empty.";
    const std::string cut = "Failed to read a transform from a file. ", huge(99999, '1');
    const std::string notFinite = "A transform holds a sample that is not a finite number.";
    const std::pair<std::string, std::string> cases[] = {
        {"trn", cut + "[15]"},
        {"trn9____", cut + "[16] Are you sure this is a transform file?"},
        {"bin\b", "Transform is in an unsupported legacy format."},
        {"trn4_______________________", cut + "[5]"},
        {Header("trn2", {1, 1, 8, 0, 8}), cut + "[5]"},
        {Header("trn4", {1, 1, 8, 8, 8}) + std::string(32, '\0'), invalid},
        {Header("trn4", {1, 1, 8, 0, 9}) + std::string(36, '\0'), invalid},
        {Header("trn4", {0, 1, 8, 0, 8}), empty},
        {Header("trn4", {1, 1, 8, 0, 0}, -1),
         "Invalid transform: Sample rate is not valid (-1). A transform width was zero."},
        {Header("trn4", {~0U, ~0U, ~0U, 0, ~0U}), cut + "[6]"},
        {Header("trn8", {1, 1, ~0U, 0, 1}) + std::string(8, '\0'), tooLarge},
        {Header("trn2", {~0U, ~0U, 1, 0, 1, 0}), "Failed to read a transform from a stream."},
        {Header("trn2", {1, 4, 1U << 21, 0, 1U << 21, 0}) + '\0', tooLarge},
        {Header("trn2", {1, 1, 8, 0, 8, ~0U}) + '\0', invalid},
        {Header("trn2", {1, 1, 1, 0, 1, 0}) + Bits("1 01 00000"),
         "A transform to be loaded holds fewer values than it has differences."},
        {Header("trn2", {1, 1, 1, 0, 1, 0}) + Bits("1 00 11110 0" + std::string(30, '0') + "1111 0"),
         "A transform to be loaded holds a value of more than 32 bits."},
        {Header("trn4", {1, 1, 1, 0, 1}) + "\xff\xff\xff\x7f", notFinite},
        {Header("trn8", {1, 1, 1, 0, 1}) + std::string(7, '\0') + "\x7e", notFinite},
        {sr + "1 -2\n", ""},
        {sr + "+1 \r\n\r\n 1e-1\r\n", ""},
        {"sr=48000\nsta", "Badly formed header."},
        {"sr=0\n", "Badly formed sample rate."},
        {sr, empty},
        {sr + " \n", empty},
        {sr + "\n1\n", "Unexpected time separator."},
        {sr + "1\n\n1\n\n", "Inconsistent row counts."},
        {sr + "1 2\n1\n", "Inconsistent row lengths."},
        {sr + "1 2,5\n", "A transform holds something that is not a number."},
        {sr + huge + "\n", notFinite},
        {sr + "1" + huge + "\n", "Transform has too many columns."},
        {"sr=48000\nstart=-1\nwidth=1\n\n1\n", "Invalid start value (4294967295) found in transform."},
        {"sr=48000\nstart=0\nwidth=2\n\n1\n", "Invalid width value (2) found in transform."},
    };
    for (const auto& [bytes, message] : cases)
        EXPECT_EQ(Reading(bytes), message) << bytes.substr(0, 60);
}

TEST(Files, ThatFail_NameTheReasonAndLoseNothing) {
    const testing_support::TemporaryFolder folder;
    const std::string path = folder.path / "file";
    Transform transform = MakeTransform({1, 2, 4, 0, 4});
    const auto failure = [](const auto& action) { return Failure<slib::StringException>(action); };
    EXPECT_EQ(failure([&] { readTransform(path, transform); }),
              "Failed to open file '" + path + "'. [No such file or directory]");
    EXPECT_EQ(failure([&] { readTransform("/", transform); }),
              "Failed to read a transform from a file. [15] [Is a directory]");
    EXPECT_EQ(failure([&] { writeTransform("/", transform, TransformForm::Single); }),
              "Failed to create file '/'. [Is a directory]");
    for (int form = 0; form < 8; ++form)
        EXPECT_EQ(failure([&] { writeTransform("/dev/full", transform, static_cast<TransformForm>(form)); }),
                  "Failed to write a transform. [No space left on device]");
    writeTransform(path, transform, TransformForm::Compressed24);
    for (const double bad : {1e39, std::nan("")}) {
        transform.impulses[0][1] = bad;
        EXPECT_EQ(failure([&] { writeTransform(path, transform, TransformForm::Single); }),
                  "Unable to save a transform as it holds a sample out of range.");
    }
    readTransform(path, transform);
    EXPECT_EQ(transform.impulses.columns, 2U);
}

}  // namespace
