// What the programs share: names that are almost right, numbers as people write them, tables in a terminal's
// width, progress, and libraries in a game's folder.

#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <thread>

#include "tests/tools/tools.h"
#include "tools/support/elffile.h"
#include "tools/support/foreignlibrary.h"
#include "tools/support/nearest.h"
#include "tools/support/progress.h"
#include "tools/support/table.h"
#include "tools/support/terminal.h"

namespace {

using testing_support::Words;

const Words layouts{"Mono",         "Stereo",       "Headphone Stereo",   "Quad",
                    "Surround 5.1", "Surround 7.1", "Surround 5.1 (ITU)", "Sound"};

struct Word {
    std::string given, meant, asked;  // what is taken for it, else what is asked for
};

class NearMiss : public testing::TestWithParam<Word> {};

TEST_P(NearMiss, IsTakenWhereThereIsNoDoubtAndAskedForOtherwise) {
    const auto found = tool::FindMeant(layouts, GetParam().given);
    EXPECT_EQ(found ? layouts[*found] : "", GetParam().meant);
    if (found) return;
    EXPECT_EQ(tool::DidYouMean(layouts, GetParam().given), GetParam().asked);
}

INSTANTIATE_TEST_SUITE_P(
    Table, NearMiss,
    testing::Values(Word{"Stereo", "Stereo", ""}, Word{"stereo", "Stereo", ""},
                    Word{"5.1", "Surround 5.1", ""}, Word{"headphones", "Headphone Stereo", ""},
                    Word{"surround-7.1", "Surround 7.1", ""},
                    Word{"sur", "", " Did you mean 'Surround 5.1', 'Surround 7.1' or 'Surround 5.1 (ITU)'?"},
                    Word{"sureo", "", " Did you mean 'Stereo'?"}, Word{"qaud", "", " Did you mean 'Quad'?"},
                    Word{"soud", "", " Did you mean 'Sound'?"}, Word{"octagon", "", ""}, Word{"", "", ""},
                    Word{std::string(1000000, 'q'), "", ""}));

TEST(Gain, OfDecibelsAndWithACommaIsRead_AnAmbiguousOneIsNot) {
    const std::vector<std::pair<std::string, double>> gains{{"0.5", 0.5},       {"0,5", 0.5},
                                                            {"-6dB", 0.501187}, {"-6 dB", 0.501187},
                                                            {"+20db", 10},      {"-0,5 dB", 0.944061}};
    for (const auto& [text, gain] : gains)
        EXPECT_NEAR(tool::ParseGain(text).value_or(-1), gain, 1e-6) << text;
    for (const char* text : {"1,000", "1,5.2", "1,2,3", "", "dB", "6 d", "nan", "1e999", "0,5x"})
        EXPECT_FALSE(tool::ParseGain(text)) << text;
}

TEST(Table, InATerminal_WrapsBetweenWordsAndKeepsAll) {
    tool::Table table({{"NAME", ""}, {"WHAT", ""}, {"N", ""}});
    table.AddRow({"a b", "many words that take more than there is room", 1});
    table.AddRow({"averyveryverylongword", "°°°°", 2});
    std::ostringstream wide, narrow;
    table.PrintAligned(wide, "  ", true, 0);
    table.PrintAligned(narrow, "  ", true, 40);
    EXPECT_THAT(wide.str(), testing::HasSubstr("many words that take more than there is room  1\n"));
    std::istringstream lines(narrow.str()), words(wide.str());
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_LE(tool::WidthOf(line), 40u) << line;
    EXPECT_GT(count, 4u);
    for (std::string word; words >> word;)
        EXPECT_THAT(narrow.str(), testing::HasSubstr(word));
}

std::string Shown(int source) {
    std::string text(1000, '\0');
    pollfd descriptor{source, POLLIN, 0};
    const ssize_t size = poll(&descriptor, 1, 0) > 0 ? read(source, text.data(), text.size()) : 0;
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return text;
}

TEST(Progress, IsShownOnATerminalAloneAndErasedAtTheEnd) {
    setenv("TERM", "vt100", 1);
    int terminal[2], pipes[2];
    const winsize size{.ws_row = 24, .ws_col = 30, .ws_xpixel = 0, .ws_ypixel = 0};
    ASSERT_EQ(openpty(&terminal[0], &terminal[1], nullptr, nullptr, &size), 0);
    ASSERT_EQ(pipe(pipes), 0);
    using std::chrono::milliseconds;
    for (const auto& [target, patience] :
         {std::pair(terminal[1], 0), std::pair(terminal[1], 60000), std::pair(pipes[1], 0)}) {
        tool::Progress progress("Working", milliseconds(patience), target);
        progress.Step(1, 2, "a name that is much too long");
        std::this_thread::sleep_for(milliseconds(50));
    }
    EXPECT_EQ(Shown(terminal[0]), "\r\033[KWorking, 1 of 2: a name that \r\033[K");
    EXPECT_EQ(Shown(pipes[0]), "");
    for (const int descriptor : {terminal[0], terminal[1], pipes[0], pipes[1]})
        close(descriptor);
}

// An ELF file of 64 bits with one segment, loaded as it lies, and the texts of these entries.
std::string MakeElf(const std::vector<std::pair<int, std::string>>& entries) {
    std::string bytes(64 + 2 * 56, '\0'), texts(1, '\0');
    const auto put = [&](std::size_t at, std::uint64_t value, std::size_t size) {
        if (bytes.size() < at + size) bytes.resize(at + size);
        for (std::size_t i = 0; i < size; ++i)
            bytes[at + i] = static_cast<char>(value >> (8 * i));
    };
    const std::size_t dynamic = bytes.size(), strings = dynamic + 16 * (entries.size() + 2);
    bytes.replace(0, 7,
                  "\x7f"
                  "ELF\2\1\1");
    put(32, 64, 8), put(54, 56, 2), put(56, 2, 2);
    put(64, 1, 4), put(64 + 32, 1 << 20, 8);                                        // loaded
    put(120, 2, 4), put(120 + 8, dynamic, 8), put(120 + 32, strings - dynamic, 8);  // dynamic
    put(dynamic, 5, 8), put(dynamic + 8, strings, 8);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        put(dynamic + 16 * (i + 1), static_cast<std::uint64_t>(entries[i].first), 8);
        put(dynamic + 16 * (i + 1) + 8, texts.size(), 8);
        texts += entries[i].second + '\0';
    }
    put(strings - 16, 0, 16);
    return bytes + texts;
}

TEST(ForeignLibraries, AreFoundInTheFolderAndWhereProgramsLookForThem) {
    constexpr int needed = 1, soname = 14, rpath = 15, runpath = 29;
    const testing_support::TemporaryFolder folder;
    const std::filesystem::path game = folder.path / "game", other = folder.path / "other";
    const auto write = [](const std::filesystem::path& file, const std::string& bytes) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << bytes;
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    };
    const std::string foreign = MakeElf({{soname, "libopenal.so.1"}});
    const std::string program = MakeElf({{needed, "libopenal.so.1"}, {runpath, "/none:$ORIGIN/../lib"}});
    write(game / "lib/libopenal.so.1", foreign);
    write(game / "ours/libopenal.so.1", MakeElf({{soname, "libtessarune.so.2"}}));
    write(game / "libopenal.so.txt", "no library");
    write(game / "bin/game", program);
    write(game / "tool", MakeElf({{needed, "libc.so.6"}, {rpath, other.string()}}));
    write(other / "libopenal.so.1", foreign);
    std::filesystem::create_directory_symlink(game, game / "bin/loop");
    const auto found = tool::FindForeignLibraries(game);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].file, game / "lib/libopenal.so.1");
    EXPECT_THAT(found[0].ledBy, testing::ElementsAre(game / "bin/game"));
    EXPECT_FALSE(found[0].isAheadOfEnvironment);
    EXPECT_EQ(found[1].file, other / "libopenal.so.1");
    EXPECT_TRUE(found[1].isAheadOfEnvironment);
    for (std::size_t size = 0; size < program.size(); size += 5) {  // cut short, and with a byte out of place
        std::string damaged = program;
        damaged[size] = '\xff';
        for (const std::string& bytes : {program.substr(0, size), damaged}) {
            write(game / "bin/game", bytes);
            const auto elf = tool::ReadElfFile(game / "bin/game");
            EXPECT_LE(elf ? elf->needed.size() + elf->searchPath.size() : 0, 3u);
        }
    }
}

}  // namespace
