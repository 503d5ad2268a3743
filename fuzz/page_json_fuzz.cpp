// Fuzz target for JSON that the page in a browser sends. What is taken is an object within the bounds, and
// written again it reads as the same. Also linked with replay_main.cpp into a program that runs the corpus in
// the ordinary tests.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "fuzz/check.h"
#include "tools/support/jsonobject.h"
#include "tools/support/wronguse.h"

namespace {

using Json = nlohmann::ordered_json;

int DepthOf(const Json& document) {
    int deepest = 0;
    for (const Json& part : document)
        if (part.is_structured()) deepest = std::max(deepest, DepthOf(part));
    return deepest + 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const Json document = tool::ParseJsonObject(text);
        Check(document.is_object() && DepthOf(document) <= tool::deepestJson);
        Check(Json::accept(text));
        Check(tool::ParseJsonObject(document.dump()) == document);
    } catch (const tool::WrongUse&) {  // what it refuses is the page's fault
    }
    return 0;
}
