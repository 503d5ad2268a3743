#include "platform/limitedchild.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <vector>

#include "tests/support/temporaryfolder.h"

namespace {

using platform::ChildLimits;
using platform::RunInLimitedChild;
using End = platform::ChildOutcome::End;

TEST(LimitedChild, ThatReplies_IsReadWhole) {
    const std::string bytes = std::string(300000, '\0') + "end";
    const auto outcome = RunInLimitedChild([&] { return bytes; });
    EXPECT_EQ(outcome.end, End::Reply);
    EXPECT_EQ(outcome.text, bytes);
    EXPECT_EQ(RunInLimitedChild([] { return std::string(); }).end, End::Reply);
}

TEST(LimitedChild, ThatThrows_SaysWhy) {
    const auto outcome = RunInLimitedChild([]() -> std::string { throw std::runtime_error("It is bad."); });
    EXPECT_EQ(outcome.end, End::Refusal);
    EXPECT_EQ(outcome.text, "It is bad.");
}

TEST(LimitedChild, ThatDoesHarm_CostsThisProcessNothing) {
    const testing_support::TemporaryFolder folder;
    const std::string file = folder.path / "file";
    ChildLimits limits;
    limits.patience = std::chrono::milliseconds(200);
    limits.replyLength = 1000;
    const auto endOf = [&](const auto& work) {
        return RunInLimitedChild([&] { return work(), std::string("done"); }, limits);
    };
    EXPECT_EQ(endOf([] { raise(SIGSEGV); }).text, "signal 11");
    EXPECT_EQ(endOf([] { _exit(0); }).end, End::Failure);
    EXPECT_EQ(endOf([] { pause(); }).text, "it took too long, or found too much");
    EXPECT_NE(endOf([&] { std::ofstream(file) << std::string(10000, 'x') << std::flush; }).end, End::Reply);
    EXPECT_EQ(testing_support::ReadFile(file), "");
    EXPECT_EQ(RunInLimitedChild([] { return std::string(100000, 'x'); }, limits).end, End::Failure);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(endOf([] { std::vector<char>(std::size_t{3} << 30).at(5) = 1; }).end, End::Refusal);
#endif
}

}  // namespace
