#pragma once

// How fast this machine computes, as one number, by which a first start chooses its settings. The tables that
// read the number are calibrated to this very work, so it stays as it is.

#include "slib/thread.h"

namespace hcml::performance {

/// Multiplies matrices for a second, by the clock; a stop request doesn't shorten it.
class TestPowerThread : public slib::Thread {
public:
    TestPowerThread();
    ~TestPowerThread() override;

    /// The passes completed. For reading after Stop.
    double rounds = 0;

protected:
    void Run() override;
};

/// The rating of one processor: 1 means 2160 passes in the second. Blocks the caller for a second, and takes
/// one processor all that time. Throws what slib::Thread::Start throws.
double MeasurePower();

}  // namespace hcml::performance
