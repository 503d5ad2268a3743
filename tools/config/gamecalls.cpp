#include "tools/config/gamecalls.h"

#include <string>

#include "platform/dynamiclibrary.h"
#include "slib/exception.h"
#include "tools/support/installedtree.h"

namespace tool {
GameCalls::GameCalls() {
    const std::string path = LibraryOfThisTree().string();
    platform::DynamicLibrary library(path.c_str());
    library.Find("alcOpenDevice", alcOpenDevice);
    library.Find("alcCloseDevice", alcCloseDevice);
    library.Find("alcCreateContext", alcCreateContext);
    library.Find("alcDestroyContext", alcDestroyContext);
    library.Find("alcMakeContextCurrent", alcMakeContextCurrent);
    library.Find("alGetError", alGetError);
    library.Find("alGetString", alGetString);
    library.Find("alGenBuffers", alGenBuffers);
    library.Find("alDeleteBuffers", alDeleteBuffers);
    library.Find("alBufferData", alBufferData);
    library.Find("alGenSources", alGenSources);
    library.Find("alDeleteSources", alDeleteSources);
    library.Find("alSourcei", alSourcei);
    library.Find("alSource3i", alSource3i);
    library.Find("alSource3f", alSource3f);
    library.Find("alSourcePlay", alSourcePlay);
    library.Find("alSourceStop", alSourceStop);
    library.Find("alGenFilters", alGenFilters);
    library.Find("alDeleteFilters", alDeleteFilters);
    library.Find("alFilteri", alFilteri);
    library.Find("alFilterf", alFilterf);
    library.Find("alGenEffects", alGenEffects);
    library.Find("alDeleteEffects", alDeleteEffects);
    library.Find("alEffecti", alEffecti);
    library.Find("alGenAuxiliaryEffectSlots", alGenAuxiliaryEffectSlots);
    library.Find("alDeleteAuxiliaryEffectSlots", alDeleteAuxiliaryEffectSlots);
    library.Find("alAuxiliaryEffectSloti", alAuxiliaryEffectSloti);
    if (!library.problem.empty())
        throw slib::BadStateException("The library '" + path + "' can't be used: " + library.problem +
                                      ". Install the tree again.");
}

}  // namespace tool
