#pragma once

// Starts a program and stays until it and all that it started have ended, also when what was started first
// ends first, as a launcher does. Signals are passed on meanwhile. On the main thread, once a process.

#include <functional>
#include <string>
#include <vector>

namespace tool {

/// A process that was ended by a signal, and isn't the one that was started first.
struct Killed {
    std::string program;
    int signal = 0;
};

struct Ending {
    int status = 0;  ///< of the program that was started, as waitpid returns it
    std::vector<Killed> killed;
};

/// Starts `arguments`, a program that PATH finds or its path, ended by a null, and calls `look` again and
/// again until the end: often at first, for games that end at once. `say` takes a sentence for the person who
/// waits. What the terminal sends goes to the program as well, which decides what becomes of it; once the
/// program has ended it ends the wait for what it left. What is sent to this process alone is passed on.
/// Throws slib::BadParameterException when the program can't be started.
Ending Supervise(char** arguments, const std::function<void()>& look,
                 const std::function<void(const std::string&)>& say);

}  // namespace tool
