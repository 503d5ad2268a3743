#include "platform/outputnames.h"

#include <map>

#include "slib/text.h"

namespace platform {

std::string FullName(const std::string& description, const std::string& identifier) {
    const std::string end = " (" + identifier + ")";
    return description.ends_with(end) ? description : description + end;
}

void TellApart(std::vector<ServerOutput>& outputs) {
    std::map<std::string, std::string> firsts;  // identifiers, by descriptions
    for (const ServerOutput& output : outputs) {
        const auto [first, isNew] = firsts.emplace(output.description, output.identifier);
        if (!isNew && output.identifier < first->second) first->second = output.identifier;
    }
    for (ServerOutput& output : outputs)
        if (firsts.at(output.description) != output.identifier)
            output.description = FullName(output.description, output.identifier);
}

std::string OutputKey(const std::string& description, const std::string& identifier) {
    return slib::KeepAlphanumeric(FullName(description, identifier));
}

}  // namespace platform
