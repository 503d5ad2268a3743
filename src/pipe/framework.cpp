#include "pipe/framework.h"

#include "slib/text.h"

namespace audiopipe {

std::string Framework::GetId() {
    return slib::KeepAlphanumeric(GetName());
}

}  // namespace audiopipe
