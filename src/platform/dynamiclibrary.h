#pragma once

// A library of the machine that is loaded when it is first needed, so that a game starts where it is missing,
// and doesn't carry it where it isn't used. A loaded library stays until the process ends: threads of its own
// may be about to leave it. Any thread.

#include <string>

namespace platform {

class DynamicLibrary {
public:
    /// `name` as the loader finds it ("libname.so.1").
    explicit DynamicLibrary(const char* name);

    /// Sets `function` to what the library has under `name`.
    template <typename Function>
    void Find(const char* name, Function*& function) {
        function = reinterpret_cast<Function*>(Address(name));
    }

    /// Why the library, or something looked for in it, isn't there; empty while all is well.
    std::string problem;

private:
    void* Address(const char* name);

    void* handle = nullptr;
};

/// A function of a library: called, or taken as a pointer, as if it were linked. `Function` is its type. Null
/// where the library has a problem.
template <typename Function>
class Imported {
public:
    Imported(DynamicLibrary& library, const char* name) { library.Find(name, function); }

    operator Function*() const { return function; }

private:
    Function* function = nullptr;
};

}  // namespace platform
