#include "platform/outputnames.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using platform::ServerOutput;

// Whatever the order of the list, and so whichever was plugged in first.
TEST(OutputNames, OfOneDescription_AreToldApartInTheSameWayInAnyOrder) {
    std::vector<ServerOutput> outputs{{.identifier = "usb.3", .description = "USB Audio"},
                                      {.identifier = "pci", .description = "Built-in"},
                                      {.identifier = "usb.1", .description = "USB Audio"}};
    for (int turn = 0; turn < 3; ++turn, std::ranges::rotate(outputs, outputs.begin() + 1)) {
        std::vector<ServerOutput> named = outputs;
        platform::TellApart(named);
        platform::TellApart(named);
        for (const ServerOutput& output : named) {
            const bool isAlone = output.identifier == "pci";
            EXPECT_EQ(output.description, isAlone ? "Built-in" : "USB Audio (" + output.identifier + ")");
            EXPECT_EQ(platform::PlainName(output.description, output.identifier),
                      isAlone ? "Built-in" : "USB Audio");
            EXPECT_EQ(platform::OutputKey(output.description, output.identifier).starts_with("USBAudiousb"),
                      output.identifier != "pci");
        }
    }
}

}  // namespace
