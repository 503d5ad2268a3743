#include "app/recorder/tape.h"

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "slib/digest.h"
#include "slib/exception.h"

namespace recorder {
namespace {

using recording::Reason;
using recording::Tag;

constexpr std::size_t mostQueued = sizeof(void*) == 4 ? std::size_t{64} << 20 : std::size_t{256} << 20;
constexpr std::size_t chunkBytes = 65536;
constexpr auto pause = std::chrono::milliseconds(10);

}  // namespace

Tape::Tape(const std::string& path, std::uint64_t limit)
    : Thread("Recorder", Priority::Normal), path(path), limit(limit) {
    Open();
    Start();
}

// Programs that the game starts record too, each into a file of its own.
void Tape::Open() {
    constexpr int mostFiles = 99;
    for (int number = 1; number <= mostFiles; ++number) {
        name = number == 1 ? path : path + "-" + std::to_string(number);
        file = std::make_unique<platform::GameFile>(name, O_WRONLY | O_CREAT | O_EXCL);
        if (file->IsOurs()) break;
        if (errno != EEXIST) break;
    }
    if (!file->IsOurs() || !Put(recording::Beginning()))
        throw slib::OperatingSystemErrnoException("The calls can't be recorded into '" + path + "'.");
}

bool Tape::Append(std::string_view records) {
    const slib::Lock lock(queueMutex);
    if (!MakeRoom(records.size())) return false;
    const bool isFirst = queue.empty();
    if (isFirst || queue.back().isSamples || queue.back().bytes.size() + records.size() > chunkBytes)
        queue.emplace_back();
    queue.back().bytes += records;
    ++queue.back().calls;
    if (isFirst) wake.Post();
    return true;
}

bool Tape::AppendSamples(const void* bytes, std::size_t size) {
    const slib::Lock lock(queueMutex);
    if (!MakeRoom(size)) return false;
    queue.push_back({std::string(static_cast<const char*>(bytes), size), 0, true});
    if (queue.size() == 1) wake.Post();
    return true;
}

bool Tape::MakeRoom(std::size_t bytes) {
    if (queuedBytes + bytes > mostQueued) StopFor(Reason::Queue);
    if (IsStopped()) return false;
    queuedBytes += bytes;
    return true;
}

void Tape::StopFor(Reason why) {
    if (IsStopped()) return;
    reason = why;
    isStopped = true;
}

void Tape::RequestLast() {
    isLast = true;
    wake.Post();
}

void Tape::End() {
    RequestLast();
    over.Wait();
    JoinEnded();
}

void Tape::Run() {
    for (bool isEnd = false; !isEnd;) {
        wake.Wait();
        isEnd = isLast;
        if (!isEnd) std::this_thread::sleep_for(pause);
        WriteQueue();
    }
    WriteEnd();
    over.Post();
}

void Tape::WriteQueue() {
    std::deque<Chunk> taken;
    {
        const slib::Lock lock(queueMutex);
        taken.swap(queue);
        queuedBytes = 0;
    }
    for (const Chunk& chunk : taken)
        WriteChunk(chunk);
}

// Once one is left out nothing after it is written: a reader counts functions and samples.
void Tape::WriteChunk(const Chunk& chunk) {
    if (!isCutOff) try {
            const std::string samplesRecord = chunk.isSamples ? SamplesRecord(chunk.bytes) : "";
            const std::string& bytes = chunk.isSamples ? samplesRecord : chunk.bytes;
            if (written + bytes.size() > limit)
                CutOff(Reason::Limit);
            else if (!Put(bytes))
                CutOff(Reason::Disk);
        } catch (const std::exception&) {
            CutOff(Reason::Memory);
        }
    if (isCutOff) missing += chunk.calls;
}

void Tape::CutOff(Reason why) {
    isCutOff = true;
    StopFor(why);
}

std::string Tape::SamplesRecord(const std::string& bytes) {
    const auto [first, isNew] = known.try_emplace(slib::md5(bytes), samples);
    ++samples;
    std::string record;
    recording::ByteWriter number;
    number.Number(first->second);
    if (isNew)
        recording::AppendRecord(record, Tag::Samples, bytes);
    else
        recording::AppendRecord(record, Tag::Same, number.bytes);
    return record;
}

void Tape::WriteEnd() {
    try {
        std::string records;
        recording::ByteWriter number;
        if (IsStopped()) {
            number.Number(static_cast<std::uint64_t>(reason.load()));
            recording::AppendRecord(records, Tag::Stopped, number.bytes);
        }
        recording::ByteWriter count;
        count.Number(missing);
        recording::AppendRecord(records, Tag::End, count.bytes);
        static_cast<void>(Put(records));
    } catch (const std::exception&) {  // the recording looks as that of a program that was ended
    }
    file.reset();
}

// All or nothing: what is cut is written over.
bool Tape::Put(std::string_view bytes) {
    // The game may have closed the descriptor.
    if (!file->IsOurs()) file = std::make_unique<platform::GameFile>(name, O_WRONLY);
    std::uint64_t place = written;
    while (!bytes.empty()) {
        const ssize_t count = file->Write(bytes.data(), bytes.size(), static_cast<std::int64_t>(place));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
        place += static_cast<std::uint64_t>(count);
    }
    written = place;
    return true;
}

}  // namespace recorder
