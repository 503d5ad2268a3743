#include "tools/support/jsonobject.h"

#include <nlohmann/json.hpp>

#include "tools/support/wronguse.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* wrong = "The page sent what this program can't read: ";
constexpr const char* remedy = " Load the page again.";

}  // namespace

// Objects that keep their order look for a name one by one, so the bound on parts is one on time.
nlohmann::ordered_json ParseJsonObject(std::string_view text) {
    std::size_t parts = 0;
    const auto count = [&parts](int depth, Json::parse_event_t event, const Json&) {
        const bool isDeeper =
            event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
        if ((isDeeper && depth >= deepestJson) || ++parts > mostJsonParts)
            throw WrongUse(std::string(wrong) + "it is too deep or has too many parts." + remedy);
        return true;
    };
    try {
        Json document = Json::parse(text, count);
        if (document.is_object()) return document;
    } catch (const Json::exception&) {
        throw WrongUse(std::string(wrong) + "it is no JSON." + remedy);
    }
    throw WrongUse(std::string(wrong) + "it is no object." + remedy);
}

}  // namespace tool
