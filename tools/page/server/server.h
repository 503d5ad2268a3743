#pragma once

// The page's server: HTTP for browsers of this machine, by the guard's leave. The one place that knows the
// HTTP library. Any thread.

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "tools/page/api/api.h"
#include "tools/page/server/asset.h"

namespace page {

/// What there is to serve. All of it outlives the server.
struct Content {
    std::span<const Asset> files;
    std::span<const Route> routes;
    std::string version;
};

class Server {
public:
    using Clock = std::chrono::steady_clock;

    /// Serves from now on. `token` is what requests below /api/ need. `onOpened` is called whenever the page
    /// itself was asked for and then something with the token, on a thread of the server's. Throws a
    /// slib::Exception when the machine has no port or no thread for it.
    Server(const Content& content, std::string token, std::function<void()> onOpened);
    /// Ends the connections and the job; waits for answers that are being made.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Cancels the job and waits for so long. False when it goes on.
    bool EndJob(std::chrono::milliseconds patience);

    /// Since the last request with the token, or the start.
    [[nodiscard]] Clock::duration Idle() const;

    int port = 0;
    bool hasV6 = false;  ///< it is also at ::1

private:
    class Http;
    std::unique_ptr<Http> http;
};

}  // namespace page
