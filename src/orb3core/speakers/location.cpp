#include "orb3core/speakers/location.h"

#include "slib/text.h"

namespace orb3 {

Location ReadLocation(const slib::SXMLNode& node) {
    Location location;
    location.x = slib::ParseFiniteDouble(node.GetAttribute("X"));
    location.y = slib::ParseFiniteDouble(node.GetAttribute("Y"));
    location.z = slib::ParseFiniteDouble(node.GetAttribute("Z"));
    return location;
}

void WriteLocation(const Location& location, slib::SXMLNode& node) {
    constexpr int significantDigits = 10;
    node.attributes["X"] = slib::FormatNumber(location.x, significantDigits);
    node.attributes["Y"] = slib::FormatNumber(location.y, significantDigits);
    node.attributes["Z"] = slib::FormatNumber(location.z, significantDigits);
}

}  // namespace orb3
