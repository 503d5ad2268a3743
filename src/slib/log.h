#pragma once

// Where lines for a person go. Callers on any thread; the classes here add no lock of their own.

#include <string>

namespace slib {

/// A log, and the plainest one: it writes to the process's standard streams.
class Log {
public:
    virtual ~Log() = default;

    /// Writes one line; `text` has no line end. The base class sends it to standard error when `isError` is
    /// true and to standard output otherwise. A log reports nothing back, so this throws nothing of its own.
    virtual void Write(const std::string& text, bool isError);
};

/// Passes errors on to another log and drops everything else.
class ErrorLog : public Log {
public:
    /// `target` is borrowed and outlives this object.
    explicit ErrorLog(Log* target) : target(target) {}
    void Write(const std::string& text, bool isError) override;

private:
    Log* target;
};

}  // namespace slib
