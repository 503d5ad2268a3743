#include "pipe/framework.h"

#include "pipe/alphanumeric.h"

namespace audiopipe {

std::string Framework::GetId() {
    return KeepAlphanumeric(GetName());
}

}  // namespace audiopipe
