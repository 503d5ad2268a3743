// Fuzz target for stored transforms, in every form. Whatever the bytes are, reading them fails with one of
// this system's exceptions, or gives a transform that every form takes and gives back as closely as it
// promises to. Also linked with replay_main.cpp into a program that runs the corpus in the ordinary tests.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

#include "fuzz/check.h"
#include "orb3core/transform/transformreader.h"
#include "orb3core/transform/transformwriter.h"
#include "slib/exception.h"

namespace {

using orb3::strans::TransformForm;
template <typename T>
using Transform = orb3::strans::TimeDomainTransform<T, 1>;

// Whether there is a transform; it can then stand up to its own validation.
template <typename T>
bool Read(std::istream& stream, Transform<T>& transform) {
    try {
        orb3::strans::readTransform(stream, transform);
    } catch (const slib::Exception&) {
        Check(transform.impulses.size == 0);
        return false;
    }
    transform.validate();
    return true;
}

double Peak(const Transform<double>& transform) {
    double peak = 0;
    for (const auto& impulse : transform.impulses)
        for (const double sample : impulse)
            peak = std::max(peak, std::abs(sample));
    return peak;
}

// The greatest difference that a form may bring into a sample of this magnitude.
double Bound(TransformForm form, double sample, double peak) {
    const int index = static_cast<int>(form);
    constexpr double leastFloat = std::numeric_limits<float>::denorm_min();
    if (form == TransformForm::Text)
        return std::abs(sample) * 1e-7 + std::numeric_limits<double>::denorm_min();
    if (form == TransformForm::Double) return 0;
    if (form == TransformForm::Single) return std::abs(sample) * std::ldexp(1, -24) + leastFloat;
    return peak * (1 / (std::ldexp(1, 4 * (index - 1)) - 2) + std::ldexp(1, -23));
}

void CheckSame(const Transform<double>& before, const Transform<double>& after, TransformForm form) {
    Check(before.start == after.start && before.width == after.width);
    Check(before.impulses.rows == after.impulses.rows && before.impulses.columns == after.impulses.columns);
    Check(before.Length() == after.Length());
    const double peak = Peak(before);
    for (std::uint32_t i = 0; i < before.impulses.size; ++i)
        for (std::uint32_t k = 0; k < before.width; ++k) {
            const std::uint32_t at = (before.start + k) % before.Length();
            const double sample = before.impulses[i][at];
            Check(std::abs(after.impulses[i][at] - sample) <= Bound(form, sample, peak));
        }
}

void CheckRoundTrip(const Transform<double>& transform, TransformForm form) {
    std::stringstream stream;
    try {
        orb3::strans::writeTransform(stream, transform, form);
    } catch (const slib::BadDataException&) {
        Check(stream.str().empty());
        return;
    }
    Transform<double> back;
    Check(Read(stream, back));
    CheckSame(transform, back, form);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    Transform<float> single;
    const bool fitsFloats = Read(stream, single);
    stream.seekg(0);
    Transform<double> exact;
    if (!Read(stream, exact)) {
        Check(!fitsFloats);
        return 0;
    }
    // What a few bytes may unfold to takes long to write in all forms.
    constexpr std::uint64_t mostSamples = 1 << 16;
    if (std::uint64_t{exact.impulses.size} * exact.Length() > mostSamples) return 0;
    for (int form = 0; form <= static_cast<int>(TransformForm::Compressed24); ++form)
        CheckRoundTrip(exact, static_cast<TransformForm>(form));
    return 0;
}
