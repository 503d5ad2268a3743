#pragma once

// The store of a fuzz target whose game makes contexts: empty, with a document, and silence for an output.

#include <mutex>

#include "tests/support/defaultdocument.h"
#include "tests/support/temporaryfolder.h"

namespace fuzz {

/// Makes it and leads the process to it, the first time; for each input.
inline void PrepareSilentStore() {
    static const testing_support::TemporaryStore store;
    static std::once_flag isReady;
    std::call_once(isReady, [] {
        store.ChooseSilence();
        testing_support::StoreDocument();
    });
}

}  // namespace fuzz
