#include "platform/input.h"

#include <utility>

#include "platform/boundedcall.h"
#include "platform/clockedinput.h"
#include "platform/outputdevice.h"
#include "platform/privileges.h"
#include "platform/pulseinput.h"

namespace platform {
namespace {

using Kind = InputSettings::Input;

constexpr const char* silenceName = "Silence";
constexpr const char* waveFileName = "WAV File";

// A program with more rights than its caller reads no file that the caller may have named.
Kind KindOf(const InputSettings& settings) {
    return settings.input == Kind::WaveFile && HasMoreRightsThanItsCaller() ? Kind::Silent : settings.input;
}

std::unique_ptr<Input> Open(const InputSettings& settings, const std::string& name,
                            std::shared_ptr<InputRing> ring, slib::Log* log) {
    const Kind kind = KindOf(settings);
    if (kind == Kind::Auto) return OpenPulseInput(name, std::move(ring), log);
    const std::string only = kind == Kind::Silent ? silenceName : waveFileName;
    if (!name.empty() && name != only) throw NoSuchInputException(name);
    auto input =
        kind == Kind::Silent ? MakeSilentInput(std::move(ring)) : MakeFileInput(settings.waveFile, ring);
    input->name = only;
    return input;
}

}  // namespace

std::vector<InputName> ListInputs(const InputSettings& settings) {
    const Kind kind = KindOf(settings);
    if (kind != Kind::Auto) return {{"", kind == Kind::Silent ? silenceName : waveFileName}};
    const auto found = std::make_shared<std::vector<InputName>>();
    const bool isOver = CallBounded([=] { *found = ListPulseInputs(); });
    return isOver ? *found : std::vector<InputName>();
}

std::unique_ptr<Input> OpenInput(const InputSettings& settings, const std::string& name,
                                 std::shared_ptr<InputRing> ring, slib::Log* log) {
    const std::uint32_t rate = ring->format.rate;
    if (rate < lowestRate || rate > highestRate)
        throw slib::BadStateException("Inputs have rates from " + std::to_string(lowestRate) + " to " +
                                      std::to_string(highestRate) + " Hz, not " + std::to_string(rate) + ".");
    return Open(settings, name, std::move(ring), log);
}

}  // namespace platform
