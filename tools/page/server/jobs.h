#pragma once

// The long work that the page has started: one at a time, on a thread of its own, with what it tells of
// itself, and its end, which is kept until the next begins. Any thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tools/page/api/api.h"

namespace page {

enum class JobState { Running, Done, Failed, Cancelled };

/// "running", "done" and so on.
std::string_view NameOf(JobState state);

struct JobView {
    int number = 0;
    std::string what;  ///< the path that was asked for
    JobState state = JobState::Running;
    double share = -1;     ///< from 0 to 1, below 0 where it isn't known
    std::string text;      ///< a few words on what is done now
    std::string answer;    ///< JSON; of one that is done
    int status = 0;        ///< of one that has failed
    std::string sentence;  ///< likewise
};

/// What a work comes to.
struct Answer {
    int status = 200;
    std::string json;      ///< where the status is 200 or 202
    std::string sentence;  ///< for a person, where it isn't
    int job = 0;           ///< with 409: the one that runs
};

class Jobs {
public:
    /// Returns the answer or what went wrong, and throws nothing.
    using Work = std::function<Answer(Report&)>;

    Jobs();
    /// As End.
    ~Jobs();
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    /// Starts it and returns its number; nothing when another one runs. Throws what slib::Thread::Start does.
    std::optional<int> Start(std::string what, Work work);

    /// Nothing when it is neither the one that runs nor the one that ran last.
    std::optional<JobView> Look(int number) const;

    /// The one that runs, else that which ran last; 0 before the first.
    int Latest() const;

    /// False when that one doesn't run.
    bool Cancel(int number);

    /// Cancels what runs and waits for its end for so long. False when it goes on.
    bool End(std::uint32_t milliseconds);

private:
    class Job;
    std::unique_ptr<Job> job;
};

}  // namespace page
