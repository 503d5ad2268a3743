#!/usr/bin/env bash
# Installs the tree and builds a client in C and one in C++ against it as other people do, through the CMake package
# and through pkg-config; all of them and the installed program must find the library and the machine store of their tree.
#     installed_package.sh BUILD_TREE SANITIZERS
set -euo pipefail
tree=$1
sanitize=${2:+-fsanitize=$2}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/user XDG_CONFIG_DIRS=$work/nowhere
prefix=$work/prefix

cmake --install "$tree" --prefix "$prefix" >"$work/install.log"
for file in lib/libtessarune.so lib/dropin/libopenal.so.1 lib/dropin/libopenal.so include/AL/al.h \
    etc/xdg/HollowbrookLabs/store.conf share/tessarune bin/tessarune-info; do
    [ -e "$prefix/$file" ] || { echo "The installed tree has no $file."; exit 1; }
done
"$prefix/bin/tessarune-info" >/dev/null

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

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
for client in "cc client.c" "c++ client.cpp"; do
    # shellcheck disable=SC2046,SC2086
    (cd "$work/client" && $client $sanitize $(pkg-config --cflags --libs tessarune) -o plain)
    LD_LIBRARY_PATH=$prefix/lib "$work/client/plain"
done
