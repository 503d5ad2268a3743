#pragma once

// A terminal that is drawn over as a whole, until this object ends: then, and when the process is stopped or
// ended by a signal, it is again as it was. One at a time, on the main thread of a program without others.

#include <termios.h>

#include <string>
#include <vector>

#include "tools/config/topview.h"

namespace tool {

/// What a person does, or the terminal.
enum class ScreenEvent { None, Up, Down, Quit, Redraw };

class Screen {
public:
    /// Whether standard input and output are a terminal that can be drawn over.
    static bool IsAvailable();

    /// Throws slib::BadStateException when the system refuses it.
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    ViewSize Size() const;

    /// Writes the lines that differ from those shown, and nothing where none does. As many as the terminal
    /// has, at most.
    void Show(const std::vector<ViewLine>& lines);

    /// Waits for a key or a signal, for so long at most. A signal that ends programs is Quit for Ctrl-C, and
    /// otherwise ends this one, as it would have.
    ScreenEvent Await(int milliseconds);

private:
    void Enter();
    void Leave();
    ScreenEvent TakeSignal();
    ScreenEvent TakeKeys() const;

    termios before{};
    int signals = -1;
    std::vector<ViewLine> shown;
};

}  // namespace tool
