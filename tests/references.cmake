# What tests hold our own code against.

# FFTW, for the Fourier transform.
find_package(PkgConfig REQUIRED)
pkg_check_modules(fftw_float REQUIRED IMPORTED_TARGET fftw3f)
pkg_check_modules(fftw_double REQUIRED IMPORTED_TARGET fftw3)
pkg_check_modules(fftw_long REQUIRED IMPORTED_TARGET fftw3l)
add_library(reference_fourier INTERFACE)
target_link_libraries(reference_fourier INTERFACE PkgConfig::fftw_float PkgConfig::fftw_double PkgConfig::fftw_long)

# A second reader and writer of the store's files.
find_program(WX_CONFIG wx-config REQUIRED)
execute_process(COMMAND ${WX_CONFIG} --libs base OUTPUT_VARIABLE wx_libs OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${WX_CONFIG} --cxxflags base OUTPUT_VARIABLE wx_flags OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(wx_libs UNIX_COMMAND "${wx_libs}")
separate_arguments(wx_flags UNIX_COMMAND "${wx_flags}")
set(wx_includes ${wx_flags})
list(FILTER wx_includes INCLUDE REGEX ^-I)
list(TRANSFORM wx_includes REPLACE ^-I "")
list(FILTER wx_flags EXCLUDE REGEX ^-I)
add_library(reference_store INTERFACE)
target_include_directories(reference_store SYSTEM INTERFACE ${wx_includes})
target_compile_options(reference_store INTERFACE ${wx_flags})
target_link_libraries(reference_store INTERFACE ${wx_libs})
