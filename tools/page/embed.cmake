# Writes the source OUT, which holds FILES, a list of files with different names: cmake -DFILES=... -DOUT=... -P embed.cmake
set(type_of_.html "text/html; charset=utf-8")
set(type_of_.js "text/javascript; charset=utf-8")
set(type_of_.css "text/css; charset=utf-8")
set(type_of_.svg "image/svg+xml")
set(type_of_.png "image/png")

set(rows)
foreach(file ${FILES})
    get_filename_component(name ${file} NAME)
    get_filename_component(ending ${file} LAST_EXT)
    if(name STREQUAL index.html)
        set(name "")
    endif()
    file(SIZE ${file} size)
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${bytes}")
    string(APPEND rows "    {\"/${name}\", \"${type_of_${ending}}\", {\"${bytes}\", ${size}}},\n")
endforeach()
file(CONFIGURE OUTPUT ${OUT} @ONLY CONTENT [[
#include "tools/page/frontend.h"

namespace page {
namespace {

constexpr Asset files[] = {
@rows@};

}  // namespace

std::span<const Asset> FrontEnd() {
    return files;
}

}  // namespace page
]])
