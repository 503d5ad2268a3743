#include "platform/floatfile.h"

#include <sndfile.h>

#include <cerrno>
#include <system_error>

#include "platform/soundfiletarget.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace platform {
namespace {

bool IsCoreAudio(const std::string& path) {
    return slib::toLower(path).ends_with(".caf");
}

void Check(bool holds, const std::string& path, const std::string& reason) {
    if (!holds) throw slib::BadStateException("The file '" + path + "' can't be written: " + reason + ".");
}

}  // namespace

struct FloatFile::Handle {
    SNDFILE* file;
};

FloatFile::FloatFile(const std::string& path, std::uint32_t channels, std::uint32_t rate,
                     const std::string& comment)
    : rate(rate), target(std::make_unique<SoundFileTarget>(path)) {
    Check(target->IsOurs(), path, std::generic_category().message(errno));
    SoundFileLibrary& library = Sndfile();
    Check(library.library.problem.empty(), path, library.library.problem);
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = (IsCoreAudio(path) ? SF_FORMAT_CAF : SF_FORMAT_RF64) | SF_FORMAT_FLOAT;
    SF_VIRTUAL_IO calls = SoundFileTarget::Calls();
    SNDFILE* const file = library.open(&calls, SFM_WRITE, &info, target.get());
    Check(file != nullptr, path, library.explain(nullptr));
    handle = std::make_unique<Handle>(Handle{file});
    if (!IsCoreAudio(path)) library.command(file, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    library.setText(file, SF_STR_COMMENT, comment.c_str());
    library.command(file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

FloatFile::~FloatFile() {
    Sndfile().close(handle->file);
}

bool FloatFile::Write(const float* samples, std::uint32_t frames) {
    if (Sndfile().writeFloats(handle->file, samples, frames) != frames) return false;
    sinceHeader += frames;
    if (sinceHeader >= rate / 2) {
        Sndfile().command(handle->file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
        sinceHeader = 0;
    }
    return true;
}

bool FloatFile::IsLost() const {
    return !target->IsOurs();
}

bool FloatFile::IsNamedWell(const std::string& path) {
    const std::string lower = slib::toLower(path);
    return lower.ends_with(".wav") || IsCoreAudio(lower);
}

}  // namespace platform
