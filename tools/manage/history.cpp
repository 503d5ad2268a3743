#include "tools/manage/history.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <memory>
#include <utility>

#include "orb3core/store/configstore.h"
#include "platform/storefile.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/sxml.h"
#include "slib/text.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

using slib::SXMLNode;

constexpr const char* version = "1";

thread_local ChangeStep* outermost = nullptr;

std::unique_ptr<SXMLNode> NodeOf(const Step& step) {
    auto node = std::make_unique<SXMLNode>();
    node->label = "Step";
    node->attributes = {{"What", step.what}, {"Time", step.time}};
    for (const ChangedValue& value : step.values) {
        auto child = std::make_unique<SXMLNode>();
        child->label = "Value";
        child->attributes = {{"Key", value.key}, {"Before", value.before}, {"After", value.after}};
        node->AddChild(std::move(child));
    }
    return node;
}

std::string TextOf(const History& history) {
    SXMLNode root;
    root.label = "History";
    root.attributes = {{"Version", version}, {"Undone", std::to_string(history.undone.size())}};
    if (history.power) {
        root.attributes["Processors"] = std::to_string(history.power->processors);
        root.attributes["Rating"] = slib::FormatNumber(history.power->rating);
    }
    for (const Step& step : history.done)
        root.AddChild(NodeOf(step));
    for (auto step = history.undone.rbegin(); step != history.undone.rend(); ++step)
        root.AddChild(NodeOf(*step));
    return root.ToString(SXMLNode::Style::Compact) + "\n";
}

Step StepOf(const SXMLNode& node) {
    node.CheckLabel("Step");
    Step step{node.GetAttribute("What"), node.GetAttribute("Time"), {}};
    for (const auto& child : node.children)
        step.values.push_back(
            {child->GetAttribute("Key"), child->GetAttribute("Before"), child->GetAttribute("After")});
    return step;
}

std::optional<MeasuredPower> PowerOf(const SXMLNode& root) {
    if (!root.HasAttribute("Rating") || !root.HasAttribute("Processors")) return std::nullopt;
    const int processors = slib::ParseInt(root.GetAttribute("Processors"));
    const double rating = slib::ParseDouble(root.GetAttribute("Rating"));
    if (processors <= 0 || !std::isfinite(rating) || rating < 0) return std::nullopt;
    return MeasuredPower{static_cast<unsigned>(processors), rating};
}

History Parsed(const std::string& text) {
    const SXMLNode root(text);
    root.CheckLabel("History");
    if (root.GetAttribute("Version") != version)
        throw slib::BadDataException("It was written by another version.");
    History history{{}, {}, PowerOf(root)};
    for (const auto& child : root.children)
        history.done.push_back(StepOf(*child));
    const auto undone = static_cast<std::size_t>(std::max(0, slib::ParseInt(root.GetAttribute("Undone"))));
    for (std::size_t i = 0; i < undone && !history.done.empty(); ++i) {
        history.undone.push_back(std::move(history.done.back()));
        history.done.pop_back();
    }
    return history;
}

void Store(const std::filesystem::path& file, const std::string& text) {
    // What is there keeps its permissions, so it is made with those of a private file.
    const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (made >= 0) close(made);
    if (platform::ReplaceStoreFile(file, text, platform::Durability::Process)) return;
    throw slib::BadStateException(
        "What was changed can't be kept for 'undo' in '" + file.string() +
        "'. Make sure that you may write to this file and its folder, and that the disk isn't full.");
}

bool IsChange(const ChangedValue& value) {
    return value.before != value.after;
}

}  // namespace

std::filesystem::path HistoryFile() {
    return platform::UserStorePath(orb3::storeRoot).parent_path() / "history.sxml";
}

History ReadHistory(std::string* problem) {
    const std::optional<std::string> text = platform::ReadStoreFile(HistoryFile());
    if (text && text->empty()) return {};
    try {
        if (!text) throw slib::OperatingSystemErrnoException("It can't be read.");
        return Parsed(*text);
    } catch (const slib::Exception& fault) {
        if (problem != nullptr)
            *problem = "'" + HistoryFile().string() +
                       "', which has the changes that can be taken back, can't be used and is left aside. " +
                       fault.what();
        return {};
    }
}

void ChangeHistory(const std::function<void(History&)>& change) {
    const std::filesystem::path file = HistoryFile();
    const platform::StoreFileLock lock(file);
    if (!lock.IsHeld())
        throw slib::BadStateException("'" + file.string() +
                                      "' can't be changed. Make sure that you may write to its folder.");
    History history = ReadHistory();
    change(history);
    if (history.done.size() > mostSteps)
        history.done.erase(history.done.begin(), history.done.end() - static_cast<std::ptrdiff_t>(mostSteps));
    Store(file, TextOf(history));
}

ChangeStep::ChangeStep(std::string what) : step{std::move(what), UtcTime(), {}} {
    if (outermost == nullptr) outermost = this;
}

ChangeStep::~ChangeStep() {
    if (outermost != this) return;
    outermost = nullptr;
    std::erase_if(step.values, [](const ChangedValue& value) { return !IsChange(value); });
    if (step.values.empty()) return;
    try {
        ChangeHistory([&](History& history) {
            history.done.push_back(std::move(step));
            history.undone.clear();
        });
    } catch (const std::exception& failure) {
        Complain(failure.what());
    }
}

void ChangeStep::Note(const std::vector<ChangedValue>& values) {
    if (outermost == nullptr) {
        const ChangeStep own("a change of the settings");
        return Note(values);
    }
    std::vector<ChangedValue>& noted = outermost->step.values;
    for (const ChangedValue& value : values) {
        const auto known = std::ranges::find(noted, value.key, &ChangedValue::key);
        if (known == noted.end())
            noted.push_back(value);
        else
            known->after = value.after;
    }
}

std::string UtcTime() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

}  // namespace tool
