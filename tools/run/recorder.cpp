#include "tools/run/recorder.h"

#include <system_error>

#include "app/recording/recordingreader.h"
#include "slib/exception.h"
#include "slib/filestream.h"
#include "tools/support/table.h"

namespace tool {
namespace {

using std::filesystem::path;

// The recorder's names for the files of one game: that which was given, and those of programs that it starts.
std::vector<std::string> FilesOf(const std::string& file) {
    constexpr int most = 99;
    std::vector<std::string> files{file};
    for (int number = 2; number <= most; ++number)
        files.push_back(file + "-" + std::to_string(number));
    return files;
}

bool IsRecording(const std::string& file) {
    slib::InputFile stream(file);
    std::string begin(recording::magic.size(), '\0');
    stream.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return stream && begin == recording::magic;
}

std::string TellOfOne(const std::string& file) {
    slib::InputFile stream(file);
    std::uint64_t calls = 0;
    recording::RecordedCall call;
    std::string end;
    std::string program;
    try {
        recording::RecordingReader reader(stream);
        while (reader.Next(call))
            ++calls;
        program = reader.notes["program"];
        end = recording::ExplainEnd(reader.stopped, reader.missing);
    } catch (const slib::BadDataException& failure) {
        end = failure.what();
    }
    return "'" + file + "' has " + std::to_string(calls) + " calls of '" + program + "' in " +
           Fixed(1e-6 * static_cast<double>(call.time), 1) + " seconds. " + end;
}

}  // namespace

std::vector<path> RecorderFolders(const std::vector<path>& dropIns) {
    std::vector<path> folders;
    std::error_code ignored;
    for (const path& dropIn : dropIns)
        if (const path folder = dropIn.parent_path() / "record"; std::filesystem::exists(folder, ignored))
            folders.push_back(folder);
    if (folders.empty())
        throw slib::BadStateException("There is no '" + (dropIns.front().parent_path() / "record").string() +
                                      "' with the library that records. Install the tree again.");
    return folders;
}

std::map<std::string, std::string> PrepareRecording(const std::string& file, std::uint64_t limit) {
    const std::string whole = std::filesystem::absolute(file).string();
    std::error_code ignored;
    if (std::filesystem::exists(whole, ignored) && !IsRecording(whole))
        throw slib::BadParameterException("The file '" + file +
                                          "' is there already and is no recording. Name another one.");
    for (const std::string& old : FilesOf(whole))
        if (IsRecording(old)) std::filesystem::remove(old, ignored);
    std::map<std::string, std::string> variables{{"TESSARUNE_RECORD", whole}};
    if (limit > 0) variables["TESSARUNE_RECORD_LIMIT"] = std::to_string(limit);
    return variables;
}

std::vector<std::string> TellOfRecording(const std::string& file) {
    std::vector<std::string> sentences;
    for (const std::string& one : FilesOf(std::filesystem::absolute(file).string()))
        if (IsRecording(one)) sentences.push_back(TellOfOne(one));
    if (sentences.empty()) sentences.push_back("No call was made, so '" + file + "' wasn't written.");
    return sentences;
}

}  // namespace tool
