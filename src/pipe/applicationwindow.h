#pragma once

// The window by which a sound device identifies the application. Any thread.

#include "platform/soundsystem.h"

namespace audiopipe::directsound {

/// The topmost parent of the first top-level window of this process; where it has none, the desktop. Throws
/// slib::BadStateException "Unable to find the application window handle." where there is no desktop either.
platform::WindowHandle FindApplicationWindow(platform::SoundSystem& system);

/// The same, found once in the process and kept from then on.
platform::WindowHandle ApplicationWindow(platform::SoundSystem& system);

}  // namespace audiopipe::directsound
