#include <iostream>
#include <limits>
#include <memory>
#include <string>

#include "tools/config/commands.h"
#include "tools/manage/recordings.h"

namespace tool {
namespace {

using What = goal::RecordingRequest::What;

constexpr const char* examples = R"(Examples:
  tessarune-config record start field.wav
  tessarune-config record start game.caf --output --game 4711
  tessarune-config record start take.wav --both      the output into take-output.wav
  tessarune-config record stop

The sound field is recorded as AmbiX (ACN, SN3D) of the order that is rendered, in 32-bit floats: a WAV file, which
becomes RF64 past 4 GiB, or a CAF file. Sources stay where they are in it while a tracked head turns. The game doesn't
wait for the disk. After a change of settings it goes on in another file, with a number behind its name. It ends with
the game at the latest.)";

struct Options {
    std::string file;
    int game = 0;
    bool isOutput = false, isBoth = false;
};

void StartIt(const Options& options) {
    const What what = options.isBoth ? What::Both : options.isOutput ? What::Output : What::Field;
    const StartedRecording started = StartRecording(options.file, what, options.game);
    std::cout << "'" << started.program << "' (" << started.pid << ") records into '" << started.path
              << "' within two seconds. 'tessarune-config record stop' ends it.\n";
}

void StopIt(int game) {
    std::cout << (StopRecording(game) ? "The recording ends within two seconds; the log says what is in it.\n"
                                      : "Nothing is being recorded.\n");
}

}  // namespace

void AddRecordCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* record = program.AddCommand("record", "Record the sound of a running game.");
    record->SetFooter(examples);
    record->RequireCommand();
    CommandLine* start = record->AddCommand("start", "Begin to record.");
    start->AddOption("FILE", options->file, "The file, .wav or .caf, which is replaced")->Require();
    start->AddOption("--game", options->game, "The game's process number, where several are running")
        ->TakeRange(1, std::numeric_limits<int>::max());
    Option* output = start->AddFlag("--output", options->isOutput, "What the speakers or headphones play");
    start->AddFlag("--both", options->isBoth, "That too, in a file beside it")->Exclude(output);
    start->OnUse([options] { StartIt(*options); });
    CommandLine* stop = record->AddCommand("stop", "End the recording.");
    stop->AddOption("--game", options->game, "Of this game alone")
        ->TakeRange(1, std::numeric_limits<int>::max());
    stop->OnUse([options] { StopIt(options->game); });
}

}  // namespace tool
