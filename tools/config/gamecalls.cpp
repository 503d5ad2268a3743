#include "tools/config/gamecalls.h"

#include <dlfcn.h>

#include <string>

#include "platform/storelocation.h"
#include "slib/exception.h"

namespace tool {
namespace {

void* Load() {
    const std::string path = (platform::LoadedTree() / "lib" / "libtessarune.so").string();
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) return library;
    throw slib::BadStateException("The library '" + path + "' can't be loaded: " + dlerror() +
                                  ". Start this program from the 'bin' of the tree that it was installed "
                                  "with, or install the tree again.");
}

template <typename Call>
void Find(void* library, const char* name, Call& call) {
    call = reinterpret_cast<Call>(dlsym(library, name));
    if (call == nullptr)
        throw slib::BadStateException(std::string("The library beside this program has no '") + name +
                                      "'. Install the tree again.");
}

}  // namespace

GameCalls::GameCalls() {
    void* const from = Load();
    Find(from, "alcOpenDevice", alcOpenDevice);
    Find(from, "alcCloseDevice", alcCloseDevice);
    Find(from, "alcCreateContext", alcCreateContext);
    Find(from, "alcDestroyContext", alcDestroyContext);
    Find(from, "alcMakeContextCurrent", alcMakeContextCurrent);
    Find(from, "alGetError", alGetError);
    Find(from, "alGetString", alGetString);
    Find(from, "alGenBuffers", alGenBuffers);
    Find(from, "alDeleteBuffers", alDeleteBuffers);
    Find(from, "alBufferData", alBufferData);
    Find(from, "alGenSources", alGenSources);
    Find(from, "alDeleteSources", alDeleteSources);
    Find(from, "alSourcei", alSourcei);
    Find(from, "alSource3i", alSource3i);
    Find(from, "alSource3f", alSource3f);
    Find(from, "alSourcePlay", alSourcePlay);
    Find(from, "alSourceStop", alSourceStop);
    Find(from, "alGenFilters", alGenFilters);
    Find(from, "alDeleteFilters", alDeleteFilters);
    Find(from, "alFilteri", alFilteri);
    Find(from, "alFilterf", alFilterf);
    Find(from, "alGenEffects", alGenEffects);
    Find(from, "alDeleteEffects", alDeleteEffects);
    Find(from, "alEffecti", alEffecti);
    Find(from, "alGenAuxiliaryEffectSlots", alGenAuxiliaryEffectSlots);
    Find(from, "alDeleteAuxiliaryEffectSlots", alDeleteAuxiliaryEffectSlots);
    Find(from, "alAuxiliaryEffectSloti", alAuxiliaryEffectSloti);
}

}  // namespace tool
