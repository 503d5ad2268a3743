#include "slib/files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <istream>
#include <iterator>
#include <string>

#include "slib/memorystreambuffer.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace {

TEST(Files, InFreshDirectories_KeepEveryByteAndReplaceWhatWasThere) {
    const testing_support::TemporaryFolder folder;
    for (const char* name : {"/a/b/", "/a/b", "/a//c", "/d\\e"}) {
        const std::string directory = folder.path.string() + name;
        slib::createDirectories(directory);
        for (const std::string& bytes : {std::string(70000, '\0') + "\xff\r\nb\x1a", std::string()}) {
            std::string back = "old";
            slib::writeFile(directory + "/file", bytes);
            slib::readFile(directory + "/file", back);
            EXPECT_TRUE(back == bytes && slib::getFileSize(directory + "/file") == bytes.size());
        }
    }
}

TEST(Files, ThatFail_NameThePathAndTheReason) {
    using testing_support::Failure;
    EXPECT_EQ(Failure<slib::StringException>([] { slib::writeFile("/dev/full", "text"); }),
              "Failed to write to file '/dev/full'. [No space left on device]");
    EXPECT_EQ(Failure<slib::StringException>([] { slib::createDirectories("/dev/null/a"); }),
              "Failed to create directory '/dev/null/a'. [File exists]");
}

TEST(MemoryStreamBuffer, ReadByAStream_SeeksInsideAndRefusesTheEnd) {
    const std::string bytes = "ab\xff";
    slib::MemoryStreamBuffer buffer(bytes.data(), bytes.data() + bytes.size());
    std::istream stream(&buffer);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), bytes);
    EXPECT_EQ(buffer.pubseekoff(-2, std::ios::end, std::ios::in), std::streampos(1));
    EXPECT_EQ(buffer.pubseekoff(2, std::ios::cur, std::ios::in), std::streampos(-1));
    EXPECT_EQ(buffer.sputbackc('x'), EOF);
    EXPECT_EQ(buffer.sputbackc('a'), 'a');
}

}  // namespace
