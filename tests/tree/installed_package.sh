#!/usr/bin/env bash
# Installs the tree, moves it, and builds clients in C and C++ against it as other people do: through the CMake package,
# through pkg-config, and for OpenAL, by CMake's own module and by pkg-config. All of them and the installed program must
# find the library and the machine store of their tree. Whatever way a game looks for the library, it gets one.
#     installed_package.sh BUILD_TREE SANITIZERS
set -euo pipefail
tree=$1
sanitize=${2:+-fsanitize=$2}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/user XDG_CONFIG_DIRS=$work/nowhere
prefix=$work/moved

cmake --install "$tree" --prefix "$work/prefix" >"$work/install.log"
mv "$work/prefix" "$prefix"
for file in lib/libtessarune.so.2 lib/libtessarune.so lib/dropin/libopenal.so.1 lib/dropin/libopenal.so \
    lib/dropin/libtessarune.so.2 lib/record/libopenal.so.1 include/tessarune/AL/{al,alc,alext,efx,efx-presets,tessarune}.h \
    etc/xdg/HollowbrookLabs/store.conf share/tessarune bin/tessarune-info bin/tessarune-page share/doc/tessarune/THIRD-PARTY.md; do
    [ -e "$prefix/$file" ] || { echo "The installed tree has no $file."; exit 1; }
done
! grep -rlF "$work/prefix" "$prefix" || { echo "These files know where the tree was before it was moved."; exit 1; }
"$prefix/bin/tessarune-info" >/dev/null
library=$(readlink -f "$prefix/share/tessarune/Tessarune.afl")
"$prefix/bin/tessarune-config" show | grep -qF "$library" || { echo "The moved tree doesn't find its format library."; exit 1; }

mkdir "$work/client"
cat >"$work/client/client.c" <<'C'
#include <AL/alc.h>
int main(void) {
    ALCdevice* device = alcOpenDevice(0);
    ALCcontext* context = alcCreateContext(device, 0);
    if (context == 0) return 1;
    alcDestroyContext(context);
    return alcCloseDevice(device) == ALC_TRUE ? 0 : 2;
}
C
cat >"$work/client/client.cpp" <<'C'
#define AL_ALEXT_PROTOTYPES
#include <AL/tessarune.h>

#include <memory>

int main() {
    ALCdevice* const device = alcOpenDevice(nullptr);
    const std::unique_ptr<ALCcontext, decltype(&alcDestroyContext)> context(alcCreateContext(device, nullptr),
                                                                            &alcDestroyContext);
    if (!context || alcMakeContextCurrent(context.get()) != ALC_TRUE) return 1;
    ALuint effect = 0;
    alGenEffects(1, &effect);
    alRequestFoldbackStop();
    return alGetError() == AL_NO_ERROR && effect != 0 ? 0 : 2;
}
C
cat >"$work/client/CMakeLists.txt" <<'C'
cmake_minimum_required(VERSION 3.25)
project(Client C CXX)
find_package(Tessarune 2.5 REQUIRED)
foreach(language c cpp)
    add_executable(client_${language} client.${language})
    target_link_libraries(client_${language} PRIVATE Tessarune::tessarune)
endforeach()
C
cmake -S "$work/client" -B "$work/client/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$sanitize" \
    -DCMAKE_CXX_FLAGS="$sanitize" >"$work/configure.log"
cmake --build "$work/client/build" >"$work/build.log"
"$work/client/build/client_c"
"$work/client/build/client_cpp"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/dropin/pkgconfig
for client in "cc client.c tessarune" "c++ client.cpp tessarune" "cc client.c openal"; do
    read -r compiler source package <<<"$client"
    # shellcheck disable=SC2046,SC2086
    (cd "$work/client" && $compiler $sanitize $source $(pkg-config --cflags --libs "$package") -o plain)
    LD_LIBRARY_PATH=$prefix/lib/dropin "$work/client/plain"
done

mkdir "$work/game"
cat >"$work/game/game.c" <<'C'
#define _GNU_SOURCE
#include <dlfcn.h>
#include <alc.h>
int main(int count, char** names) {
    void* linked = dlsym(RTLD_DEFAULT, "alcOpenDevice");
    if (linked != (void*)alcOpenDevice) return 1;
    for (int i = 1; i < count; ++i) {
        void* library = dlopen(names[i], RTLD_NOW);
        if (library == 0 || dlsym(library, "alcOpenDevice") != linked) return 1 + i;
    }
    return 0;
}
C
cat >"$work/game/CMakeLists.txt" <<'C'
cmake_minimum_required(VERSION 3.25)
project(Game C)
find_package(OpenAL REQUIRED)
add_executable(game game.c)
target_include_directories(game PRIVATE ${OPENAL_INCLUDE_DIR})
target_link_libraries(game PRIVATE ${OPENAL_LIBRARY} ${CMAKE_DL_LIBS})
set_target_properties(game PROPERTIES SKIP_BUILD_RPATH ON)
C
OPENALDIR=$prefix/lib/dropin cmake -S "$work/game" -B "$work/game/build" -DCMAKE_C_FLAGS="$sanitize" >"$work/configure.log"
cmake --build "$work/game/build" >"$work/build.log"
"$prefix/bin/tessarune-run" "$work/game/build/game" libopenal.so.1 libopenal.so libtessarune.so.2 "$prefix/lib/libtessarune.so" \
    2>"$work/run.log" || { echo "A linked game that also opens the library got another one, number $?."; exit 1; }
[ -z "$sanitize" ] || exit 0
# As media libraries look, which ask the linker for a file and then load what its SONAME names.
"$prefix/bin/tessarune-run" python3 - 2>>"$work/run.log" <<'P'
import ctypes, ctypes.util
found = ctypes.util.find_library("openal")
assert found == "libtessarune.so.2", found
address = lambda name: ctypes.cast(ctypes.CDLL(name).alcOpenDevice, ctypes.c_void_p).value
assert address(found) == address("libopenal.so.1")
P
