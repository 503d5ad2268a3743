#pragma once

// A stored configuration, for tests that are no first start: that measures the machine for a second.

#include "orb3core/settings/configuration.h"
#include "orb3core/store/configstore.h"
#include "slib/log.h"
#include "slib/sxml.h"

namespace testing_support {

/// Stores the defaults in the user's scope.
inline void StoreDefaultDocument() {
    orb3::WriteSpeakerConfiguration(
        orb3::Configuration().CreateNode()->ToString(slib::SXMLNode::Style::Compact));
}

/// In place of the choice of settings for the machine: leaves the defaults.
inline void KeepDefaults(orb3::GoalConfig&, slib::Log*) {}

}  // namespace testing_support
