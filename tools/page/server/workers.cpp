#include "tools/page/server/workers.h"

#include <utility>

namespace page {

class Workers::Worker : public slib::Thread {
public:
    explicit Worker(Workers& all) : Thread("Client", Priority::Normal), all(all) {}

    // The two halves of Stop, between which all are woken.
    void AskToEnd() { isEnding = RequestStop(); }
    void AwaitEnding() {
        if (isEnding) AwaitEnd();
    }

private:
    void Run() override {
        for (;;) {
            all.work.Wait();
            if (IsStopRequested()) return;
            slib::Lock lock(all.mutex);
            Descriptor client = std::move(all.clients.front());
            all.clients.pop_front();
            lock.Release();
            all.room.Post();
            all.serve(std::move(client));
        }
    }

    Workers& all;
    bool isEnding = false;
};

Workers::Workers(std::function<void(Descriptor)> serve) : serve(std::move(serve)) {
    room.Post(mostWaiting);
    for (std::unique_ptr<Worker>& worker : workers)
        worker = std::make_unique<Worker>(*this);
    try {
        for (const std::unique_ptr<Worker>& worker : workers)
            worker->Start();
    } catch (...) {
        End();
        throw;
    }
}

Workers::~Workers() {
    End();
}

void Workers::End() {
    for (const std::unique_ptr<Worker>& worker : workers)
        worker->AskToEnd();
    work.Post(count);
    for (const std::unique_ptr<Worker>& worker : workers)
        worker->AwaitEnding();
}

void Workers::Take(Descriptor client) {
    room.Wait();
    {
        const slib::Lock lock(mutex);
        clients.push_back(std::move(client));
    }
    work.Post();
}

}  // namespace page
