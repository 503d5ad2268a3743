#pragma once

namespace platform {

/// The processors that this process may run on, at least 1: what a container or a mask takes away doesn't
/// count.
unsigned ProcessorCount();

}  // namespace platform
