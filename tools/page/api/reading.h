#pragma once

// How answers read what the page sent: each member by its type and within its bounds. All of these throw
// tool::WrongUse, with a sentence that names the member, for what isn't so. Plain functions; any thread.

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "slib/enumtexts.h"
#include "slib/exception.h"
#include "tools/manage/report.h"
#include "tools/page/api/api.h"
#include "tools/support/wronguse.h"

namespace page {

inline constexpr std::size_t mostName = 64;       ///< characters of a name or a label
inline constexpr std::size_t mostWord = 256;      ///< bytes of a device's id, or of a setting's value
inline constexpr std::size_t mostText = 1 << 20;  ///< bytes of what a person pasted
inline constexpr std::size_t mostSpeakers = 64;

/// A text of that member, of some characters and without control characters.
std::string NameIn(const Json& object, const char* member);
/// The same, empty where there is no such member, or null.
std::string WordIn(const Json& object, const char* member, std::size_t most = mostWord);
/// Any text, of at least a character.
std::string TextIn(const Json& object, const char* member);

/// Finite, and within the bounds.
double NumberIn(const Json& object, const char* member, double least, double greatest);
/// Nothing where there is no such member, or null.
std::optional<double> OptionalNumberIn(const Json& object, const char* member, double least, double greatest);
unsigned WholeIn(const Json& object, const char* member, unsigned least, unsigned greatest);
/// Nothing where there is no such member, or null.
std::optional<unsigned> OptionalWholeIn(const Json& object, const char* member, unsigned least,
                                        unsigned greatest);

/// False where there is no such member.
bool FlagIn(const Json& object, const char* member);

/// The value whose text it is. `texts` are those of an enumeration.
template <typename Enum, std::size_t count>
Enum ChoiceIn(const Json& object, const char* member, const slib::EnumTexts<Enum, count>& texts) {
    if (const std::optional<Enum> found = texts.Find(WordIn(object, member))) return *found;
    std::string known;
    for (const std::string_view text : texts.texts)
        known.append(known.empty() ? "" : ", ").append(text);
    throw tool::WrongUse("'" + std::string(member) + "' must be one of " + known + ".");
}
/// Nothing where there is no such member, or null.
template <typename Enum, std::size_t count>
std::optional<Enum> OptionalChoiceIn(const Json& object, const char* member,
                                     const slib::EnumTexts<Enum, count>& texts) {
    const auto found = object.find(member);
    if (found == object.end() || found->is_null()) return std::nullopt;
    return ChoiceIn(object, member, texts);
}

/// An array of 1 to `mostSpeakers` objects.
const Json& ObjectsIn(const Json& object, const char* member);

/// A parameter of the address, as NameIn.
std::string NameIn(const Request& request, const std::string& parameter);

/// With three decimals, as far as people measure.
double Rounded(double value);

/// Passes steps on to the page; ends the work, by tool::Cancelled, where the person doesn't want it any more.
tool::StepReport StepsOf(Report& report);

/// What `work` returns. Bad data is what the page sent there, so it becomes tool::WrongUse.
template <typename Work>
auto FromPage(const Work& work) {
    try {
        return work();
    } catch (const slib::BadDataException& fault) {
        throw tool::WrongUse(fault.what());
    } catch (const slib::BadParameterException& fault) {
        throw tool::WrongUse(fault.what());
    }
}

}  // namespace page
