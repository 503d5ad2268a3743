#include "orb3core/transform/transformcompression.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "slib/exception.h"

namespace orb3::strans {
namespace {

constexpr std::size_t shortestSplit = 16;  // values
constexpr unsigned mostOrder = 3;
constexpr unsigned rawParameter = 31;  // of a group whose values are stored as they are

// The choices of a plan. Those from 0 on are leaves of that order.
constexpr std::uint8_t zeroLeaf = mostOrder + 1;
constexpr std::uint8_t split = zeroLeaf + 1;

using Values = std::span<const std::int32_t>;

// Sums and differences wrap at 32 bits, so that one undoes the other whatever the values.
std::int32_t Sum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
std::int32_t Difference(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

// The first `order` values become partial differences only.
void TakeDifferences(std::span<std::int32_t> values, unsigned order) {
    for (std::size_t first = order; first > 0; --first)
        for (std::size_t i = values.size() - 1; i >= first; --i)
            values[i] = Difference(values[i], values[i - 1]);
}

void UndoDifferences(std::span<std::int32_t> values, unsigned order) {
    for (std::size_t first = 1; first <= order; ++first)
        for (std::size_t i = first; i < values.size(); ++i)
            values[i] = Sum(values[i], values[i - 1]);
}

std::uint32_t Folded(std::int32_t value) {
    return static_cast<std::uint32_t>(value < 0 ? -1 - value : value);
}

unsigned RiceParameter(Values group) {
    std::uint64_t sum = 0;
    for (const std::int64_t value : group)
        sum += static_cast<std::uint64_t>(value < 0 ? -value : value);
    unsigned k = 0;
    while (k < rawParameter && std::uint64_t{group.size()} << k < sum)
        ++k;
    return k;
}

std::uint64_t GroupCost(Values group) {
    if (group.empty()) return 0;
    const unsigned k = RiceParameter(group);
    if (k == rawParameter) return 5 + std::uint64_t{32} * group.size();
    std::uint64_t cost = 5 + std::uint64_t{k + 2} * group.size();
    for (const std::int32_t value : group)
        cost += Folded(value) >> k;
    return cost;
}

void WriteGroup(BitWriter& bits, Values group) {
    if (group.empty()) return;
    const unsigned k = RiceParameter(group);
    bits.Put(k, 5);
    for (const std::int32_t value : group) {
        if (k == rawParameter) {
            bits.Put(static_cast<std::uint32_t>(value), 32);
            continue;
        }
        const std::uint32_t folded = Folded(value);
        bits.Put(value < 0 ? 1 : 0, 1);
        bits.Put(folded & ((1U << k) - 1), k);
        bits.PutOnes(folded >> k);
    }
}

std::int32_t ReadRiceValue(BitReader& bits, unsigned k) {
    const bool isNegative = bits.TakeBit();
    const std::uint32_t low = bits.Take(k);
    const std::uint64_t high = bits.TakeOnes();
    constexpr std::uint32_t limit = std::numeric_limits<std::int32_t>::max();
    if (high > limit >> k)
        throw slib::BadDataException("A transform to be loaded holds a value of more than 32 bits.");
    const auto folded = static_cast<std::int32_t>(static_cast<std::uint32_t>(high << k) | low);
    return isNegative ? -1 - folded : folded;
}

void ReadGroup(BitReader& bits, std::span<std::int32_t> group) {
    if (group.empty()) return;
    const unsigned k = bits.Take(5);
    for (std::int32_t& value : group)
        value = k == rawParameter ? static_cast<std::int32_t>(bits.Take(32)) : ReadRiceValue(bits, k);
}

void ReadLeaf(BitReader& bits, std::span<std::int32_t> values) {
    if (!bits.TakeBit()) {
        std::fill(values.begin(), values.end(), 0);
        return;
    }
    const unsigned low = bits.Take(1);
    const unsigned order = bits.Take(1) << 1 | low;
    if (order > values.size())
        throw slib::BadDataException("A transform to be loaded holds fewer values than it has differences.");
    ReadGroup(bits, values.first(order));
    ReadGroup(bits, values.subspan(order));
    UndoDifferences(values, order);
}

bool IsZero(Values values) {
    return std::all_of(values.begin(), values.end(), [](std::int32_t value) { return value == 0; });
}

}  // namespace

// Leaves in `choice` the order that takes the fewest whole bytes, and returns the bits of that leaf.
std::uint64_t ImpulseEncoder::PlanLeaf(Values values, std::uint8_t& choice) {
    choice = zeroLeaf;
    if (IsZero(values)) return 1;
    std::uint64_t least = std::numeric_limits<std::uint64_t>::max() - 7;
    for (unsigned order = 0; order <= std::min<std::size_t>(mostOrder, values.size()); ++order) {
        differences.assign(values.begin(), values.end());
        TakeDifferences(differences, order);
        const Values coded = differences;
        const std::uint64_t cost = 3 + GroupCost(coded.first(order)) + GroupCost(coded.subspan(order));
        if ((cost + 7) / 8 >= (least + 7) / 8) continue;
        least = cost;
        choice = static_cast<std::uint8_t>(order);
    }
    return least;
}

// Appends the choices for a segment to the plan, and returns its bits.
std::uint64_t ImpulseEncoder::Plan(Values values) {
    const std::size_t at = plan.size();
    plan.push_back(zeroLeaf);
    std::uint8_t choice = zeroLeaf;
    const std::uint64_t whole = PlanLeaf(values, choice);
    plan[at] = choice;
    if (values.size() < shortestSplit) return whole;
    const std::size_t half = values.size() / 2;
    std::uint64_t halves = Plan(values.first(half));  // first, for the plan has the choices in this order
    halves += Plan(values.subspan(half));
    if (whole <= halves) {
        plan.resize(at + 1);
        return whole + 1;
    }
    plan[at] = split;
    return halves + 1;
}

void ImpulseEncoder::WriteLeaf(Values values, std::uint8_t choice) {
    bits.Put(choice == zeroLeaf ? 0 : 1, 1);
    if (choice == zeroLeaf) return;
    bits.Put(choice & 1U, 1);
    bits.Put(choice >> 1U, 1);
    differences.assign(values.begin(), values.end());
    TakeDifferences(differences, choice);
    const Values coded = differences;
    WriteGroup(bits, coded.first(choice));
    WriteGroup(bits, coded.subspan(choice));
}

// Writes the segment whose choice is at `at` in the plan, and returns the place after its choices.
std::size_t ImpulseEncoder::Write(Values values, std::size_t at) {
    const std::uint8_t choice = plan[at++];
    if (values.size() >= shortestSplit) bits.Put(choice == split ? 1 : 0, 1);
    if (choice != split) {
        WriteLeaf(values, choice);
        return at;
    }
    const std::size_t half = values.size() / 2;
    return Write(values.subspan(half), Write(values.first(half), at));
}

void ImpulseEncoder::Encode(Values values) {
    plan.clear();
    Plan(values);
    Write(values, 0);
}

// No deeper than the halvings of a length.
void DecodeImpulse(BitReader& bits, std::span<std::int32_t> values) {
    if (values.size() < shortestSplit || !bits.TakeBit()) return ReadLeaf(bits, values);
    const std::size_t half = values.size() / 2;
    DecodeImpulse(bits, values.first(half));
    DecodeImpulse(bits, values.subspan(half));
}

}  // namespace orb3::strans
