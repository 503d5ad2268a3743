#pragma once

// The whole configuration document in memory: speaker layouts, the settings of the renderers, channel arrays.
// Loaded from and written to the store; the server works on a copy of its own, and the monitor compares
// copies. Never used on the audio thread. A copy shares nothing with its original.

#include <memory>
#include <string>
#include <vector>

#include "orb3core/settings/audiorendererconfig.h"
#include "orb3core/settings/goalconfig.h"
#include "orb3core/speakers/array.h"
#include "orb3core/speakers/layout.h"
#include "slib/smartptr.h"
#include "slib/sxml.h"

namespace orb3 {

class Configuration {
public:
    using LayoutPtr = slib::SmartPtr<spk::Layout, slib::ThreadsafeCounter>;

    /// The defaults, as Reset gives them.
    Configuration();

    /// Each layout of the copy is a new object.
    Configuration(const Configuration& other);
    Configuration(Configuration&&) noexcept = default;
    Configuration& operator=(Configuration other) noexcept;
    ~Configuration() = default;

    /// Compares everything that the document holds, layouts by content and in order.
    bool operator==(const Configuration& other) const;

    /// Fills the object from a node labelled "Configuration". Throws slib::BadDataException for what is
    /// missing or wrong; the object then stays as it was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Configuration". Numbers go into it with the digits that documents hold, so what
    /// is read back may differ from this object in the last digits of a gain or a coordinate, once.
    std::unique_ptr<slib::SXMLNode> CreateNode() const;

    /// Takes the defaults: no layouts, none selected, automatic selection on, default settings and arrays.
    void Reset();

    std::vector<LayoutPtr> layouts;        ///< Never null. Of layouts with one format the last is in force.
    bool useDirectSoundAutoselect = true;  ///< The selection follows the system's speaker setting.
    std::string selectedName;              ///< The format of the layout in force.
    GoalConfig goalConfig;                 ///< Settings of the OpenAL renderer.
    AudioRendererConfig audioRendererConfig;  ///< Settings of the general renderer.
    array::ArraySet arraySet;                 ///< Places of the channels of multi-channel buffers.
};

}  // namespace orb3
