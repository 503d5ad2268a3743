#include "orb3core/acoustics/acousticfactory.h"

#include "orb3core/acoustics/acousticenvironment.h"
#include "orb3core/acoustics/fsascheme.h"
#include "orb3core/acoustics/nullacoustic.h"
#include "slib/exception.h"

namespace orb3::aspace {

std::unique_ptr<Acoustic> BasicAcousticFactory::createAcoustic(const slib::SXMLNode& node) const {
    if (node.label == "AcousticEnvironment") return std::make_unique<AcousticEnvironment>(node, *this);
    if (node.label == "FSAScheme") return std::make_unique<FSAScheme>(node);
    if (node.label == "NullAcoustic") return std::make_unique<NullAcoustic>();
    throw slib::BadStateException("Unknown acoustic type '" + node.label + "'.");
}

}  // namespace orb3::aspace
