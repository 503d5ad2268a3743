#include "goal/recordingrequest.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/floatfile.h"
#include "platform/privileges.h"
#include "platform/processid.h"
#include "platform/runtimefolder.h"
#include "slib/enumtexts.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "slib/sxml.h"

namespace goal {
namespace {

constexpr std::uint64_t longestRequest = 65536;  // bytes

constexpr auto whatTexts = slib::MakeEnumTexts<RecordingRequest::What>("Field", "Output", "Both");

template <typename Number>
Number NumberOf(const slib::SXMLNode& node, const char* attribute) {
    const std::string& text = node.GetAttribute(attribute);
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

std::string RecordingRequest::OutputPath() const {
    if (what == What::Output) return path;
    const std::filesystem::path whole(path);
    return (whole.parent_path() / (whole.stem().string() + "-output" + whole.extension().string())).string();
}

std::string RequestText(const RecordingRequest& request) {
    slib::SXMLNode node;
    node.label = "Recording";
    node.attributes["Number"] = std::to_string(request.number);
    node.attributes["Process"] = std::to_string(request.pid);
    node.attributes["StartTime"] = std::to_string(request.startTime);
    node.attributes["What"] = whatTexts.TextOf(request.what);
    node.attributes["File"] = request.path;
    return node.ToString(slib::SXMLNode::Style::Compact);
}

std::optional<RecordingRequest> ParseRequest(const std::string& text) {
    if (text.empty()) return std::nullopt;
    try {
        const slib::SXMLNode node(text);
        const auto what = whatTexts.Find(node.GetAttribute("What"));
        RecordingRequest request{NumberOf<std::uint64_t>(node, "Number"),
                                 NumberOf<std::int32_t>(node, "Process"),
                                 NumberOf<std::uint64_t>(node, "StartTime"),
                                 what.value_or(RecordingRequest::What::Field), node.GetAttribute("File")};
        const bool isUsable = what && node.label == "Recording" && request.path.starts_with('/') &&
                              platform::FloatFile::IsNamedWell(request.path);
        return isUsable ? std::optional(request) : std::nullopt;
    } catch (const slib::BadDataException&) {
        return std::nullopt;
    }
}

std::optional<RecordingRequest> FindRequest() {
    if (platform::HasMoreRightsThanItsCaller()) return std::nullopt;
    for (const std::filesystem::path& folder : platform::RuntimeFolders(orb3::storeRoot)) {
        const std::string path = folder / RecordingFileName(getpid());
        std::string text;
        if (!slib::fileExists(path) || slib::getFileSize(path) > longestRequest) continue;
        slib::readFile(path, text);
        std::optional<RecordingRequest> request = ParseRequest(text);
        if (request && platform::IsThisProcess(request->pid, request->startTime)) return request;
    }
    return std::nullopt;
}

}  // namespace goal
