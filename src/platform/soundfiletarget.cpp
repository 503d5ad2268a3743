#include "platform/soundfiletarget.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdio>

#include "slib/nodestroy.h"

namespace platform {

SoundFileLibrary& Sndfile() {
    static slib::NoDestroy<SoundFileLibrary> library;
    return *library;
}

SoundFileTarget::SoundFileTarget(const std::string& path) : file(path, O_RDWR | O_CREAT | O_TRUNC) {}

SF_VIRTUAL_IO SoundFileTarget::Calls() {
    return {
        .get_filelen = [](void* self) { return Of(self).length; },
        .seek = Seek,
        .read = [](void* bytes, sf_count_t count, void* self) -> sf_count_t {
            SoundFileTarget& target = Of(self);
            return target.Advance(target.file.Read(bytes, static_cast<std::size_t>(count), target.position));
        },
        .write = [](const void* bytes, sf_count_t count, void* self) -> sf_count_t {
            SoundFileTarget& target = Of(self);
            return target.Advance(target.file.Write(bytes, static_cast<std::size_t>(count), target.position));
        },
        .tell = [](void* self) -> sf_count_t { return Of(self).position; }};
}

sf_count_t SoundFileTarget::Seek(sf_count_t offset, int whence, void* self) {
    SoundFileTarget& target = Of(self);
    if (whence == SEEK_SET) target.position = offset;
    if (whence == SEEK_CUR) target.position += offset;
    if (whence == SEEK_END) target.position = target.length + offset;
    return target.position;
}

sf_count_t SoundFileTarget::Advance(ssize_t count) {
    if (count <= 0) return 0;
    position += count;
    length = std::max(length, position);
    return count;
}

}  // namespace platform
