#include "orb3core/library/transformstatus.h"

#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::fl {

void TransformStatus::validate() const {
    if (!possible || generated || !needsGeneration) return;
    throw slib::BadStateException(
        "A transform status was badly defined: a transform that is not to be generated apparently needs "
        "generation.");
}

void TransformStatus::Read(const slib::SXMLNode& node) {
    const TransformStatus fresh{slib::ParseBool(node.GetAttribute("Possible")),
                                slib::ParseBool(node.GetAttribute("Generated")),
                                slib::ParseBool(node.GetAttribute("NeedsGeneration"))};
    fresh.validate();
    *this = fresh;
}

void TransformStatus::SetAttributes(slib::SXMLNode& node) const {
    node.attributes["Possible"] = slib::FormatBool(possible);
    node.attributes["Generated"] = slib::FormatBool(generated);
    node.attributes["NeedsGeneration"] = slib::FormatBool(needsGeneration);
}

}  // namespace orb3::fl
