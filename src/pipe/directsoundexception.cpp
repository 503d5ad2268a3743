#include "pipe/directsoundexception.h"

#include <algorithm>
#include <array>
#include <string>

namespace audiopipe::directsound {
namespace {

struct Explanation {
    platform::Result result;
    const char* text;
};

constexpr std::array<Explanation, 24> explanations{{
    {platform::DS_NO_VIRTUALIZATION, "The buffer was created, but another 3D algorithm was substituted."},
    {platform::DSERR_UNSUPPORTED, "The function called is not supported at this time."},
    {platform::DSERR_NOINTERFACE, "The requested COM interface is not available."},
    {platform::DSERR_GENERIC, "An undetermined error occurred inside the DirectSound subsystem."},
    {platform::DSERR_NOAGGREGATION, "The object does not support aggregation."},
    {platform::DSERR_ACCESSDENIED, "The request failed because access was denied."},
    {platform::DSERR_OUTOFMEMORY,
     "The DirectSound subsystem could not allocate sufficient memory to complete the caller's request."},
    {platform::DSERR_INVALIDPARAM, "An invalid parameter was passed to the returning function."},
    {platform::DSERR_ALLOCATED,
     "The request failed because resources, such as a priority level, were already in use by another "
     "caller."},
    {platform::DSERR_CONTROLUNAVAIL,
     "The buffer control (volume, pan, and so on) requested by the caller is not available. Controls must be "
     "specified when the buffer is created, using the dwFlags member of DSBUFFERDESC."},
    {platform::DSERR_INVALIDCALL, "This function is not valid for the current state of this object."},
    {platform::DSERR_PRIOLEVELNEEDED, "A cooperative level of DSSCL_PRIORITY or higher is required."},
    {platform::DSERR_BADFORMAT, "The specified wave format is not supported."},
    {platform::DSERR_NODRIVER,
     "No sound driver is available for use, or the given GUID is not a valid DirectSound device ID."},
    {platform::DSERR_ALREADYINITIALIZED, "The object is already initialized."},
    {platform::DSERR_BUFFERLOST, "The buffer memory has been lost and must be restored."},
    {platform::DSERR_OTHERAPPHASPRIO,
     "Another application has a higher priority level, preventing this call from succeeding."},
    {platform::DSERR_UNINITIALIZED,
     "The IDirectSound8::Initialize method has not been called or has not been called successfully before "
     "other methods were called."},
    {platform::DSERR_BUFFERTOOSMALL, "The buffer size is not great enough to enable effects processing."},
    {platform::DSERR_DS8_REQUIRED,
     "A DirectSound object of class CLSID_DirectSound8 or later is required for the requested functionality. "
     "For more information, see IDirectSound8 Interface."},
    {platform::DSERR_SENDLOOP, "A circular loop of send effects was detected."},
    {platform::DSERR_BADSENDBUFFERGUID,
     "The GUID specified in an audiopath file does not match a valid mix-in buffer."},
    {platform::DSERR_FXUNAVAILABLE,
     "The effects requested could not be found on the system, or they are in the wrong order or in the wrong "
     "location; for example, an effect expected in hardware was found in software."},
    {platform::DSERR_OBJECTNOTFOUND, "The requested object was not found."},
}};

std::string TextOf(platform::Result result) {
    const auto* const found = std::find_if(explanations.begin(), explanations.end(),
                                           [&](const Explanation& e) { return e.result == result; });
    if (found == explanations.end()) return "Unknown error.";
    return std::string("A DirectSound error occurred: ") + found->text;
}

}  // namespace

void CheckResult(platform::Result result) {
    if (result == platform::DS_OK) return;
    throw DirectSoundException(TextOf(result), result == platform::DSERR_BADFORMAT);
}

}  // namespace audiopipe::directsound
