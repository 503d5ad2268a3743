#pragma once

// The settings of the general audio renderer, stored in the `AudioRenderer` node of the configuration
// document. They are read, kept, compared and written so that a document survives; the OpenAL server takes
// every working setting from GoalConfig.

#include <memory>

#include "slib/sxml.h"

namespace orb3 {

struct AudioRendererConfig {
    double gain = 1.0;                 ///< Linear.
    int suggestedBufferLength = 1024;  ///< Frames per output buffer, at least 64.
    int suggestedBufferCount = 3;      ///< Output buffers, at least 1.
    bool isLoggingVerbose = false;
    bool measureOutputPeak = true;
    bool useParallelDecoder = true;

    bool operator==(const AudioRendererConfig&) const = default;

    /// Fills the record from a node labelled "AudioRenderer". Throws slib::BadXMLException for another label
    /// or a missing attribute, slib::BadDataException for a bad bool; the record then stays as it was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "AudioRenderer".
    std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

}  // namespace orb3
