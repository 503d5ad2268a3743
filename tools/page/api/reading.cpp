#include "tools/page/api/reading.h"

#include <algorithm>
#include <cmath>

#include "slib/text.h"
#include "tools/support/terminal.h"

namespace page {
namespace {

[[noreturn]] void Refuse(const char* member, const std::string& rule) {
    throw tool::WrongUse("'" + std::string(member) + "' must be " + rule + ".");
}

// Null counts as nothing.
const Json* Find(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

bool HasControl(const std::string& text) {
    return std::ranges::any_of(text,
                               [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

std::string CheckedName(const std::string& name, const char* member) {
    if (name.empty() || tool::WidthOf(name) > mostName || HasControl(name))
        Refuse(member, "a name of 1 to " + std::to_string(mostName) + " characters, on one line");
    return name;
}

std::string Bounds(double least, double greatest) {
    return slib::FormatNumber(least) + " to " + slib::FormatNumber(greatest);
}

}  // namespace

std::string NameIn(const Json& object, const char* member) {
    const Json* const value = Find(object, member);
    return CheckedName(value != nullptr && value->is_string() ? value->get<std::string>() : "", member);
}

std::string NameIn(const Request& request, const std::string& parameter) {
    const auto found = request.query.find(parameter);
    return CheckedName(found == request.query.end() ? "" : found->second, parameter.c_str());
}

std::string WordIn(const Json& object, const char* member, std::size_t most) {
    const Json* const value = Find(object, member);
    if (value == nullptr) return "";
    const std::string rule = "a text of at most " + std::to_string(most) + " bytes, on one line";
    if (!value->is_string()) Refuse(member, rule);
    std::string text = value->get<std::string>();
    if (text.size() > most || HasControl(text)) Refuse(member, rule);
    return text;
}

std::string TextIn(const Json& object, const char* member) {
    const Json* const value = Find(object, member);
    if (value == nullptr || !value->is_string()) Refuse(member, "a text");
    std::string text = value->get<std::string>();
    if (text.empty() || text.size() > mostText) Refuse(member, "a text that isn't empty, of 1 MiB at most");
    return text;
}

std::optional<double> OptionalNumberIn(const Json& object, const char* member, double least,
                                       double greatest) {
    const Json* const value = Find(object, member);
    if (value == nullptr) return std::nullopt;
    const double number = value->is_number() ? value->get<double>() : std::nan("");
    if (!(number >= least && number <= greatest)) Refuse(member, "a number of " + Bounds(least, greatest));
    return number;
}

double NumberIn(const Json& object, const char* member, double least, double greatest) {
    const std::optional<double> number = OptionalNumberIn(object, member, least, greatest);
    if (!number) Refuse(member, "a number of " + Bounds(least, greatest));
    return *number;
}

std::optional<unsigned> OptionalWholeIn(const Json& object, const char* member, unsigned least,
                                        unsigned greatest) {
    const std::optional<double> number = OptionalNumberIn(object, member, least, greatest);
    if (!number) return std::nullopt;
    if (*number != std::floor(*number)) Refuse(member, "a whole number of " + Bounds(least, greatest));
    return static_cast<unsigned>(*number);
}

unsigned WholeIn(const Json& object, const char* member, unsigned least, unsigned greatest) {
    const std::optional<unsigned> number = OptionalWholeIn(object, member, least, greatest);
    if (!number) Refuse(member, "a number of " + Bounds(least, greatest));
    return *number;
}

bool FlagIn(const Json& object, const char* member) {
    const Json* const value = Find(object, member);
    if (value == nullptr) return false;
    if (!value->is_boolean()) Refuse(member, "true or false");
    return value->get<bool>();
}

const Json& ObjectsIn(const Json& object, const char* member) {
    const Json* const value = Find(object, member);
    const bool isList =
        value != nullptr && value->is_array() && !value->empty() && value->size() <= mostSpeakers;
    if (!isList || !std::ranges::all_of(*value, [](const Json& entry) { return entry.is_object(); }))
        Refuse(member, "a list of 1 to " + std::to_string(mostSpeakers) + " objects");
    return *value;
}

double Rounded(double value) {
    return std::round(value * 1000) / 1000 + 0.0;  // no "-0"
}

tool::StepReport StepsOf(Report& report) {
    return [&report](std::size_t number, std::size_t all, const std::string& name) {
        if (report.IsCancelled()) throw tool::Cancelled();
        report.Step(static_cast<double>(number - 1) / static_cast<double>(all), name);
    };
}

}  // namespace page
