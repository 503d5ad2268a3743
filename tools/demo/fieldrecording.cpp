#include "tools/demo/fieldrecording.h"

#include <unistd.h>

#include <system_error>

#include "goal/recordingrequest.h"
#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/floatfile.h"
#include "platform/processid.h"
#include "platform/runtimefolder.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "tools/support/wronguse.h"

namespace demo {

FieldRecording::FieldRecording(const std::string& path) {
    const std::filesystem::path whole = std::filesystem::absolute(path).lexically_normal();
    if (!platform::FloatFile::IsNamedWell(whole))
        throw tool::WrongUse("The name of a sound field must end in .wav or .caf, not be '" + path + "'.");
    const std::filesystem::path folder = platform::MakeRuntimeFolder(orb3::storeRoot);
    if (folder.empty())
        throw slib::BadStateException("There is no folder of yours for what runs; set XDG_RUNTIME_DIR.");
    request = folder / goal::RecordingFileName(getpid());
    const goal::RecordingRequest asked{1, getpid(), platform::StartTimeOf(getpid()).value_or(0),
                                       goal::RecordingRequest::What::Field, whole};
    slib::writeFile(request, RequestText(asked));
}

FieldRecording::~FieldRecording() {
    std::error_code ignored;
    std::filesystem::remove(request, ignored);
}

}  // namespace demo
