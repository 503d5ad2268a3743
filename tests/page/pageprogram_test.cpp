// The program that serves the page, as people start it.

#include "tests/page/rawclient.h"
#include "tests/support/program.h"
#include "tests/tools/tools.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::ReadFile;

class PageProgram : public testing_support::Tools {
protected:
    PageProgram() {
        std::ofstream(folder.path / "browser")
            << "#!/bin/sh\necho \"$@\" >>" << folder.path.string() << "/opened\n";
        fs::permissions(folder.path / "browser", fs::perms::owner_all);
    }
    std::string Line(const std::string& options) const {
        return "exec env DISPLAY=:0 BROWSER=" + (folder.path / "browser").string() + " " + program + " " +
               options;
    }
    static void AwaitSomething(const fs::path& file) {
        while (ReadFile(file).empty())
            std::this_thread::yield();
    }
    // The port and the token, which a browser reads out of it.
    std::pair<int, std::string> HandedOver() const {
        AwaitSomething(handover);
        const std::string text = ReadFile(handover), before = "url=http://127.0.0.1:", between = "/#token=";
        const std::size_t start = text.find(before) + before.size(), end = text.find(between);
        return {std::stoi(text.substr(start)), text.substr(end + between.size(), 32)};
    }

    // What the program says until the page can be opened, and how it ends then by a signal.
    Outcome StartAndEnd(const std::string& line) const {
        return Shell(line + " & until [ -s " + handover.string() +
                     " ]; do sleep 0.01; done; kill $!; wait $!");
    }

    const std::string program = BuildTree() / "bin" / "tessarune-page";
    const fs::path handover = folder.path / "runtime" / "HollowbrookLabs" / "page.html";
};

TEST_F(PageProgram, OpensTheBrowserByAPrivateFile_WhichGoesOnceThePageIsOpen) {
    testing_support::Program server(Line("--as-root >" + (folder.path / "said").string()));
    AwaitSomething(folder.path / "opened");
    EXPECT_EQ(ReadFile(folder.path / "opened"), "file://" + handover.string() + "\n");
    EXPECT_EQ(fs::status(handover).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto [port, token] = HandedOver();
    EXPECT_THAT(ReadFile(folder.path / "said"), Not(HasSubstr(token)));

    const std::string host = "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    EXPECT_THAT(testing_support::Ask(port, "GET / HTTP/1.1\r\n" + host + "\r\n"),
                HasSubstr("<title>Tessarune"));
    EXPECT_TRUE(fs::exists(handover));
    const std::string alive =
        "GET /api/alive HTTP/1.1\r\n" + host + "X-Tessarune-Token: " + token + "\r\n\r\n";
    EXPECT_EQ(testing_support::StatusOf(testing_support::Ask(port, alive)), 200);
    EXPECT_FALSE(fs::exists(handover));

    const Outcome second = Shell(Line("--print --as-root"));
    EXPECT_EQ(second.status, 0) << second.error;
    EXPECT_THAT(second.out, HasSubstr("is open already"));
    EXPECT_EQ(HandedOver(), std::make_pair(port, token));
    server.End(SIGTERM);
    EXPECT_FALSE(fs::exists(handover));
}

TEST_F(PageProgram, EndsByItselfAndBySignals_WithoutALeftOver) {
    EXPECT_EQ(Shell("timeout 10 " + program + " --print --as-root --idle 0").status, 0);
    EXPECT_FALSE(fs::exists(handover));
    EXPECT_EQ(StartAndEnd(program + " --print --as-root").status, 0);
    EXPECT_FALSE(fs::exists(handover));
}

TEST_F(PageProgram, RefusesRoot_UnlessTold) {
    if (geteuid() != 0) GTEST_SKIP() << "This test has to run as root.";
    ExpectOutcome(Run("tessarune-page", {"--print"}), 1, "This is root");
    EXPECT_FALSE(fs::exists(handover));
}

TEST_F(PageProgram, IsStartedByTheConfigurationProgram_WhichSaysWhatIsMissing) {
    const std::string config = BuildTree() / "bin" / "tessarune-config";
    EXPECT_THAT(StartAndEnd(config + " page --print --as-root").out,
                HasSubstr("The page is at http://127.0.0.1:"));
    fs::create_directory(folder.path / "bin");
    fs::copy(config, folder.path / "bin");
    const std::string copied = folder.path / "bin" / "tessarune-config";
    ExpectOutcome(Shell(copied + " page"), 1, "Install the package tessarune-page");
    ExpectOutcome(Shell("sed 's/libcpp-httplib[.]so/libcpp-httplix.so/' " + program +
                        " >bin/tessarune-page; " + copied + " page"),
                  1, "Install the package libcpp-httplix0.11,");
}

}  // namespace
