#include "platform/outputnames.h"

#include <map>

#include "slib/text.h"

namespace platform {
namespace {

std::string Ending(const std::string& identifier) {
    return " (" + identifier + ")";
}

}  // namespace

std::string FullName(const std::string& description, const std::string& identifier) {
    const std::string end = Ending(identifier);
    return description.ends_with(end) ? description : description + end;
}

std::string PlainName(const std::string& description, const std::string& identifier) {
    const std::string end = Ending(identifier);
    return description.substr(0, description.size() - (description.ends_with(end) ? end.size() : 0));
}

void TellApart(std::vector<ServerOutput>& outputs) {
    std::map<std::string, int> counts;
    for (const ServerOutput& output : outputs)
        ++counts[output.description];
    for (ServerOutput& output : outputs)
        if (counts.at(output.description) > 1)
            output.description = FullName(output.description, output.identifier);
}

std::string OutputKey(const std::string& description, const std::string& identifier) {
    return slib::KeepAlphanumeric(FullName(description, identifier));
}

}  // namespace platform
