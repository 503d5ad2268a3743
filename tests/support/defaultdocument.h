#pragma once

// A stored configuration, for tests that are no first start: that measures the machine for a second.

#include "orb3core/settings/configuration.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/store/configstore.h"
#include "slib/log.h"
#include "slib/sxml.h"

namespace testing_support {

/// Stores it in the user's scope, as another program does.
inline void StoreDocument(const orb3::Configuration& document = {}) {
    orb3::WriteSpeakerConfiguration(document.CreateNode()->ToString(slib::SXMLNode::Style::Compact));
}

/// In place of the choice of settings for the machine: leaves the defaults.
inline const orb3::Autoselect keepDefaults{[](orb3::GoalConfig&) {}, [](orb3::GoalConfig&, slib::Log*) {}};

}  // namespace testing_support
