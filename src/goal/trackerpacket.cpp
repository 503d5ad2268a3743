#include "goal/trackerpacket.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <optional>
#include <string_view>

namespace goal {
namespace {

using Bytes = std::span<const std::byte>;
using Kind = TrackerPacket::Kind;
using hcml::Quaternion;

constexpr double radians = std::numbers::pi / 180;
constexpr int deepest = 4;  // bundles in bundles

TrackerPacket PoseOf(double yaw, double pitch, double roll) {
    constexpr double most = 1e6;  // degrees: beyond it nobody has turned
    for (const double angle : {yaw, pitch, roll})
        if (!(std::abs(angle) <= most)) return {};
    return {Kind::Pose, hcml::FromYawPitchRoll(yaw * radians, pitch * radians, roll * radians)};
}

TrackerPacket PoseOf(const Quaternion& turn) {
    const double length = Dot(turn, turn);
    if (!(length > 0.25 && length < 4)) return {};
    return {Kind::Pose, Normalised(turn)};
}

template <typename Number>
Number BigEndian(Bytes bytes) {
    std::array<std::byte, sizeof(Number)> turned;
    std::reverse_copy(bytes.begin(), bytes.begin() + sizeof(Number), turned.begin());
    return std::bit_cast<Number>(turned);
}

// A text that ends in a NUL and is filled up to four bytes.
std::optional<std::string_view> TakeText(Bytes& bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{});
    if (end == bytes.end()) return std::nullopt;
    const auto length = static_cast<std::size_t>(end - bytes.begin());
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), length);
    const std::size_t whole = (length / 4 + 1) * 4;
    if (whole > bytes.size()) return std::nullopt;
    bytes = bytes.subspan(whole);
    return text;
}

std::optional<double> TakeNumber(char type, Bytes& bytes) {
    const std::size_t size = type == 'd' || type == 'h' ? 8 : 4;
    if (bytes.size() < size) return std::nullopt;
    const Bytes number = bytes.first(size);
    bytes = bytes.subspan(size);
    switch (type) {
        case 'f':
            return BigEndian<float>(number);
        case 'd':
            return BigEndian<double>(number);
        case 'i':
            return BigEndian<std::int32_t>(number);
        default:
            return std::nullopt;
    }
}

// The first numbers of a message, 0 where there are none, and how many there are.
struct Numbers {
    std::array<double, 4> values{};
    std::size_t count = 0;
};

Numbers TakeNumbers(Bytes bytes) {
    Numbers numbers;
    const auto types = TakeText(bytes);
    if (!types || !types->starts_with(',')) return numbers;
    for (const char type : types->substr(1)) {
        if (numbers.count == numbers.values.size()) break;
        const std::optional<double> value = TakeNumber(type, bytes);
        if (!value) break;
        numbers.values[numbers.count++] = *value;
    }
    return numbers;
}

TrackerPacket ParseMessage(Bytes bytes) {
    const auto address = TakeText(bytes);
    if (!address || !address->starts_with('/')) return {};
    const std::string_view name = address->substr(address->rfind('/') + 1);
    if (name == "centre" || name == "center") return {Kind::Centre, {}};
    const auto [values, count] = TakeNumbers(bytes);
    if (name == "ypr" && count >= 3) return PoseOf(values[0], values[1], values[2]);
    if ((name == "quaternion" || name == "quaternions") && count >= 4)
        return PoseOf(Quaternion{values[0], values[1], values[2], values[3]});
    return {};
}

TrackerPacket ParseElement(Bytes bytes, int depth);

// Behind "#bundle" and its time: elements, each with its size before it.
TrackerPacket ParseBundle(Bytes bytes, int depth) {
    constexpr std::size_t head = 16, sizeOfSize = 4;
    TrackerPacket last;
    if (depth == deepest || bytes.size() < head) return last;
    bytes = bytes.subspan(head);
    while (bytes.size() > sizeOfSize) {
        const auto size = BigEndian<std::uint32_t>(bytes);
        bytes = bytes.subspan(sizeOfSize);
        if (size == 0 || size > bytes.size()) break;
        const TrackerPacket packet = ParseElement(bytes.first(size), depth + 1);
        if (packet.kind != Kind::Unknown) last = packet;
        bytes = bytes.subspan(size);
    }
    return last;
}

TrackerPacket ParseElement(Bytes bytes, int depth) {
    constexpr std::string_view bundle("#bundle\0", 8);
    const bool isBundle =
        bytes.size() >= bundle.size() && std::memcmp(bytes.data(), bundle.data(), bundle.size()) == 0;
    return isBundle ? ParseBundle(bytes, depth) : ParseMessage(bytes);
}

TrackerPacket ParseSixDoubles(Bytes bytes) {
    static_assert(std::endian::native == std::endian::little);
    std::array<double, 6> values;
    if (bytes.size() != sizeof values) return {};
    std::memcpy(values.data(), bytes.data(), sizeof values);
    return PoseOf(values[3], values[4], values[5]);
}

}  // namespace

TrackerPacket ParseTrackerPacket(Bytes packet) {
    const TrackerPacket message = ParseElement(packet, 0);
    return message.kind != Kind::Unknown ? message : ParseSixDoubles(packet);
}

}  // namespace goal
