#pragma once

// What this process takes of the machine.

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/temporaryfolder.h"

namespace soak {

/// What all arenas of the heap have given out; 0 under a sanitizer, whose heap is another one.
inline double AllocatedMebibytes() {
    char* text = nullptr;
    std::size_t length = 0;
    FILE* const stream = open_memstream(&text, &length);
    malloc_info(0, stream);
    std::fclose(stream);
    const std::string all = text;
    std::free(text);
    // The sums stand behind the arenas.
    const std::string sums = all.substr(std::min(all.rfind("</heap>"), all.size()));
    const auto sizeOf = [&](const char* name) {
        const std::size_t at = sums.find(name), size = sums.find("size=\"", at);
        return at == std::string::npos ? 0.0 : std::strtod(sums.c_str() + size + 6, nullptr);
    };
    return (sizeOf("system type=\"current\"") + sizeOf("total type=\"mmap\"") -
            sizeOf("total type=\"fast\"") - sizeOf("total type=\"rest\"")) /
           (1 << 20);
}

struct Usage {
    long residentMebibytes = 0;
    double allocatedMebibytes = 0;
    std::ptrdiff_t descriptors = 0, threads = 0;
    std::ptrdiff_t logLines = 0;        ///< in the store
    std::uintmax_t storeKilobytes = 0;  ///< settings, history and log

    static Usage Now(const testing_support::TemporaryStore& store) {
        Usage usage;
        long size = 0;
        std::ifstream("/proc/self/statm") >> size >> usage.residentMebibytes;
        usage.residentMebibytes = usage.residentMebibytes * 4096 >> 20;
        usage.allocatedMebibytes = AllocatedMebibytes();
        usage.descriptors = CountOf("/proc/self/fd");
        usage.threads = CountOf("/proc/self/task");
        const std::string log = testing_support::ReadFile(store.LogFile());
        usage.logLines = std::ranges::count(log, '\n');
        std::error_code isGone;  // a file that is being replaced
        for (const auto& file : std::filesystem::directory_iterator(store.UserFile().parent_path(), isGone)) {
            const std::uintmax_t bytes = file.is_regular_file(isGone) ? file.file_size(isGone) : 0;
            if (!isGone) usage.storeKilobytes += bytes / 1000;
        }
        return usage;
    }

    /// The log keeps a hundred lines, the history twenty steps.
    bool IsBounded() const {
        return descriptors < 120 && threads < 60 && logLines < 110 && storeKilobytes < 2000;
    }

    /// But for what a library beside ours keeps for its next use.
    bool IsAsLittleAs(const Usage& before) const {
        return descriptors <= before.descriptors + 2 && threads <= before.threads &&
               allocatedMebibytes < before.allocatedMebibytes + 8;
    }

    std::string Row() const {
        return std::to_string(residentMebibytes) + " MiB resident, " +
               std::to_string(std::lround(allocatedMebibytes)) + " allocated, " +
               std::to_string(descriptors) + " descriptors, " + std::to_string(threads) + " threads, " +
               std::to_string(logLines) + " lines of log, " + std::to_string(storeKilobytes) + " kB of store";
    }

private:
    static std::ptrdiff_t CountOf(const char* folder) {
        std::error_code isGone;
        return std::distance(std::filesystem::directory_iterator(folder, isGone), {});
    }
};

}  // namespace soak
