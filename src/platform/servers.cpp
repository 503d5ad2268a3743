#include "platform/servers.h"

#include <memory>

#include "platform/boundedcall.h"
#include "platform/cubebconnection.h"
#include "platform/outputnames.h"
#include "platform/pulseconnection.h"

namespace platform {

using Output = PlatformSettings::Output;

ServerConnectionPtr ConnectServer(Output output) {
    ServerConnectionPtr found;
    if (output == Output::Auto || output == Output::PulseAudio) found = ConnectPulse();
    if (output == Output::Auto && !found) found = ConnectCubeb(nullptr);
    if (output == Output::JACK) found = ConnectCubeb("jack");
    if (output == Output::ALSA) found = ConnectCubeb("alsa");
    return found;
}

ServerConnectionPtr ConnectBounded(Output output) {
    const auto found = std::make_shared<ServerConnectionPtr>();
    const bool isOver = CallBounded([=] { *found = ConnectServer(output); });
    return isOver ? *found : nullptr;
}

std::vector<ServerOutput> ListBounded(const ServerConnectionPtr& connection) {
    if (!connection || !connection->IsHere()) return {};
    const auto found = std::make_shared<std::vector<ServerOutput>>();
    const bool isOver = CallBounded([=] {
        *found = connection->Outputs();
        TellApart(*found);
    });
    return isOver ? *found : std::vector<ServerOutput>();
}

ServerAnswer AskServer(Output output) {
    const auto answer = std::make_shared<ServerAnswer>();
    const bool isOver = CallBounded([=] {
        const ServerConnectionPtr connection = ConnectServer(output);
        if (!connection) return;
        answer->module = connection->Module();
        answer->outputs = connection->Outputs();
        TellApart(answer->outputs);
    });
    if (isOver) return *answer;
    return {.module = {}, .outputs = {}, .hasHung = true};
}

}  // namespace platform
