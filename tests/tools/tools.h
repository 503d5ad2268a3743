#pragma once

// The programs for people, run as people run them. Each test has a store of its own and no sound.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "orb3core/store/configstore.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/recording.h"
#include "tests/support/temporaryfolder.h"

namespace testing_support {

using Words = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out, error;
};

class Tools : public testing::Test {
protected:
    Tools() {
        files.ChooseSilence();
        StoreDocument();
    }

    /// A line of the shell, in the folder of the test.
    Outcome Shell(const std::string& line) const {
        const std::filesystem::path out = folder.path / "out", error = folder.path / "error";
        const int status = std::system(
            ("cd " + folder.path.string() + " && { " + line + "\n} >" + out.string() + " 2>" + error.string())
                .c_str());
        return {WEXITSTATUS(status), ReadFile(out), ReadFile(error)};
    }
    /// One of the programs of the build tree. `prefix` stands before it in the line.
    Outcome Run(const std::string& program, const Words& words, const std::string& prefix = "") const {
        std::string line = prefix + (BuildTree() / "bin" / program).string();
        for (const std::string& word : words)
            line += " '" + word + "'";
        return Shell(line);
    }
    Outcome Config(const Words& words) const { return Run("tessarune-config", words); }
    void Set(const std::vector<std::pair<std::string, std::string>>& settings) const {
        for (const auto& [name, value] : settings)
            EXPECT_EQ(Config({"set", name, value}).status, 0) << name;
    }
    std::string Document() const { return store.Read("/Speakers/Configuration", ""); }
    void LoseFormatLibrary() { std::ofstream(files.MachineFile()) << "[Formats]\nAFL=/no/such.afl\n"; }

    static void ExpectOutcome(const Outcome& outcome, int status, const std::string& text) {
        EXPECT_EQ(outcome.status, status) << text;
        EXPECT_THAT(outcome.error, testing::HasSubstr(text));
    }

    const TemporaryStore files;
    const TemporaryFolder& folder = files.folder;
    const orb3::ConfigStore store{orb3::storeRoot, orb3::ConfigStore::Scope::User};
};

}  // namespace testing_support
