#include "orb3core/library/formatlibrarian.h"

#include "orb3core/transform/transformprecision.h"

namespace orb3::fl {

void FormatLibrarian::getTransform(std::uint32_t index, int rate,
                                   strans::TimeDomainTransform<float, 1>& transform) const {
    strans::TimeDomainTransform<double, 1> stored;
    getTransform(index, rate, stored);
    strans::ChangePrecision(stored, transform);
}

}  // namespace orb3::fl
