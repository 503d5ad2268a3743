#include "tools/library/making.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <iostream>

#include "library/check/librarycheck.h"
#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "slib/exception.h"

namespace tool {
namespace {

std::string HeadOf(const MakingOptions& options) {
    if (options.hasNoSofa) return "";
    std::string head = HeadFile(options.sofa);
    if (!head.empty()) return head;
    throw slib::BadDataException(std::string("There is no '") + systemHead +
                                 "'. Name a measured head (HRTF) with --sofa FILE, or build without "
                                 "one with --no-sofa.");
}

}  // namespace

std::string HeadFile(const std::string& chosen) {
    if (!chosen.empty()) return chosen;
    return std::filesystem::exists(systemHead) ? systemHead : "";
}

void MakeLibrary(const MakingOptions& options) {
    const auto begin = std::chrono::steady_clock::now();
    design::LibraryPlan plan = design::DefaultPlan(HeadOf(options));
    plan.rates = options.rates;
    if (options.report)
        plan.report = [&, count = std::size_t{0}](const std::string& layout) mutable {
            options.report(++count, plan.layouts.size(), layout);
        };
    design::WriteLibrary(options.path, [&](orb3::fl::FormatRegistrar& library) {
        design::AssembleLibrary(plan, library);
        design::CheckLimits(library, plan.rates.back());
        if (options.reportEnd) options.reportEnd();
        std::cout << options.path << ": " << library.getFormatCount() << " formats, "
                  << library.getMethodCount() << " methods, " << library.getConversionCount()
                  << " conversions";
    });
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::cout << ", made in " << std::lround(time.count()) << " s\n";
}

}  // namespace tool
