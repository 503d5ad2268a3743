#include "app/recording/records.h"

namespace recording {

std::string Explain(Reason reason) {
    switch (reason) {
        case Reason::Limit:
            return "The recording reached its limit. Raise it with --record-limit MIB.";
        case Reason::Queue:
            return "The disk was too slow for the recording. Record into a folder on a faster disk.";
        case Reason::Disk:
            return "The recording could no longer be written. Free space on its disk.";
        case Reason::Memory:
            return "There was no memory left for the recording.";
    }
    return "The recording stopped for a reason that this version doesn't know.";
}

void AppendRecord(std::string& file, std::uint64_t tag, std::string_view content) {
    ByteWriter head;
    head.Number(tag);
    head.Number(content.size());
    file += head.bytes;
    file += content;
}

std::string Beginning() {
    ByteWriter writer;
    writer.bytes = magic;
    writer.Number(version);
    return writer.bytes;
}

}  // namespace recording
