#include "pipe/applicationwindow.h"

#include "slib/exception.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace audiopipe::directsound {
namespace {

platform::WindowHandle TopmostParent(platform::SoundSystem& system, platform::WindowHandle window) {
    while (const platform::WindowHandle parent = system.GetParent(window))
        window = parent;
    return window;
}

}  // namespace

platform::WindowHandle FindApplicationWindow(platform::SoundSystem& system) {
    platform::WindowHandle found = 0;
    system.EnumWindows([&](platform::WindowHandle window) {
        if (!system.IsOfThisProcess(window)) return true;
        found = TopmostParent(system, window);
        return false;
    });
    if (found == 0) found = system.GetDesktopWindow();
    if (found == 0) throw slib::BadStateException("Unable to find the application window handle.");
    return found;
}

platform::WindowHandle ApplicationWindow(platform::SoundSystem& system) {
    static slib::NoDestroy<slib::Mutex> mutex;
    static platform::WindowHandle kept = 0;
    const slib::Lock lock(*mutex);
    if (kept == 0) kept = FindApplicationWindow(system);
    return kept;
}

}  // namespace audiopipe::directsound
