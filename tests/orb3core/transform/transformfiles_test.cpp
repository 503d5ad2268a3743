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
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace orb3::strans;
using testing_support::Failure;
using Transform = TimeDomainTransform<double, 1>;

// Two responses of noise that dies away, across the end of their rings, and two silent ones.
Transform MakeTransform() {
    std::minstd_rand random(1);
    Transform transform{44100, 20, 17, {2, 2}};
    for (auto& impulse : transform.impulses) {
        impulse.resize(32);
        impulse.fill(0);
    }
    for (std::uint32_t k = 4; k < 17; ++k)
        for (std::uint32_t i = 0; i < 2; ++i)
            transform.impulses[i][(20 + k) % 32] = std::normal_distribution()(random) / k;
    return transform;
}

std::string Written(const Transform& transform, TransformForm form) {
    std::ostringstream stream;
    writeTransform(stream, transform, form);
    return stream.str();
}

class Forms : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(All, Forms, testing::Range(0, 8));

TEST_P(Forms, CutOrFlippedAnywhere_EndInAnErrorOrAValidTransform) {
    const auto form = static_cast<TransformForm>(GetParam());
    const std::size_t sizes[] = {577, 572, 300, 67, 82, 96, 110, 124};
    const std::string whole = Written(MakeTransform(), form);
    Transform fourColumns{1, 0, 1, {1, 4}};
    fourColumns.impulses.fill({1});
    const auto isRead = [&](const std::string& bytes) {
        std::istringstream stream(bytes);
        Transform transform = fourColumns;
        const bool isGood = Failure<slib::StringException>([&] { readTransform(stream, transform); }).empty();
        EXPECT_TRUE(isGood || transform.impulses.columns == 4);
        EXPECT_NO_THROW(transform.validate());
        return isGood;
    };
    EXPECT_EQ(whole.size(), sizes[GetParam()]);
    std::istringstream stream(whole);
    Transform read;
    readTransform(stream, read);
    for (std::uint32_t i = 0; i < 128; ++i)  // half a step of 8 bits at the least
        EXPECT_NEAR(read.impulses[i / 32][i % 32], MakeTransform().impulses[i / 32][i % 32], 4e-3);
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

TEST(CompressedForm, PutTogetherByHand_ReadsAsItWasMeant) {
    // Halves of 8: silence; then order 2, with 5 and -7 at k = 2, then -1, 0, 3 and three zeros at k = 0.
    const std::string split = "1 0 1 01 00010 0 01 10 1 10 10 00000 1 0 0 0 0 1110 0 0 0 0 0 0";
    const std::string ones(31, '1');
    // One leaf of order 0 with values as they are: -2, the greatest, and zeros.
    const std::string raw = "0 1 00 11111" + ones + "0 0" + ones;
    std::istringstream stream(Header("trn2", {1, 2, 32, 30, 16, std::bit_cast<std::uint32_t>(0.5F)}) +
                              Bits(split + raw + std::string(14 * 32, '0')) + "next");
    Transform transform;
    readTransform(stream, transform);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "next");
    const double expected[] = {5, -2, -5, -8, -8, -8, -8, -8};
    for (std::uint32_t k = 0; k < 8; ++k) {
        EXPECT_EQ(transform.impulses[0][(30 + k) % 32], 0);
        EXPECT_EQ(transform.impulses[0][6 + k], expected[k] / 2) << k;
    }
    EXPECT_EQ(transform.impulses[1][30], -1);
    EXPECT_EQ(transform.impulses[1][31], 2147483647 / 2.0);
}

TEST(TextForm, OfAWrappedResponse_StandsInTheOrderOfTheRing) {
    Transform transform{44100, 1, 2, {2, 2}};
    for (std::uint32_t i = 0; i < 4; ++i)
        transform.impulses[i] = {i / 4.0, i == 3 ? -1e-10 / 3 : i / 4.0 + 0.125};
    EXPECT_EQ(Written(transform, TransformForm::Text),
              "sr=44100\nstart=1\nwidth=2\n\n0 0.25\n0.5 0.75\n\n0.125 0.375\n0.625 -3.3333333e-11\n");
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
    struct Case {
        std::string bytes, message;
    };
    const Case cases[] = {
        {"trn9____", cut + "[16] Are you sure this is a transform file?"},
        {"bin\b", "Transform is in an unsupported legacy format."},
        {Header("trn2", {1, 1, 8, 0, 8}), cut + "[5]"},
        {Header("trn4", {1, 1, 8, 8, 8}) + std::string(32, '\0'), invalid},
        {Header("trn4", {1, 1, 8, 0, 0}, -1),
         "Invalid transform: Sample rate is not valid (-1). A transform width was zero."},
        {Header("trn4", {~0U, ~0U, ~0U, 0, ~0U}), cut + "[6]"},
        {Header("trn8", {1, 1, ~0U, 0, 1}) + std::string(8, '\0'), tooLarge},
        {Header("trn2", {~0U, ~0U, 1, 0, 1, 0}), "Failed to read a transform from a stream."},
        {Header("trn2", {1, 4, 1U << 21, 0, 1U << 21, 0}) + '\0', tooLarge},
        {Header("trn2", {1, 1, 1, 0, 1, 0}) + Bits("1 01 00000"),
         "A transform to be loaded holds fewer values than it has differences."},
        {Header("trn2", {1, 1, 1, 0, 1, 0}) + Bits("1 00 11110 0" + std::string(30, '0') + "1111 0"),
         "A transform to be loaded holds a value of more than 32 bits."},
        {Header("trn4", {1, 1, 1, 0, 1}) + "\xff\xff\xff\x7f", notFinite},
        {Header("trn8", {1, 1, 1, 0, 1}) + std::string(7, '\0') + "\x7e", notFinite},
        {sr + "+1 \r\n\r\n 1e-1\r\n", ""},
        {"sr=0\n", "Badly formed sample rate."},
        {sr, empty},
        {sr + "1\n\n1\n\n", "Inconsistent row counts."},
        {sr + "1 2\n1\n", "Inconsistent row lengths."},
        {sr + "1 2,5\n", "A transform holds something that is not a number."},
        {sr + huge + "\n", notFinite},
        {sr + "1" + huge + "\n", "Transform has too many columns."},
        {"sr=48000\nstart=-1\nwidth=1\n\n1\n", "Invalid start value (4294967295) found in transform."},
    };
    for (const auto& [bytes, message] : cases)
        EXPECT_EQ(Reading(bytes), message) << bytes.substr(0, 60);
}

TEST(Files, ThatFail_NameTheReasonAndLoseNothing) {
    const testing_support::TemporaryFolder folder;
    const std::string path = folder.path / "file";
    Transform transform = MakeTransform();
    const auto failure = [&](const std::string& file, bool isWriting, TransformForm form = {}) {
        return Failure<slib::StringException>(
            [&] { isWriting ? writeTransform(file, transform, form) : readTransform(file, transform); });
    };
    EXPECT_EQ(failure(path, false), "Failed to open file '" + path + "'. [No such file or directory]");
    EXPECT_EQ(failure("/", false), "Failed to read a transform from a file. [15] [Is a directory]");
    EXPECT_EQ(failure("/", true), "Failed to create file '/'. [Is a directory]");
    for (const TransformForm form : {TransformForm::Text, TransformForm::Double, TransformForm::Compressed8})
        EXPECT_EQ(failure("/dev/full", true, form), "Failed to write a transform. [No space left on device]");
    writeTransform(path, transform, TransformForm::Compressed24);
    for (const double bad : {1e39, std::nan("")}) {
        transform.impulses[0][1] = bad;
        EXPECT_EQ(failure(path, true, TransformForm::Single),
                  "Unable to save a transform as it holds a sample out of range.");
    }
    EXPECT_EQ(failure(path, false), "");
    EXPECT_EQ(transform.impulses.columns, 2U);
}

}  // namespace
