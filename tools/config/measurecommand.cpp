#include <iostream>
#include <memory>

#include "tools/config/commands.h"
#include "tools/manage/measuring.h"
#include "tools/support/json.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config measure
  tessarune-config measure --apply   what a first start would choose for this machine

It takes a second. Choose a moment in which nothing else runs.)";

struct Options {
    bool isApplied = false, isJson = false;
};

MeasuredPower Measured() {
    const Progress progress("Measuring the machine");
    return MeasureMachine();
}

void Measure(const Options& options) {
    const MeasuredPower power = Measured();
    if (options.isApplied) TakeSettingsFor(power);
    if (options.isJson) return PrintJson({{"processors", power.processors}, {"rating", power.rating}});
    std::cout << "This machine has " << PowerText(power) << ".\n"
              << (options.isApplied ? "Order, effects, conversion and buffers are now what it carries.\n"
                                    : "'tessarune-config measure --apply' puts the settings in force that it "
                                      "carries.\n");
}

}  // namespace

void AddMeasureCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* command = program.AddCommand("measure", "Measure how much the machine can render.");
    command->SetFooter(examples);
    command->AddFlag("--apply", options->isApplied, "Put the settings in force that it carries");
    AddJsonFlag(*command, options->isJson);
    command->OnUse([options] { Measure(*options); });
}

}  // namespace tool
