#pragma once

// The name under which the system keeps things on a machine.

namespace slib {

/// The folder of the store and of the caches, the root of the store's paths, and the first word of the names
/// of threads.
inline constexpr const char* productFolder = "HollowbrookLabs";

}  // namespace slib
