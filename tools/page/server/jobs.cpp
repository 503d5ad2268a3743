#include "tools/page/server/jobs.h"

#include <algorithm>
#include <array>
#include <utility>

#include "slib/mutex.h"
#include "slib/thread.h"
#include "tools/page/server/guard.h"

namespace page {

// The thread, which is started anew for each job.
class Jobs::Job : public slib::Thread, public Report {
public:
    Job() : Thread("Job", Priority::Normal) {}
    ~Job() override { Stop(); }

    std::optional<int> Begin(std::string what, Work next) {
        const slib::Lock lock(mutex);
        if (view.number != 0 && view.state == JobState::Running) return std::nullopt;
        JobView begun;
        begun.number = view.number + 1;
        begun.what = std::move(what);
        Stop();  // has ended but for its last instructions, which take no lock
        isCancelled = false;
        work = std::move(next);
        std::swap(view, begun);
        try {
            Thread::Start();
        } catch (...) {
            std::swap(view, begun);
            throw;
        }
        return view.number;
    }

    JobView View() const {
        const slib::Lock lock(mutex);
        return view;
    }

    bool Cancel(int number) {
        const slib::Lock lock(mutex);
        if (view.number != number || number == 0 || view.state != JobState::Running) return false;
        isCancelled = true;
        return true;
    }

    bool End(std::uint32_t milliseconds) {
        isCancelled = true;
        return !RequestStop() || AwaitEndFor(milliseconds);
    }

    void Step(double share, std::string_view text) override {
        const slib::Lock lock(mutex);
        view.share = share < 0 ? -1 : std::min(share, 1.0);
        view.text = text;
    }

    bool IsCancelled() const override { return isCancelled; }

protected:
    void Run() override {
        const Answer answer = std::exchange(work, nullptr)(*this);
        const slib::Lock lock(mutex);
        const bool isDone = answer.status < status::badRequest;
        view.status = answer.status;
        view.answer = answer.json;
        view.sentence = isCancelled && !isDone ? "" : answer.sentence;
        view.state = isDone ? JobState::Done : isCancelled ? JobState::Cancelled : JobState::Failed;
    }

private:
    mutable slib::Mutex mutex;
    JobView view SLIB_GUARDED_BY(mutex);
    Work work;  // set before the thread starts, taken by it
    std::atomic<bool> isCancelled{false};
};

std::string_view NameOf(JobState state) {
    constexpr std::array<std::string_view, 4> names{"running", "done", "failed", "cancelled"};
    return names[static_cast<std::size_t>(state)];
}

Jobs::Jobs() : job(std::make_unique<Job>()) {}

Jobs::~Jobs() = default;

std::optional<int> Jobs::Start(std::string what, Work work) {
    return job->Begin(std::move(what), std::move(work));
}

std::optional<JobView> Jobs::Look(int number) const {
    JobView view = job->View();
    if (number == 0 || view.number != number) return std::nullopt;
    return view;
}

int Jobs::Latest() const {
    return job->View().number;
}

bool Jobs::Cancel(int number) {
    return job->Cancel(number);
}

bool Jobs::End(std::uint32_t milliseconds) {
    return job->End(milliseconds);
}

}  // namespace page
