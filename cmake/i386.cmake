# Toolchain file: 32-bit x86, whose programs this machine runs as they are, or by qemu-user where its kernel doesn't.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(cross_triple i686-linux-gnu)
set(cross_architecture i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
execute_process(COMMAND /lib/ld-linux.so.2 --version RESULT_VARIABLE cross_failure OUTPUT_QUIET ERROR_QUIET)
if(NOT cross_failure EQUAL 0)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386-static)
endif()
