#include "orb3core/speakers/array.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <string_view>
#include <utility>

#include "numeric/directionpolynomials.h"
#include "slib/exception.h"

namespace orb3::array {
namespace {

constexpr double nothing = 1e-9;  // lengths and heights below this count as 0
constexpr std::size_t maximumChannelCount = 8;
constexpr int firstType = 3;
constexpr int lastType = 10;

struct DefaultChannel {
    std::string_view name;
    double azimuth;  // degrees, positive to the left
    bool isAtOrigin = false;
};

struct DefaultArray {
    std::string_view name;
    std::span<const DefaultChannel> channels;
};

constexpr DefaultChannel mono[] = {{"Audio", 0, true}};
constexpr DefaultChannel front[] = {{"Front", 0}};
constexpr DefaultChannel stereo[] = {{"Left", 30}, {"Right", -30}};
constexpr DefaultChannel surround61[] = {{"Front Left", 30},  {"Front Right", -30}, {"Front Centre", 0},
                                         {"Bass", 0, true},   {"Side Left", 110},   {"Side Right", -110},
                                         {"Back Centre", 180}};
constexpr DefaultChannel surround71[] = {{"Front Left", 30}, {"Front Right", -30}, {"Front Centre", 0},
                                         {"Bass", 0, true},  {"Back Left", 150},   {"Back Right", -150},
                                         {"Side Left", 90},  {"Side Right", -90}};
constexpr DefaultChannel quad[] = {
    {"Front Left", 45}, {"Front Right", -45}, {"Back Left", 135}, {"Back Right", -135}};

// In the order of the array types, from firstType on. "5.1" is "6.1" without its last channel, "Rear" the
// back of "Quad".
constexpr std::array<DefaultArray, 8> defaultArrays{{{"Mono", mono},
                                                     {"Front", front},
                                                     {"Stereo", stereo},
                                                     {"5.1", std::span(surround61).first<6>()},
                                                     {"6.1", surround61},
                                                     {"7.1", surround71},
                                                     {"Quad", quad},
                                                     {"Rear", std::span(quad).last<2>()}}};

// Ten decimals, which a document holds in full: the default arrays equal themselves after being stored.
double RoundedToDocument(double coordinate) {
    return std::round(coordinate * 1e10) / 1e10 + 0.0;
}

Location OnUnitCircle(double azimuth) {
    const double angle = azimuth * std::numbers::pi / 180.0;
    return {RoundedToDocument(std::cos(angle)), RoundedToDocument(std::sin(angle)), 0.0};
}

Array BuildDefault(const DefaultArray& source) {
    Array array;
    array.name = source.name;
    for (const DefaultChannel& from : source.channels) {
        Channel& channel = array.channels.emplace_back();
        channel.name = from.name;
        if (!from.isAtOrigin) channel.location = OnUnitCircle(from.azimuth);
    }
    return array;
}

[[noreturn]] void ThrowNotPresent() {
    throw slib::BadDataException("Array not present.");
}

[[noreturn]] void ThrowInvalidCount(std::string_view name) {
    throw slib::BadDataException("Invalid channel count for '" + std::string(name) + "' array.");
}

void Validate(const std::map<std::string, Array>& arrays) {
    for (const DefaultArray& required : defaultArrays) {
        const auto found = arrays.find(std::string(required.name));
        if (found == arrays.end()) ThrowNotPresent();
        if (found->second.channels.size() != required.channels.size()) ThrowInvalidCount(required.name);
    }
    for (const auto& [name, array] : arrays)
        if (array.channels.size() > maximumChannelCount) ThrowInvalidCount(name);
}

void PrepareChannel(Channel& channel) {
    const Location& at = channel.location;
    const double r = std::hypot(at.x, at.y, at.z);
    channel.harmonics = {1.0f};
    if (r >= nothing)
        hcml::directionPolynomials(at.x / r, at.y / r, at.z / r, hcml::highestOrder,
                                   channel.harmonics.data());
}

}  // namespace

bool Channel::operator==(const Channel& other) const {
    return name == other.name && location == other.location;
}

void Channel::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Channel");
    Channel fresh;
    fresh.name = node.GetAttribute("Name");
    fresh.location = ReadLocation(node);
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Channel::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Channel";
    node->attributes["Name"] = name;
    WriteLocation(location, *node);
    return node;
}

bool Array::operator==(const Array& other) const {
    return name == other.name && channels == other.channels;
}

void Array::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Array");
    Array fresh;
    fresh.name = node.GetAttribute("Name");
    for (const auto& child : node.children)
        if (child->label == "Channel") fresh.channels.emplace_back().Read(*child);
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Array::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Array";
    node->attributes["Name"] = name;
    for (const Channel& channel : channels)
        node->AddChild(channel.CreateNode());
    return node;
}

void ArraySet::Read(const slib::SXMLNode& node) {
    node.CheckLabel("ArraySet");
    std::map<std::string, Array> fresh;
    for (const auto& child : node.children) {
        if (child->label != "Array") continue;
        Array array;
        array.Read(*child);
        std::string name = array.name;
        fresh.insert_or_assign(std::move(name), std::move(array));
    }
    Validate(fresh);
    arrays = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> ArraySet::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "ArraySet";
    for (const auto& [name, array] : arrays)
        node->AddChild(array.CreateNode());
    return node;
}

void ArraySet::Reset() {
    arrays.clear();
    for (const DefaultArray& source : defaultArrays)
        arrays.emplace(std::string(source.name), BuildDefault(source));
}

const Array& ArraySet::GetArray(int type) const {
    if (type < firstType || type > lastType) slib::ThrowUnreachable("orb3core/array", __LINE__);
    const auto found =
        arrays.find(std::string(defaultArrays[static_cast<std::size_t>(type - firstType)].name));
    if (found == arrays.end()) ThrowNotPresent();
    return found->second;
}

void ArraySet::Prepare() {
    for (auto& [name, array] : arrays) {
        array.isFlat = std::none_of(array.channels.begin(), array.channels.end(), [](const Channel& channel) {
            return std::abs(channel.location.z) > nothing;
        });
        std::for_each(array.channels.begin(), array.channels.end(), PrepareChannel);
    }
}

}  // namespace orb3::array
