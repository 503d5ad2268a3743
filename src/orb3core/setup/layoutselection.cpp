#include "orb3core/setup/layoutselection.h"

#include <optional>
#include <utility>

#include "orb3core/library/conversionchoice.h"
#include "slib/exception.h"
#include "slib/standardformats.h"

namespace orb3 {
namespace {

using LayoutPtr = Configuration::LayoutPtr;

// The framework that knows the system's speaker setting.
constexpr const char* systemFramework = "DirectSound";

struct SystemOutput {
    audiopipe::FrameworkPtr framework;
    audiopipe::DevicePtr device;  // the default one; null when there is no device at all
    slib::StandardFormat format = slib::StandardFormat::Unknown;
};

// Nothing when there is no such framework, or its default device doesn't report a setting.
std::optional<SystemOutput> FindSystemOutput(const Frameworks& frameworks) {
    for (const audiopipe::FrameworkPtr& framework : frameworks) {
        if (framework->GetId() != systemFramework) continue;
        if (framework->GetDeviceCount() == 0) return SystemOutput{framework, {}};
        const audiopipe::DevicePtr device = framework->GetDevice(0);
        const slib::StandardFormat format = device->GetStandardFormat();
        if (format != slib::StandardFormat::Unknown) return SystemOutput{framework, device, format};
    }
    return std::nullopt;
}

// Nothing when the library doesn't have the layout's format.
std::optional<slib::StandardFormat> FamilyOf(const fl::FormatLibrarian& librarian,
                                             const spk::Layout& layout) {
    try {
        fl::Format format;
        librarian.getFormat(librarian.findFormat(MakeFormatTag(layout.format)), format);
        return format.family;
    } catch (const slib::BadDataException&) {
        return std::nullopt;
    }
}

bool NeedsSelection(const fl::FormatLibrarian& librarian, const Configuration& configuration,
                    slib::StandardFormat systemFormat, slib::Log* log) {
    const LayoutPtr active = FindSelectedLayout(configuration);
    if (!active) {
        log->Write("No layout is active. Attempting to autoselect.", false);
        return true;
    }
    if (FamilyOf(librarian, *active) == systemFormat) return false;
    log->Write(
        "Our speaker layout does not match the current Windows setting. Updating our layout to correspond.",
        false);
    return true;
}

// The standard layout of the family before the user's own ones, and the first of equals.
LayoutPtr FindBestLayout(const fl::FormatLibrarian& librarian, const Configuration& configuration,
                         slib::StandardFormat systemFormat) {
    LayoutPtr best;
    const std::string standardName = slib::GetStandardFormatName(systemFormat);
    for (const LayoutPtr& layout : configuration.layouts) {
        if (FamilyOf(librarian, *layout) != systemFormat) continue;
        if (layout->format == standardName) return layout;
        if (!best) best = layout;
    }
    return best;
}

// A stored layout is used unchanged, but for the recovery.
LayoutPtr Select(const fl::FormatLibrarian& librarian, Configuration& configuration,
                 const SystemOutput& system, bool force) {
    LayoutPtr layout = FindBestLayout(librarian, configuration, system.format);
    const bool isNew = !layout;
    if (isNew) layout = LayoutPtr(new spk::Layout);
    if (isNew || force)
        ConfigureLayout(librarian, *layout, system.framework.Get(), system.device.Get(),
                        slib::GetStandardFormatName(system.format));
    if (isNew) configuration.layouts.push_back(layout);
    return layout;
}

void ReportMissingSystem(Configuration& configuration, slib::Log* log, bool force) {
    if (force) return log->Write("DirectSound not found.", false);
    log->Write("DirectSound not found. Disabling autoselect check.", false);
    configuration.useDirectSoundAutoselect = false;
}

fl::Format FindFormatByName(const fl::FormatLibrarian& librarian, const std::string& name) {
    const std::uint32_t count = librarian.getFormatCount();
    for (std::uint32_t index = 0; index < count; ++index) {
        fl::Format format;
        librarian.getFormat(index, format);
        if (format.name == name) return format;
    }
    throw slib::BadDataException("Unable to find supporting data for format '" + name + "'.");
}

void CheckChannelCount(const fl::Format& format, audiopipe::Framework* framework, audiopipe::Device& device) {
    const std::uint32_t available = device.GetPlaybackChannelCount();
    if (format.channelCount <= available) return;
    throw slib::BadDataException("Format '" + format.name + "' cannot be used with device '" + device.name +
                                 "' (" + (framework == nullptr ? "" : framework->GetName()) +
                                 ") because there are too few output channels (" +
                                 std::to_string(format.channelCount) + " vs " + std::to_string(available) +
                                 "). Your installation may be corrupt.");
}

// By the highest priority, then by the highest order, then the first.
std::string ChooseMethod(const fl::FormatLibrarian& librarian, const fl::Format& format) {
    const auto rank = [](const Decoder& d) { return std::pair(d.conversion.priority, d.order); };
    std::optional<Decoder> best;
    for (const Decoder& decoder : FindDecoders(librarian, format.tag))
        if (decoder.conversion.priority != fl::Priority::Private && (!best || rank(decoder) > rank(*best)))
            best = decoder;
    if (best) return best->conversion.method;
    throw slib::BadDataException("Unable to find data to convert to format '" + format.name + "'.");
}

const spk::SpeakerSet& SpeakersOf(const fl::Format& format) {
    if (!format.speakers)
        throw slib::BadDataException("Speaker data does not seem to be available for format '" + format.name +
                                     "'.");
    if (format.speakers->speakers.size() != format.channelCount)
        throw slib::BadDataException("The speaker data for format '" + format.name +
                                     "' does not appear valid. Your installation may be corrupt.");
    return *format.speakers;
}

}  // namespace

LayoutPtr FindSelectedLayout(const Configuration& configuration) {
    LayoutPtr selected;
    for (const LayoutPtr& layout : configuration.layouts)
        if (layout->format == configuration.selectedName) selected = layout;
    return selected;
}

bool SelectLayout(const Frameworks& frameworks, const fl::FormatLibrarian& librarian,
                  Configuration& configuration, slib::Log* log, bool force) {
    if (!configuration.useDirectSoundAutoselect && !force) return false;
    const std::optional<SystemOutput> system = FindSystemOutput(frameworks);
    if (!system) {
        ReportMissingSystem(configuration, log, force);
        return false;
    }
    if (!system->device) return false;
    if (!force && !NeedsSelection(librarian, configuration, system->format, log)) return false;
    configuration.selectedName = Select(librarian, configuration, *system, force)->format;
    log->Write("Layout set to '" + configuration.selectedName + "'.", false);
    return true;
}

void ConfigureLayout(const fl::FormatLibrarian& librarian, spk::Layout& layout,
                     audiopipe::Framework* framework, audiopipe::Device* device,
                     const std::string& formatName) {
    const fl::Format format = FindFormatByName(librarian, formatName);
    if (device != nullptr) CheckChannelCount(format, framework, *device);
    spk::Layout fresh;
    fresh.method = ChooseMethod(librarian, format);
    static_cast<spk::SpeakerSet&>(fresh) = SpeakersOf(format);
    fresh.format = format.name;
    if (framework != nullptr) fresh.pipeFramework = framework->GetId();
    if (device != nullptr) fresh.pipeDevice = device->id;
    fresh.channels.resize(format.channelCount);
    for (std::uint32_t c = 0; device != nullptr && c < format.channelCount; ++c)
        fresh.channels[c].pipePlaybackChannel = device->GetPlaybackChannelName(c);
    layout = std::move(fresh);
}

}  // namespace orb3
