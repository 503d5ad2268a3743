# What the toolchain files of other processors have in common (cmake/i386.cmake, cmake/arm64.cmake): Debian's cross
# compilers, and headers of this machine that are the same for all. These come through a folder of links, since the
# folder that they are in also has this machine's C library.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${cross_triple}-gcc)
set(CMAKE_CXX_COMPILER ${cross_triple}-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_LIBRARY_PATH /usr/lib/${cross_architecture})

set(cross_headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${cross_headers})
foreach(header hwy cubeb CLI nlohmann sndfile.h md5.h)
    file(CREATE_LINK /usr/include/${header} ${cross_headers}/${header} SYMBOLIC)
endforeach()
set(CMAKE_INCLUDE_PATH ${cross_headers})
include_directories(SYSTEM ${cross_headers})
