#include "tools/page/server/handover.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "slib/exception.h"
#include "tools/page/server/descriptor.h"

namespace page {
namespace {

// Works without scripts, and shows the address where it doesn't lead on by itself.
std::string Leading(const std::string& address) {
    return "<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<meta name=\"referrer\" content=\"no-referrer\">\n"
           "<meta http-equiv=\"refresh\" content=\"0;url=" +
           address + "\">\n<title>Tessarune</title>\n<p>The settings of Tessarune are at <a href=\"" +
           address + "\">" + address + "</a>.</p>\n";
}

}  // namespace

std::string MakeToken() {
    constexpr const char* digits = "0123456789abcdef";
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw slib::OperatingSystemErrnoException(
            "The system gives no random numbers, and without them the page isn't safe.");
    std::string token;
    for (const unsigned char byte : bytes) {
        token += digits[byte >> 4];
        token += digits[byte & 15];
    }
    return token;
}

std::string AddressOf(int port) {
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

Handover::Handover(const std::filesystem::path& folder, std::string token)
    : file(FileIn(folder)), token(std::move(token)) {}

Handover::~Handover() {
    Remove();
}

// A second start waits for the file, so it comes whole or not at all.
void Handover::Write(const std::string& address) {
    const std::string text = Leading(address + "#token=" + token);
    const std::string draft = file.string() + ".new";
    const slib::Lock lock(mutex);
    unlink(draft.c_str());
    const Descriptor made(open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    const bool isWhole =
        made.IsOpen() && write(made.value, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (isWhole && rename(draft.c_str(), file.c_str()) == 0) return;
    const int reason = errno;
    unlink(draft.c_str());
    errno = reason;
    throw slib::OperatingSystemErrnoException("The file '" + file.string() +
                                              "', by which the browser finds the page, can't be written. "
                                              "Free space there, and start this program again.");
}

void Handover::Remove() {
    const slib::Lock lock(mutex);
    unlink(file.c_str());
}

}  // namespace page
