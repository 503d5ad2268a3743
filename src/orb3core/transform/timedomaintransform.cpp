#include "orb3core/transform/timedomaintransform.h"

#include <cmath>
#include <sstream>
#include <string>

#include "slib/exception.h"

namespace orb3::strans {
namespace {

std::string HeaderFaults(double sampleRate, std::uint32_t width) {
    std::ostringstream faults;
    if (!std::isfinite(sampleRate) || sampleRate <= 0)
        faults << " Sample rate is not valid (" << sampleRate << ").";
    if (width == 0) faults << " A transform width was zero.";
    return faults.str();
}

std::string BadValue(const char* field, std::uint32_t value) {
    return std::string("Invalid ") + field + " value (" + std::to_string(value) + ") found in transform.";
}

}  // namespace

template <typename T, int Plain>
void TimeDomainTransform<T, Plain>::validate() const {
    const std::string faults = HeaderFaults(sampleRate, width);
    if (!faults.empty()) throw slib::BadDataException("Invalid transform:" + faults);
    const std::uint32_t length = Length();
    if (start >= length) throw slib::BadDataException(BadValue("start", start));
    if (width > length) throw slib::BadDataException(BadValue("width", width));
    for (std::uint32_t e = 0; e < impulses.size; ++e)
        if (impulses.data[e].size != length)
            throw slib::BadDataException("Transform lengths are not consistent.");
}

template struct TimeDomainTransform<float, 1>;
template struct TimeDomainTransform<double, 1>;

}  // namespace orb3::strans
