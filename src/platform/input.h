#pragma once

// What can be recorded from: the inputs of the sound server, or in their place silence or a WAV file. Usable
// from any thread. Every call that waits for the server is bounded (CallBounded).

#include <memory>
#include <string>
#include <vector>

#include "platform/inputring.h"
#include "platform/platformsettings.h"
#include "slib/exception.h"
#include "slib/log.h"

namespace platform {

/// One input, for people and for OpenInput.
struct InputName {
    std::string identifier;   ///< the server's own name for it
    std::string description;  ///< no two alike
    bool isListed = true;     ///< shown to a game
};

/// All inputs, the user's default first. What outputs play is an input too, which is listed where there is
/// nothing else, or where it is the default. Empty when no server answers. Waits at most two seconds for it.
std::vector<InputName> ListInputs(const InputSettings& settings);

/// An input that is open. The threads that bring its frames end with it.
class Input {
public:
    Input() = default;
    virtual ~Input() = default;
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Idempotent; no wait. From Start to Stop the ring gets what is recorded.
    virtual void Start() = 0;
    virtual void Stop() = 0;

    /// Its description.
    std::string name;
};

/// No input has that name.
class NoSuchInputException : public slib::BadParameterException {
public:
    explicit NoSuchInputException(const std::string& name)
        : BadParameterException("There is no input '" + name + "'.") {}
};

/// Opens the input of that description or identifier, empty for the user's default, stopped, to fill `ring`.
/// An input that goes away, with the server or alone, is silent: no frames come until it is back, which is
/// looked for each second. `log` is borrowed, outlives the input, and gets a line when that happens. Throws
/// NoSuchInputException, and BadStateException with the reason when it can't be opened. Waits at most two
/// seconds, as does the end of the input.
std::unique_ptr<Input> OpenInput(const InputSettings& settings, const std::string& name,
                                 std::shared_ptr<InputRing> ring, slib::Log* log);

}  // namespace platform
