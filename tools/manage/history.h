#pragma once

// What tessarune-config and the page have changed in the settings, step by step, so that it can be taken
// back: the values of the user's store before and after. The steps are stored beside the store in a file that
// is the user's alone, written whole; nothing depends on it, and one that is damaged counts as empty. Any
// thread.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// A value of the store; empty texts are none.
struct ChangedValue {
    std::string key, before, after;
};

struct Step {
    std::string what;  ///< for people: "Order 4"
    std::string time;  ///< UTC: "2026-11-27T10:00:00Z"
    std::vector<ChangedValue> values;
};

/// How fast the machine was when it was measured last.
struct MeasuredPower {
    unsigned processors = 0;
    double rating = 0;  ///< of one processor (hcml::performance::MeasurePower)
};

struct History {
    std::vector<Step> done;    ///< the last is the one that is taken back first
    std::vector<Step> undone;  ///< the last is the one that is made again first
    std::optional<MeasuredPower> power;
};

/// How many steps are kept.
inline constexpr std::size_t mostSteps = 20;

std::filesystem::path HistoryFile();

/// Empty where there is none. A damaged file is told of by `problem`, a sentence, and else counts as empty.
History ReadHistory(std::string* problem = nullptr);

/// Changes it as one step that no other process comes between. Throws slib::BadStateException where it can't
/// be stored.
void ChangeHistory(const std::function<void(History&)>& change);

/// All that this thread changes in the store while one of these lives is one step, which is stored at the end
/// of the outermost. That it couldn't be stored is said on standard error: the change itself stands.
class ChangeStep {
public:
    explicit ChangeStep(std::string what);
    ~ChangeStep();
    ChangeStep(const ChangeStep&) = delete;
    ChangeStep& operator=(const ChangeStep&) = delete;

    /// Called by what writes to the store, with what it wrote.
    static void Note(const std::vector<ChangedValue>& values);

private:
    Step step;
};

/// Now, as steps have it.
std::string UtcTime();

}  // namespace tool
