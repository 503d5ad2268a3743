#include "slib/exception.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "failure.h"
#include "slib/log.h"

namespace {

TEST(Exception, Text_EndsWithWhatTheSystemSaysUnlessThatIsNothing) {
    errno = ENOENT;
    EXPECT_STREQ(slib::OperatingSystemGetLastErrorException("No.").what(), "No. [Error 2]");
    EXPECT_STREQ(slib::OperatingSystemErrnoException("No.").what(), "No. [No such file or directory]");
    errno = 0;
    EXPECT_STREQ(slib::OperatingSystemGetLastErrorException("No.").what(), "No.");
    EXPECT_STREQ(slib::OperatingSystemErrnoException("No.").what(), "No.");
}

TEST(Exception, Unreachable_NamesLineAndFileToACatcherOfAnyOfOurs) {
    EXPECT_EQ(testing_support::Failure<slib::Exception>([] { slib::ThrowUnreachable("goal/source", 4321); }),
              "There was an assertion failure on line 4321 of file 'goal/source'. The assertion was: Line "
              "should never be reached.");
}

class StandardStreams : public testing::TestWithParam<bool> {};

TEST_P(StandardStreams, Logs_WriteALineToTheStreamOfItsKindOrErrorsOnly) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    slib::Log log;
    log.Write("one", GetParam());
    slib::ErrorLog(&log).Write("two", GetParam());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam() ? "" : "one\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam() ? "one\ntwo\n" : "");
}

INSTANTIATE_TEST_SUITE_P(Kinds, StandardStreams, testing::Bool());

}  // namespace
