#pragma once

// The exception tree of the whole system. Every failure travels as one of these classes and carries a whole
// sentence for a person; the boundaries that can't let an exception pass (a thread body, an exported call)
// catch std::exception and log its text. All classes hold their text by value and may be copied across a
// catch. Usable from any thread.

#include <exception>
#include <string>

namespace slib {

/// Root of the tree.
class Exception : public std::exception {
public:
    const char* what() const noexcept override;
};

/// An allocation failed. Holds no text of its own, so that raising it allocates nothing.
class OutOfMemoryException : public Exception {
public:
    const char* what() const noexcept override;  ///< "Out of memory."
};

/// Raised inside the SXML parser and turned into BadXMLException there. Carries nothing.
class ParseException : public Exception {};

/// Holds a text, which what() returns.
class StringException : public Exception {
public:
    explicit StringException(std::string text);
    const char* what() const noexcept override;

private:
    std::string text;
};

/// An internal invariant broke.
class IntegrityFailureException : public StringException {
public:
    using StringException::StringException;
};

/// Stored or supplied data is wrong.
class BadDataException : public StringException {
public:
    using StringException::StringException;
};

/// An SXML document is wrong.
class BadXMLException : public BadDataException {
public:
    using BadDataException::BadDataException;
};

/// An operation doesn't fit the present state.
class BadStateException : public StringException {
public:
    using StringException::StringException;
};

/// A caller gave a wrong argument.
class BadParameterException : public StringException {
public:
    using StringException::StringException;
};

/// A numeric failure; the hcml exceptions derive from it.
class MathematicalException : public StringException {
public:
    using StringException::StringException;
};

/// A call of the operating system failed.
class OperatingSystemBaseException : public StringException {
public:
    using StringException::StringException;
};

/// The failure is in errno. With errno 0 the text stays as given, else it becomes
/// "<text> [<description of errno>]".
class OperatingSystemErrnoException : public OperatingSystemBaseException {
public:
    explicit OperatingSystemErrnoException(const std::string& text);
};

/// The failure is in the platform's last-error code, which is errno here. With code 0 the text stays as
/// given, else it becomes "<text> [Error <code>]".
class OperatingSystemGetLastErrorException : public OperatingSystemBaseException {
public:
    explicit OperatingSystemGetLastErrorException(const std::string& text);
};

/// A line of a source file, as std::source_location tells it, which not every compiler of ours can.
struct SourceLocation {
    const char* file;  ///< as the compiler was given it
    int line;

    /// As a default argument: where the function that has it is called.
    static constexpr SourceLocation Current(const char* file = __builtin_FILE(),
                                            int line = __builtin_LINE()) {
        return {file, line};
    }
};

/// Ends a branch that the data model rules out. Always throws IntegrityFailureException, whose text names the
/// line and the source path without its extension ("goal/render/renderer").
[[noreturn]] void ThrowUnreachable(const SourceLocation& where = SourceLocation::Current());

/// The same under another path than that of the line's file.
[[noreturn]] void ThrowUnreachable(const char* file, int line);

}  // namespace slib
