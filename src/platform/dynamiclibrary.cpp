#include "platform/dynamiclibrary.h"

#include <dlfcn.h>

namespace platform {
namespace {

std::string LoaderProblem() {
    const char* text = dlerror();
    return text == nullptr ? "The loader doesn't tell why." : text;
}

}  // namespace

DynamicLibrary::DynamicLibrary(const char* name)
    : handle(dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {
    if (handle == nullptr) problem = LoaderProblem();
}

void* DynamicLibrary::Address(const char* name) {
    if (handle == nullptr) return nullptr;
    void* address = dlsym(handle, name);
    if (address == nullptr && problem.empty()) problem = LoaderProblem();
    return address;
}

}  // namespace platform
