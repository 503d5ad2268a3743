#include "slib/log.h"

#include <iostream>

namespace slib {

void Log::Write(const std::string& text, bool isError) {
    (isError ? std::cerr : std::cout) << text + "\n" << std::flush;
}

void ErrorLog::Write(const std::string& text, bool isError) {
    if (isError) target->Write(text, true);
}

}  // namespace slib
