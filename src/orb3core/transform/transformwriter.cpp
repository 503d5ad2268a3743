#include "orb3core/transform/transformwriter.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <vector>

#include "orb3core/transform/bitstream.h"
#include "orb3core/transform/littleendian.h"
#include "orb3core/transform/transformcompression.h"
#include "orb3core/transform/transformtext.h"
#include "slib/exception.h"
#include "slib/filestream.h"

namespace orb3::strans {
namespace {

using Transform = TimeDomainTransform<double, 1>;
using Impulse = hcml::GenericVector<double, 1>;

void CheckSamples(const Transform& transform, double limit) {
    for (const Impulse& impulse : transform.impulses)
        if (!std::all_of(impulse.begin(), impulse.end(), [=](double x) { return std::abs(x) <= limit; }))
            throw slib::BadDataException("Unable to save a transform as it holds a sample out of range.");
}

double Peak(const Transform& transform) {
    double peak = 0;
    for (const Impulse& impulse : transform.impulses)
        for (const double sample : impulse)
            peak = std::max(peak, std::abs(sample));
    return peak;
}

// Of a value in a compressed form; 0 for the others.
unsigned BitsOf(TransformForm form) {
    switch (form) {
        case TransformForm::Text:
        case TransformForm::Double:
        case TransformForm::Single:
            return 0;
        case TransformForm::Compressed8:
            return 8;
        case TransformForm::Compressed12:
            return 12;
        case TransformForm::Compressed16:
            return 16;
        case TransformForm::Compressed20:
            return 20;
        case TransformForm::Compressed24:
            return 24;
    }
    slib::ThrowUnreachable();
}

// Values per unit of a sample; 0 for silence, which needs none.
double QuantisingScale(const Transform& transform, unsigned bits) {
    const double peak = Peak(transform);
    return peak == 0 ? 0 : (std::ldexp(1.0, static_cast<int>(bits) - 1) - 1) / peak;
}

float StepOf(double scale) {
    return scale == 0 ? 0.0F : static_cast<float>(1 / scale);
}

void CheckFits(const Transform& transform, TransformForm form) {
    if (transform.Length() == 0)
        throw slib::BadDataException("Unable to save a transform as the transform seems to be empty.");
    transform.validate();
    if (!std::isnormal(static_cast<float>(transform.sampleRate)))
        throw slib::BadDataException("Unable to save a transform as its sample rate is out of range.");
    if (form == TransformForm::Text && transform.impulses.columns >= columnLimit)
        throw slib::BadDataException("Transform has too many columns.");
    const bool isSingle = form == TransformForm::Single;
    CheckSamples(transform, isSingle ? static_cast<double>(std::numeric_limits<float>::max())
                                     : std::numeric_limits<double>::max());
    const double scale = BitsOf(form) == 0 ? 0 : QuantisingScale(transform, BitsOf(form));
    if (scale != 0 && !(std::isnormal(scale) && std::isnormal(StepOf(scale))))
        throw slib::BadDataException("Unable to save a transform as its samples are too small or too large.");
}

void Put(std::ostream& stream, std::string_view bytes, const char* failure) {
    if (stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return;
    throw slib::OperatingSystemErrnoException(failure);
}

std::string MakeHeader(const Transform& transform, std::string_view magic) {
    std::string header(magic);
    AppendLittleEndian(header, static_cast<float>(transform.sampleRate));
    for (const std::uint32_t field : {transform.impulses.rows, transform.impulses.columns, transform.Length(),
                                      transform.start, transform.width})
        AppendLittleEndian(header, field);
    return header;
}

template <typename Visit>
void VisitWindow(const Transform& transform, const Impulse& impulse, const Visit& visit) {
    for (const auto [begin, end] : WindowParts(transform.Length(), transform.start, transform.width))
        std::for_each(impulse.data + begin, impulse.data + end, visit);
}

template <typename Stored>
void WritePlain(std::ostream& stream, const Transform& transform, std::string_view magic) {
    Put(stream, MakeHeader(transform, magic), "Failed to write a transform to a file. [13]");
    std::string bytes;
    for (const Impulse& impulse : transform.impulses) {
        bytes.clear();
        VisitWindow(transform, impulse,
                    [&](double sample) { AppendLittleEndian(bytes, static_cast<Stored>(sample)); });
        Put(stream, bytes, "Failed to write a transform to a file. [14]");
    }
}

std::int32_t Quantised(double scaled) {
    return static_cast<std::int32_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

void WriteCompressed(std::ostream& stream, const Transform& transform, unsigned bits) {
    const double scale = QuantisingScale(transform, bits);
    std::string bytes = MakeHeader(transform, compressedMagic);
    AppendLittleEndian(bytes, StepOf(scale));
    BitWriter writer(bytes);
    ImpulseEncoder encoder(writer);
    std::vector<std::int32_t> values;
    for (const Impulse& impulse : transform.impulses) {
        values.clear();
        VisitWindow(transform, impulse, [&](double sample) { values.push_back(Quantised(sample * scale)); });
        encoder.Encode(values);
    }
    writer.Finish();
    Put(stream, bytes, "Failed to write a transform.");
}

void WriteForm(std::ostream& stream, const Transform& transform, TransformForm form) {
    if (form == TransformForm::Text)
        WriteTransformText(stream, transform);
    else if (form == TransformForm::Double)
        WritePlain<double>(stream, transform, doubleMagic);
    else if (form == TransformForm::Single)
        WritePlain<float>(stream, transform, singleMagic);
    else
        WriteCompressed(stream, transform, BitsOf(form));
    if (!stream.flush()) throw slib::OperatingSystemErrnoException("Failed to write a transform.");
}

}  // namespace

void writeTransform(std::ostream& stream, const Transform& transform, TransformForm form) {
    CheckFits(transform, form);
    errno = 0;  // what went wrong earlier and elsewhere isn't the reason of a failure here
    WriteForm(stream, transform, form);
}

void writeTransform(const std::string& path, const Transform& transform, TransformForm form) {
    CheckFits(transform, form);
    slib::OutputFile stream(path);
    if (!stream) throw slib::OperatingSystemErrnoException("Failed to create file '" + path + "'.");
    errno = 0;
    WriteForm(stream, transform, form);
}

}  // namespace orb3::strans
