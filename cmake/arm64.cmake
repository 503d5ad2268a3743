# Toolchain file: 64-bit ARM, whose programs run under qemu-user.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(cross_triple aarch64-linux-gnu)
set(cross_architecture aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
# Loader and C library have to be of one package: another one's may be installed for this processor, too.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L /usr/${cross_triple} -E LD_LIBRARY_PATH=/usr/${cross_triple}/lib)
