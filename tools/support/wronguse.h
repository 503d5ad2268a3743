#pragma once

// What a person asked for that can't be, on a command line or in the browser's page. Any thread.

#include "slib/exception.h"

namespace tool {

/// Its text is a whole sentence that says what can be asked for.
class WrongUse : public slib::StringException {
public:
    using StringException::StringException;
};

}  // namespace tool
